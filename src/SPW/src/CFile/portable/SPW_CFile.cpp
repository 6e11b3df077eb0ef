#include "SPW_CFile.h"

#include <cstring>
#include <limits>
#include <vector>

#include "SPW_CError.h"
#include "SPW_CFileSys.h"
#include "SPW_CSysError.h"

namespace {

// The not-open check reports this module and a fixed line. Everything else reports the module of one platform half, on
// every platform: users compare the records of different devices.
constexpr const char* kCheckModule = "src\\SPW\\src\\CFile\\portable\\SPW_CFile";
constexpr int kCheckLine = 227;
constexpr const char* kModule = "src\\SPW\\src\\CFile\\w32\\SPW_CFileW32";
constexpr const char* kClass = "SPW_CFile";

constexpr char kLineEnd = 13;
constexpr std::uint32_t kPieceSize = 256;  // bytes that readCString reads at once
constexpr int kTextBuffer = 1024;          // bytes of text that writeText converts without the heap

// Reports the failure and answers its code; 0 passes through unreported.
SPW_Result checked(SPW_Result result, const char* method, int line, const char16_t* message,
                   SPW_Result linkedCode = 0) {
    if (result != 0) {
        (void)SPW_CError::instance->report(kModule, line, kClass, method, result, linkedCode, message,
                                           SPW_CError::kOrdinary);  // the caller acts on the code, not the answer
    }
    return result;
}

std::uint32_t clamped(std::uint64_t bytes) {
    constexpr std::uint32_t kLargest = std::numeric_limits<std::uint32_t>::max();
    return bytes < kLargest ? static_cast<std::uint32_t>(bytes) : kLargest;
}

// A text in the system code page, without a terminator.
class AnsiBytes {
public:
    explicit AnsiBytes(const SPW_CString& text) : m_bytes(m_small), m_size(text.copyToAnsi(m_small, kTextBuffer)) {
        if (m_size == 0) {
            m_size = text.copyToAnsi(nullptr, 0);
            m_large.resize(static_cast<std::size_t>(m_size));
            (void)text.copyToAnsi(m_large.data(), m_size);  // fits
            m_bytes = m_large.data();
        }
    }
    AnsiBytes(const AnsiBytes&) = delete;
    AnsiBytes& operator=(const AnsiBytes&) = delete;

    const char* bytes() const { return m_bytes; }
    // In bytes. UTF-8 may need more bytes than the text has characters. copyToAnsi counts the terminator as well.
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_size - 1); }

private:
    char m_small[kTextBuffer];
    std::vector<char> m_large;
    const char* m_bytes;
    int m_size;
};

}  // namespace

enum SPW_CFile::OpenMode : int { kReadOnly, kContinue, kAppend, kTruncate, kTruncateShared };

SPW_CFile::SPW_CFile() : m_handle(SPW_CFileSys::invalidHandle()) {}

SPW_CFile::~SPW_CFile() {
    (void)SPW_CFile::close();  // reported there
}

// --- Opening and closing ---

SPW_Result SPW_CFile::close() {
    if (m_handle == SPW_CFileSys::invalidHandle()) {
        return 0;
    }
    const SPW_Handle handle = m_handle;
    m_handle = SPW_CFileSys::invalidHandle();
    return checked(SPW_CFileSys::close(handle), "close", __LINE__, u"Close file failed");
}

SPW_Result SPW_CFile::openCreateNew(const SPW_CString& path) {
    return openNamed("openCreateNew", path, kTruncate);
}

SPW_Result SPW_CFile::openCreateShared(const SPW_CString& path) {
    return openNamed("openCreateShared", path, kTruncateShared);
}

SPW_Result SPW_CFile::openReadOnly(const SPW_CString& path) {
    return openNamed("openReadOnly", path, kReadOnly);
}

SPW_Result SPW_CFile::openReadWrite(const SPW_CString& path, bool append) {
    return append ? openAtEnd(path, kContinue) : openNamed("openReadWrite", path, kTruncate);
}

