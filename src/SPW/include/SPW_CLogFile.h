#pragma once

#include "SPW_CCriticalSection.h"
#include "SPW_CFile.h"

// A text log: optional header block, optional time stamps, rotation into numbered backups.
class SPW_CLogFile : public SPW_CObject {
public:
    SPW_CLogFile();
    ~SPW_CLogFile() override;
    virtual SPW_Result close();
    virtual SPW_Result open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                            const SPW_CString& version, std::uint32_t maximumKilobytes, std::int32_t backups,
                            bool headerWanted);
    virtual SPW_Result flush();
    virtual bool isOpen() const;
    virtual SPW_Result writeLine(const SPW_CString& text, bool withTime);
    virtual void writeHeader(const SPW_CString& description, const SPW_CString& application,
                             const SPW_CString& version);
};
