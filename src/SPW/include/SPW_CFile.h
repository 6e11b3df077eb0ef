#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// The framework's handle on one open file. Text goes out as 8-bit characters of the system code page, lines end with
// CR LF; typed values stand in the file as they stand in memory, without padding.
//
// Every operation that returns a result answers 0, or a code of the vocabulary in SPW_CSysError.h, or one of the two
// below. Every failure is reported to SPW_CError, once where nothing else is said, and leaves the file open or closed
// as it was. Sizes and positions are in bytes; what lies beyond 4 GiB is shown as 0xFFFFFFFF.
//
// Others may read the file meanwhile. While it is open for writing, Windows keeps every other writer away; Linux keeps
// away the writers that use this class, in this program or another. They get 32 (sharing violation). While it is open
// for reading alone, Windows keeps writers away as well: openReadOnly answers 32 there for a file that is open for
// writing.
//
// Threads: an object belongs to one thread at a time, or its owner locks. Nothing is buffered in the process: when a
// write has returned, every reader of the file sees it.
class SPW_CFile : public SPW_CObject {
public:
    // An open operation found a file open in this object, which stays as it is.
    static constexpr SPW_Result kAlreadyOpen = 162;
    // There is no open file to work on.
    static constexpr SPW_Result kNotOpen = 163;
    // What ends a line in the file.
    static constexpr const char16_t* kNewLine = u"\r\n";

    SPW_CFile();
    // Closes an open file.
    ~SPW_CFile() override;
    SPW_CFile(const SPW_CFile&) = delete;
    SPW_CFile& operator=(const SPW_CFile&) = delete;

    // 0 when no file is open, too. The file counts as closed even when the platform reports a failure.
    virtual SPW_Result close();
    // Keeps its place in the order of the virtual operations.
    virtual void passThrough() {}
    // Waits until all that was written has reached the medium. Not needed for other readers, and slow.
    virtual SPW_Result flush();
    // The path of the latest successful open.
    virtual const SPW_CString& getName() const;
    virtual SPW_Result getSize(std::uint32_t& bytes);
    virtual SPW_Result getPosition(std::uint32_t& position);
    virtual bool isOpen() const;
    virtual SPW_Result moveRelative(std::int32_t distance);
    virtual SPW_Result moveToBegin();
    virtual SPW_Result moveToEnd();

    // For reading and writing, empty: an existing file is truncated.
    [[nodiscard]] virtual SPW_Result openCreateNew(const SPW_CString& path);
    // For reading; the file must exist.
    [[nodiscard]] virtual SPW_Result openReadOnly(const SPW_CString& path);
    // For reading and writing. With append an existing file is continued at its end and a missing one created;
    // without it the same as openCreateNew.
    [[nodiscard]] virtual SPW_Result openReadWrite(const SPW_CString& path, bool append);
    // For reading and writing: a new file with a unique name that starts with "VTR". Nobody deletes it.
    [[nodiscard]] virtual SPW_Result openTemp(const SPW_CString& directory);
    // As openReadWrite with append, which is the operation that reports name. Where the platform can, each write goes
    // to the end that the file has at that moment: another program may have emptied it.
    [[nodiscard]] SPW_Result openToAppend(const SPW_CString& path);
    // As openCreateNew, but others may have the file open for writing as well, before and meanwhile.
    [[nodiscard]] SPW_Result openCreateShared(const SPW_CString& path);

    // Reads up to `size` bytes; fewer only at the end of the file, where that is no failure. 0 bytes on failure.
    [[nodiscard]] virtual SPW_Result read(void* buffer, std::uint32_t size, std::uint32_t& bytesRead);
    // Typed reads. When the file ends before the value is complete the answer is 38 (end of file), unreported,
    // and the value is unchanged.
    [[nodiscard]] virtual SPW_Result readBool(bool& value);
    [[nodiscard]] virtual SPW_Result readInt8(std::int8_t& value);
    [[nodiscard]] virtual SPW_Result readUInt8(std::uint8_t& value);
    [[nodiscard]] virtual SPW_Result readInt32(std::int32_t& value);
    [[nodiscard]] virtual SPW_Result readUInt32(std::uint32_t& value);
    [[nodiscard]] virtual SPW_Result readCodePoint(char32_t& value);
    [[nodiscard]] virtual SPW_Result readFloat(float& value);
    [[nodiscard]] virtual SPW_Result readDouble(double& value);
    // Reads text up to the 8-bit end character, which is consumed and not part of the text, or to the end of the
    // file. 38 (end of file), unreported, when there was nothing left at all. The text is empty on failure, which is
    // reported twice: by the step that failed, and as the linked error of this operation.
    [[nodiscard]] virtual SPW_Result readCString(SPW_CString& text, char endCharacter);
    // One line without its CR LF; results as readCString.
    [[nodiscard]] virtual SPW_Result readLine(SPW_CString& text);
    virtual SPW_Result setPosition(std::uint32_t position);

    // Writes all bytes or fails; a part of them may be in the file then.
    virtual SPW_Result write(const void* buffer, std::uint32_t size);
    virtual SPW_Result writeBool(bool value);
    virtual SPW_Result writeInt8(std::int8_t value);
    virtual SPW_Result writeUInt8(std::uint8_t value);
    virtual SPW_Result writeInt32(std::int32_t value);
    virtual SPW_Result writeUInt32(std::uint32_t value);
    virtual SPW_Result writeCodePoint(char32_t value);
    virtual SPW_Result writeFloat(float value);
    virtual SPW_Result writeDouble(double value);
    // Text and end character in the form that readCString reads.
    virtual SPW_Result writeCString(const SPW_CString& text, char endCharacter);
    virtual SPW_Result writeNewLine();
    // The text in the system code page, without a terminator, in one write.
    virtual SPW_Result writeText(const SPW_CString& text);
    // As writeText at the end of the file, but whole or not at all: what a failure has left there is cut off again,
    // unless isTorn. Reports nothing, for callers who have a better way to tell.
    [[nodiscard]] SPW_Result writeWhole(const SPW_CString& text, bool& isTorn);
    // The same with bytes. written: how many stand in the file; 0 after a failure, unless what it left could not be cut
    // off.
    [[nodiscard]] SPW_Result writeWhole(const char* bytes, std::uint32_t size, std::uint32_t& written);

private:
    enum OpenMode : int;

    // 0, or 163 after the report that names the operation.
    SPW_Result errorIfNotOpen(const char* operation);
    SPW_Result openAtEnd(const SPW_CString& path, OpenMode mode);
    SPW_Result openNamed(const char* method, const SPW_CString& path, OpenMode mode);
    SPW_Result moveFrom(int origin, std::int64_t distance, const char* method, int line, const char16_t* message);
    // Reads up to `size` bytes. When the end character is among them, leaves the file position just behind it; `used`
    // counts the bytes before it, or all that were read.
    SPW_Result readToEndChar(char* buffer, std::uint32_t size, char endCharacter, std::uint32_t& used, bool& found);
    template <typename T>
    SPW_Result readValue(T& value);
    bool cutOff(std::uint32_t bytes);
    SPW_Result writeBytes(const char* method, const void* buffer, std::uint32_t size);

    SPW_CString m_name;
    SPW_Handle m_handle;
};
