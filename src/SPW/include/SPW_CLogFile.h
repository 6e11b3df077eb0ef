#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CFile.h"

// A text log: optional header block, optional time stamps, rotation into numbered backups.
//
// A line is in the file whole or not at all, also when the disk is full. When lines cannot be written the user is told
// once, by SPW_CError::userInfo; when they can again, one line says how many were lost.
//
// Threads: any thread may call writeLine and writeLines. A line and the rotation that it sets off are one step for all
// writers of the object. The lines of one writeLines are such a step only when they go out in one write. Otherwise
// lines of other threads may come between them. Everything else is for the owner, while no other thread uses the
// object.
class SPW_CLogFile : public SPW_CObject {
public:
    SPW_CLogFile();
    // Closes an open file.
    ~SPW_CLogFile() override;
    SPW_CLogFile(const SPW_CLogFile&) = delete;
    SPW_CLogFile& operator=(const SPW_CLogFile&) = delete;

    // The file's result. Says before that how many lines were lost, if it can.
    virtual SPW_Result close();
    // Continues an existing log at its end or creates a missing one, and writes the header when one is wanted.
    // A maximum size of 0 kilobytes means no limit; with 0 backups a full log is deleted instead of kept.
    // 0, or the file's result; a log that did not open takes no lines.
    virtual SPW_Result open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                            const SPW_CString& version, std::uint32_t maximumKilobytes, std::int32_t backups,
                            bool headerWanted);
    // The file's result.
    virtual SPW_Result flush();
    virtual bool isOpen() const;
    // Appends the text, after the local time as "09:05:03 " when withTime is set, and a line end; then rotates a log
    // that has reached its maximum. 0, or the result of the rotation; a line that could not be written is lost. Without
    // an open log the file reports each line.
    virtual SPW_Result writeLine(const SPW_CString& text, bool withTime);
    // Appends each text as writeLine does, without the results. In a log without a maximum they go out in one write and
    // bear one time, which makes many lines as cheap as a few. A line that does not fit is lost as with writeLine.
    void writeLines(const SPW_CArray<SPW_CString>& texts, bool withTime);
    // Whether flush() may do something: a log on a device or a pipe has refused it when its header was written.
    bool isFlushable() const { return m_isFlushable; }
    // Writes the header block, with the present local time, and flushes. A header that cannot be written is written
    // before the next line that can. A derived log may write another.
    virtual void writeHeader(const SPW_CString& description, const SPW_CString& application,
                             const SPW_CString& version);

    // As given to open.
    const SPW_CString& path() const { return m_path; }

private:
    static SPW_CString stamp(bool withTime);
    static SPW_CString stamped(const SPW_CString& text, bool withTime);
    SPW_CString lossLine(bool withTime) const;
    int writeTogether(const SPW_CArray<SPW_CString>& texts, bool withTime);
    bool isInOrder() const;
    bool putBehindFailure(const SPW_CString& text);
    bool put(const SPW_CString& block);
    bool put(const char* bytes, std::uint32_t size);
    bool noteResult(SPW_Result code, bool isTorn);
    void tellLoss(SPW_Result code) const;
    void splitPath();
    bool isFull();
    SPW_Result rotate();
    void shiftBackups();
    SPW_CString backupPath(std::int32_t number) const;

    SPW_CFile* m_file;  // owned
    std::uint32_t m_maximumKilobytes;
    std::int32_t m_backups;
    SPW_CString m_directory;
    SPW_CString m_baseName;
    SPW_CString m_extension;
    SPW_CString m_path;
    SPW_CCriticalSection m_lock;
    bool m_headerWanted;
    SPW_CString m_description;
    SPW_CString m_application;
    SPW_CString m_version;
    bool m_isFlushable = true;
    // Of what could not be written; under the lock once lines are written.
    bool m_isHeaderDue = false;
    bool m_isTorn = false;  // the file ends within a line
    bool m_isStamped = false;
    bool m_isFailing = false;   // the latest write failed, and the user knows
    SPW_Result m_lossCode = 0;  // why the lost lines are lost
    std::uint32_t m_lostLines = 0;
};