SPW_Result SPW_CFile::openToAppend(const SPW_CString& path) {
    return openAtEnd(path, kAppend);
}

SPW_Result SPW_CFile::openAtEnd(const SPW_CString& path, OpenMode mode) {
    const SPW_Result result = openNamed("openReadWrite", path, mode);
    if (result != 0) {
        return result;
    }
    const SPW_Result moved = moveToEnd();
    if (moved != 0) {
        (void)close();  // the code of the move says why there is no open file
    }
    return moved;
}

SPW_Result SPW_CFile::openNamed(const char* method, const SPW_CString& path, OpenMode mode) {
    if (isOpen()) {
        const SPW_CString message = u"Attemp to open file " + path + u" but a file is already open.";
        return checked(kAlreadyOpen, method, __LINE__, message.text());
    }
    const SPW_CFileSys::Access access = mode == kReadOnly         ? SPW_CFileSys::kRead
                                        : mode == kAppend         ? SPW_CFileSys::kAppend
                                        : mode == kTruncateShared ? SPW_CFileSys::kReadWriteShared
                                                                  : SPW_CFileSys::kReadWrite;
    const bool keepsContent = mode == kContinue || mode == kAppend;
    const SPW_CFileSys::Creation creation = mode == kReadOnly ? SPW_CFileSys::kMustExist
                                            : keepsContent    ? SPW_CFileSys::kOpenOrCreate
                                                              : SPW_CFileSys::kCreateOrTruncate;
    const SPW_Result result = SPW_CFileSys::open(path, access, creation, m_handle);
    if (result == 0) {
        m_name = path;
    }
    return checked(result, method, __LINE__, u"Open file failed");
}

SPW_Result SPW_CFile::openTemp(const SPW_CString& directory) {
    if (isOpen()) {
        return checked(kAlreadyOpen, "openTemp", __LINE__,
                       u"Attemp to open a unique file, but a file is already open.");
    }
    SPW_CString path;
    SPW_Result result = SPW_CFileSys::createUnique(directory, u"VTR", path);
    if (result == 0) {
        result = SPW_CFileSys::open(path, SPW_CFileSys::kReadWrite, SPW_CFileSys::kMustExist, m_handle);
    }
    if (result == 0) {
        m_name = path;
    }
    return checked(result, "openTemp", __LINE__, u"Open temp. file failed");
}

// --- State ---

bool SPW_CFile::isOpen() const {
    return m_handle != SPW_CFileSys::invalidHandle();
}

const SPW_CString& SPW_CFile::getName() const {
    return m_name;
}

SPW_Result SPW_CFile::errorIfNotOpen(const char* operation) {
    if (isOpen()) {
        return 0;
    }
    // Deliberately no blank between the name and the text.
    (void)SPW_CError::instance->report(kCheckModule, kCheckLine, kClass, "errorIfNotOpen", kNotOpen, 0,
                                       SPW_CString(operation) + u"called but no file was open.",
                                       SPW_CError::kOrdinary);  // the caller acts on the code, not the answer
    return kNotOpen;
}

SPW_Result SPW_CFile::flush() {
    const SPW_Result notOpen = errorIfNotOpen("flush");
    return notOpen != 0 ? notOpen : checked(SPW_CFileSys::flush(m_handle), "flush", __LINE__, u"flush error");
}

SPW_Result SPW_CFile::getSize(std::uint32_t& bytes) {
    bytes = 0;
    const SPW_Result notOpen = errorIfNotOpen("getSize");
    if (notOpen != 0) {
        return notOpen;
    }
    std::uint64_t size = 0;
    const SPW_Result result = SPW_CFileSys::getSize(m_handle, size);
    bytes = clamped(size);
    return checked(result, "getSize", __LINE__, u"Get file size failed");
}

// --- Position ---

