#pragma once

#include "SPW_CClock.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// One file or directory as a search or a query finds it.
struct SPW_CDirEntry {
    SPW_CString name;
    bool archive = false;
    bool readOnly = false;
    bool hidden = false;
    bool system = false;
    bool isDirectory = false;
    bool isFile = false;
    std::uint32_t size = 0;
    SPW_CalendarTime creationTime;
    SPW_CalendarTime lastAccessTime;
    SPW_CalendarTime lastWriteTime;
};

// File-system operations, and one search at a time. Every failure is reported once to SPW_CError.
class SPW_CDir : public SPW_CObject {
public:
    SPW_CDir();
    ~SPW_CDir() override;
    SPW_CDir(const SPW_CDir&) = delete;
    SPW_CDir& operator=(const SPW_CDir&) = delete;

    [[nodiscard]] static SPW_Result fileExists(const SPW_CString& path);
    [[nodiscard]] static SPW_Result dirExists(const SPW_CString& path);
    [[nodiscard]] static SPW_Result makeDir(const SPW_CString& path);
    [[nodiscard]] static SPW_Result removeDir(const SPW_CString& path, bool recursive);
    [[nodiscard]] static SPW_Result removeFile(const SPW_CString& path);
    [[nodiscard]] static SPW_Result wipeFile(const SPW_CString& path);
    [[nodiscard]] static SPW_Result wipeDir(const SPW_CString& path);
    [[nodiscard]] static SPW_Result rename(const SPW_CString& from, const SPW_CString& to);
    [[nodiscard]] static SPW_Result moveFile(const SPW_CString& from, const SPW_CString& to, bool overwrite, bool wipe);
    [[nodiscard]] static SPW_Result getFileInfo(const SPW_CString& path, SPW_CDirEntry& entry);
    [[nodiscard]] static SPW_Result setFileAttributes(const SPW_CString& path, const SPW_CDirEntry& entry);
    SPW_Result findFirst(const SPW_CString& pattern, SPW_CDirEntry& entry, bool& found);
    SPW_Result findNext(SPW_CDirEntry& entry, bool& found);
    SPW_Result findClose();

    // What joins the parts of a path: a back-slash on Windows, a slash on Linux.
    static char16_t separator();
};
