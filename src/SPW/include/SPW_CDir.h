#pragma once

#include <cstdint>

#include "SPW_CClock.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// One file or directory as a search or a query finds it.
//
// Linux has no archive and system attributes: they are never set there and setting them does nothing. Read-only is a
// file that its owner may not write; hidden is a name that starts with a dot, which cannot be set either.
struct SPW_CDirEntry {
    SPW_CString name;  // set by searches only
    bool archive = false;
    bool readOnly = false;
    bool hidden = false;
    bool system = false;
    bool isDirectory = false;
    bool isFile = false;
    // Bytes; set by searches only. True below 4 GiB: what is longer has the upper word subtracted.
    std::uint32_t size = 0;
    SPW_CalendarTime creationTime;    // UTC; the time of the latest change where the file system keeps no birth time
    SPW_CalendarTime lastAccessTime;  // UTC
    SPW_CalendarTime lastWriteTime;   // local time from a search, UTC from getFileInfo
};

// File-system operations, and one search at a time.
//
// Results are 0 or one of the codes below; every failure is reported once to SPW_CError, under the class name
// "SPW_CDir" and the operation's name, except where an operation says that it does not report.
// Paths may be written with one separator at their end. The static operations may be called by any thread;
// an object with its search belongs to one thread at a time.
class SPW_CDir : public SPW_CObject {
public:
    static constexpr SPW_Result kBadPath = 6;
    static constexpr SPW_Result kRenameSourceNotFound = 120;
    static constexpr SPW_Result kTargetExists = 121;
    static constexpr SPW_Result kFileNotFound = 123;
    static constexpr SPW_Result kSearchMisuse = 125;
    static constexpr SPW_Result kDirNotFound = 128;
    static constexpr SPW_Result kOpenFailed = 130;
    static constexpr SPW_Result kLengthUnknown = 131;
    static constexpr SPW_Result kWriteFailed = 132;
    static constexpr SPW_Result kCloseFailed = 133;
    static constexpr SPW_Result kMakeDirFailed = 135;
    static constexpr SPW_Result kRemoveDirFailed = 136;
    static constexpr SPW_Result kRemoveFileFailed = 137;
    static constexpr SPW_Result kMoveFailed = 138;
    static constexpr SPW_Result kFileInfoFailed = 141;
    static constexpr SPW_Result kSetAttributesFailed = 142;

    SPW_CDir();
    // A search that is still open is closed, and reported.
    ~SPW_CDir() override;
    SPW_CDir(const SPW_CDir&) = delete;
    SPW_CDir& operator=(const SPW_CDir&) = delete;

    // 0 when the path exists and is not a directory, else 123. Does not report.
    [[nodiscard]] static SPW_Result fileExists(const SPW_CString& path);
    // 0 when the path exists and is a directory, else 128. Does not report.
    [[nodiscard]] static SPW_Result dirExists(const SPW_CString& path);
    // Whether the path, or what a link there points at, is neither a file nor a directory: a terminal, a pipe,
    // /dev/null ... For fileExists and removeFile such a thing is a file. Does not report.
    [[nodiscard]] static bool isDevice(const SPW_CString& path);
    // Makes the directory and every missing parent; an existing one is a success. 135.
    [[nodiscard]] static SPW_Result makeDir(const SPW_CString& path);
    // Removes a directory; with `recursive` all that is in it first, ending at the first failure. A link to a directory
    // is removed itself, never what it points at. An empty path or one that ends in "." gives 6, not reported.
    // 6, 128, 136 or the status of what could not be removed.
    [[nodiscard]] static SPW_Result removeDir(const SPW_CString& path, bool recursive);
    // 123, 137.
    [[nodiscard]] static SPW_Result removeFile(const SPW_CString& path);
    // removeFile for a file that is to be begun anew. A link stays, and what it leads to is removed. 32, not reported,
    // while an SPW_CFile of this program or another has it open for writing; 123, 137.
    [[nodiscard]] static SPW_Result removeUnusedFile(const SPW_CString& path);
    // Overwrites the file with zeros, to the next multiple of 500 bytes beyond its length, and removes it, read-only
    // ones too. A failed write leaves the file in place. Of a link only the link goes. 123, 130 to 133, 142 or the
    // status of the removal.
    [[nodiscard]] static SPW_Result wipeFile(const SPW_CString& path);
    // Wipes every file directly inside a directory; subdirectories stay, and each counts as a failure with 123.
    // Status of the last entry; 0 for a directory that does not exist.
    [[nodiscard]] static SPW_Result wipeDir(const SPW_CString& path);
    // A file or a directory, onto a name that is free. 120, 121, 138.
    [[nodiscard]] static SPW_Result rename(const SPW_CString& from, const SPW_CString& to);
    // A file, across file systems too: what cannot be renamed is copied and then removed, with `wipe` wiped. With
    // `overwrite` an existing target is removed first. 121, 123 (not reported), 138 or the status of a removal.
    [[nodiscard]] static SPW_Result moveFile(const SPW_CString& from, const SPW_CString& to, bool overwrite, bool wipe);
    // Attributes and times of a file; neither its name nor its size. 123, 141.
    [[nodiscard]] static SPW_Result getFileInfo(const SPW_CString& path, SPW_CDirEntry& entry);
    // Sets the attributes, then the three times as far as the file system can, without checking. 142.
    [[nodiscard]] static SPW_Result setFileAttributes(const SPW_CString& path, const SPW_CDirEntry& entry);

    // Starts a search: a path whose last part may hold "*" (any characters, none included) and "?" (one character).
    // "." and ".." are found like any other name. `found` false and the entry unchanged when nothing matches;
    // the search is open all the same and wants a findClose.
    SPW_Result findFirst(const SPW_CString& pattern, SPW_CDirEntry& entry, bool& found);
    // 125 without an open search.
    SPW_Result findNext(SPW_CDirEntry& entry, bool& found);
    // 125 without an open search.
    SPW_Result findClose();

    // What joins the parts of a path: a back-slash on Windows, a slash on Linux.
    static char16_t separator();
    // Every character that ends a directory's name inside a path.
    static const char16_t* separators();

private:
    struct Search;
    void closeSearch();

    Search* m_search;  // owned; null while no search is open
};