SPW_Result SPW_CFile::getPosition(std::uint32_t& position) {
    position = 0;
    const SPW_Result notOpen = errorIfNotOpen("getPosition");
    if (notOpen != 0) {
        return notOpen;
    }
    std::uint64_t here = 0;
    const SPW_Result result = SPW_CFileSys::move(m_handle, SPW_CFileSys::kFromHere, 0, here);
    position = clamped(here);
    return checked(result, "getPosition", __LINE__, u"Get position failed");
}

SPW_Result SPW_CFile::moveRelative(std::int32_t distance) {
    return moveFrom(SPW_CFileSys::kFromHere, distance, "moveRelative", __LINE__, u"Move file pointer failed");
}

SPW_Result SPW_CFile::moveToBegin() {
    return moveFrom(SPW_CFileSys::kFromBegin, 0, "moveToBegin", __LINE__, u"Move to begin of file failed");
}

SPW_Result SPW_CFile::moveToEnd() {
    return moveFrom(SPW_CFileSys::kFromEnd, 0, "moveToEnd", __LINE__, u"Move to end of file failed");
}

SPW_Result SPW_CFile::setPosition(std::uint32_t position) {
    return moveFrom(SPW_CFileSys::kFromBegin, position, "setPosition", __LINE__, u"Set file pointer failed.");
}

SPW_Result SPW_CFile::moveFrom(int origin, std::int64_t distance, const char* method, int line,
                               const char16_t* message) {
    const SPW_Result notOpen = errorIfNotOpen(method);
    if (notOpen != 0) {
        return notOpen;
    }
    std::uint64_t position = 0;
    return checked(SPW_CFileSys::move(m_handle, static_cast<SPW_CFileSys::Origin>(origin), distance, position), method,
                   line, message);
}

// --- Reading ---

SPW_Result SPW_CFile::read(void* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
    bytesRead = 0;
    const SPW_Result notOpen = errorIfNotOpen("read");
    return notOpen != 0
               ? notOpen
               : checked(SPW_CFileSys::read(m_handle, buffer, size, bytesRead), "read", __LINE__, u"read file failed.");
}

template <typename T>
SPW_Result SPW_CFile::readValue(T& value) {
    unsigned char bytes[sizeof(T)];
    std::uint32_t bytesRead = 0;
    const SPW_Result result = read(bytes, sizeof bytes, bytesRead);
    if (result != 0) {
        return result;
    }
    if (bytesRead < sizeof bytes) {
        return kSysEndOfFile;
    }
    std::memcpy(&value, bytes, sizeof bytes);
    return 0;
}

SPW_Result SPW_CFile::readBool(bool& value) {
    std::uint8_t byte = 0;
    const SPW_Result result = readValue(byte);
    if (result == 0) {
        value = byte != 0;
    }
    return result;
}

