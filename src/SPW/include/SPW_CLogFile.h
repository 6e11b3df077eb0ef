#pragma once

#include <cstdint>

#include "SPW_CCriticalSection.h"
#include "SPW_CFile.h"

// A text log: optional header block, optional time stamps, rotation into numbered backups.
//
// Threads: any thread may call writeLine, which makes each line and the rotation that it sets off one step for all
// writers of the object. Everything else is for the owner, while no other thread uses the object.
class SPW_CLogFile : public SPW_CObject {
public:
    SPW_CLogFile();
    // Closes an open file.
    ~SPW_CLogFile() override;
    SPW_CLogFile(const SPW_CLogFile&) = delete;
    SPW_CLogFile& operator=(const SPW_CLogFile&) = delete;

    // The file's result.
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
    // that has reached its maximum. 0, or the result of the rotation: a line that could not be written is reported by
    // the file and lost.
    virtual SPW_Result writeLine(const SPW_CString& text, bool withTime);
    // Writes the header block, with the present local time, and flushes. A derived log may write another.
    virtual void writeHeader(const SPW_CString& description, const SPW_CString& application,
                             const SPW_CString& version);

    // As given to open.
    const SPW_CString& path() const { return m_path; }

private:
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
};