SPW_Result SPW_CFile::readInt8(std::int8_t& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readUInt8(std::uint8_t& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readInt32(std::int32_t& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readUInt32(std::uint32_t& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readCodePoint(char32_t& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readFloat(float& value) {
    return readValue(value);
}
SPW_Result SPW_CFile::readDouble(double& value) {
    return readValue(value);
}

SPW_Result SPW_CFile::readToEndChar(char* buffer, std::uint32_t size, char endCharacter, std::uint32_t& used,
                                    bool& found) {
    found = false;
    SPW_Result result = SPW_CFileSys::read(m_handle, buffer, size, used);
    if (result != 0) {
        return checked(result, "readToEndChar", __LINE__, u"read file failed.");
    }
    const void* end = used > 0 ? std::memchr(buffer, endCharacter, used) : nullptr;
    if (end == nullptr) {
        return 0;
    }
    found = true;
    const std::int32_t index = static_cast<std::int32_t>(static_cast<const char*>(end) - buffer);
    result = moveRelative(index - static_cast<std::int32_t>(used) + 1);
    used = static_cast<std::uint32_t>(index);
    return result;
}

SPW_Result SPW_CFile::readCString(SPW_CString& text, char endCharacter) {
    text.clear();
    const SPW_Result notOpen = errorIfNotOpen("readCString");
    if (notOpen != 0) {
        return notOpen;
    }
    // The pieces are converted together: a character of several bytes may stand across the border of two.
    std::vector<char> bytes;
    char piece[kPieceSize];
    std::uint32_t used = 0;
    bool found = false;
    do {
        const SPW_Result result = readToEndChar(piece, kPieceSize, endCharacter, used, found);
        if (result != 0) {
            return checked(result, "readCString", __LINE__, u"readToEndChar failed", result);
        }
        bytes.insert(bytes.end(), piece, piece + used);
    } while (!found && used > 0);
    if (!found && bytes.empty()) {
        return kSysEndOfFile;
    }
    bytes.push_back('\0');
    text = SPW_CString(bytes.data());
    return 0;
}

SPW_Result SPW_CFile::readLine(SPW_CString& text) {
    const SPW_Result result = readCString(text, kLineEnd);
    if (result != 0) {
        return result;
    }
    char lineFeed;
    std::uint32_t bytesRead = 0;
    return read(&lineFeed, sizeof lineFeed, bytesRead);  // discarded; missing after a last line without an end
}

// --- Writing ---

SPW_Result SPW_CFile::write(const void* buffer, std::uint32_t size) {
    return writeBytes("write", buffer, size);
}

SPW_Result SPW_CFile::writeBytes(const char* method, const void* buffer, std::uint32_t size) {
    const SPW_Result notOpen = errorIfNotOpen(method);
    std::uint32_t written = 0;
    return notOpen != 0
               ? notOpen
               : checked(SPW_CFileSys::write(m_handle, buffer, size, written), method, __LINE__, u"write failed.");
}

SPW_Result SPW_CFile::writeBool(bool value) {
    return writeUInt8(value ? 1 : 0);
}
SPW_Result SPW_CFile::writeInt8(std::int8_t value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeUInt8(std::uint8_t value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeInt32(std::int32_t value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeUInt32(std::uint32_t value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeCodePoint(char32_t value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeFloat(float value) {
    return write(&value, sizeof value);
}
SPW_Result SPW_CFile::writeDouble(double value) {
    return write(&value, sizeof value);
}

SPW_Result SPW_CFile::writeCString(const SPW_CString& text, char endCharacter) {
    const SPW_Result result = writeText(text);
    return result != 0 ? result : write(&endCharacter, sizeof endCharacter);
}

SPW_Result SPW_CFile::writeNewLine() {
    return writeBytes("writeNewLine", "\r\n", 2);
}

SPW_Result SPW_CFile::writeText(const SPW_CString& text) {
    const AnsiBytes ansi(text);
    return writeBytes("writeText", ansi.bytes(), ansi.size());
}

SPW_Result SPW_CFile::writeWhole(const SPW_CString& text, bool& isTorn) {
    const AnsiBytes ansi(text);
    std::uint32_t written = 0;
    const SPW_Result result = writeWhole(ansi.bytes(), ansi.size(), written);
    isTorn = result != 0 && written != 0;
    return result;
}

SPW_Result SPW_CFile::writeWhole(const char* bytes, std::uint32_t size, std::uint32_t& written) {
    written = 0;
    if (!isOpen()) {
        return kNotOpen;
    }
    const SPW_Result result = SPW_CFileSys::write(m_handle, bytes, size, written);
    if (result != 0 && written != 0 && cutOff(written)) {
        written = 0;
    }
    return result;
}

bool SPW_CFile::cutOff(std::uint32_t bytes) {
    std::uint64_t size = 0;
    return SPW_CFileSys::getSize(m_handle, size) == 0 && size >= bytes &&
           SPW_CFileSys::setSize(m_handle, size - bytes) == 0;
}
