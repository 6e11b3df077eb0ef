#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// What SPW_CDir needs of a platform's file system. Any thread may call every operation; none keeps a reference to an
// argument. A name that a search has found names its file in a path, whatever bytes the platform keeps for it.
// An operation that answers false or null leaves its reason in SPW_CSysError::last() of the calling thread.
//
// Attributes are the Windows bits below. Times are counts of 100-ns units since 1 January 1601 (UTC).
class SPW_CDirSys : public SPW_CObject {
public:
    static SPW_CDirSys* instance;

    enum Attribute : std::uint32_t {
        kReadOnly = 0x01,
        kHidden = 0x02,
        kSystem = 0x04,
        kDirectory = 0x10,
        kArchive = 0x20,
        kDevice = 0x40,  // neither a file nor a directory: a terminal, a pipe ...
        kNormal = 0x80,
        // A link: removing or walking it must not touch what it points at.
        kLink = 0x400,
    };

    struct Info {
        std::uint32_t attributes = 0;
        std::uint32_t sizeHigh = 0;
        std::uint32_t sizeLow = 0;
        std::uint64_t creationTime = 0;
        std::uint64_t lastAccessTime = 0;
        std::uint64_t lastWriteTime = 0;
    };
    struct Found : Info {
        SPW_CString name;
    };

    virtual char16_t separator() = 0;
    // Every character that ends a directory's name inside a path, the separator among them.
    virtual const char16_t* separators() = 0;

    virtual bool getAttributes(const SPW_CString& path, std::uint32_t& attributes) = 0;
    virtual bool setAttributes(const SPW_CString& path, std::uint32_t attributes) = 0;
    // Whether both are one name of one file in one directory, however they are written. False where either is missing.
    virtual bool isSameEntry(const SPW_CString& a, const SPW_CString& b) = 0;
    // One directory; its parent must exist.
    virtual bool createDirectory(const SPW_CString& path) = 0;
    // An empty directory, or a link to a directory.
    virtual bool removeDirectory(const SPW_CString& path) = 0;
    virtual bool deleteFile(const SPW_CString& path) = 0;
    // Deletes what SPW_CFile could open for writing, but nothing that it has open for writing in this program or
    // another: code 32. Of a link, deletes the file that it leads to.
    virtual bool deleteUnusedFile(const SPW_CString& path) = 0;
    // Fails when the target exists, and between file systems.
    virtual bool move(const SPW_CString& from, const SPW_CString& to) = 0;
    // A copy that fails leaves no target that it made.
    virtual bool copy(const SPW_CString& from, const SPW_CString& to, bool failIfExists) = 0;

    // Existing files only, directories never. Neither waits for the other end of a pipe.
    virtual SPW_Handle openForReading(const SPW_CString& path) = 0;
    virtual SPW_Handle openForWriting(const SPW_CString& path) = 0;
    virtual bool getSize(SPW_Handle file, std::uint64_t& bytes) = 0;
    // All of the bytes or false.
    virtual bool write(SPW_Handle file, const void* bytes, std::uint32_t size) = 0;
    // What was written is on the medium.
    virtual bool flush(SPW_Handle file) = 0;
    virtual bool getInfo(SPW_Handle file, Info& info) = 0;
    virtual bool setTimes(SPW_Handle file, std::uint64_t creation, std::uint64_t lastAccess,
                          std::uint64_t lastWrite) = 0;
    // The handle is gone, whatever the answer.
    virtual bool close(SPW_Handle file) = 0;

    // "." and ".." come first, then the other names. Null, code 2, when nothing matches.
    virtual SPW_Handle findFirst(const SPW_CString& pattern, Found& found) = 0;
    // False, code 18, past the last entry.
    virtual bool findNext(SPW_Handle search, Found& found) = 0;
    virtual void findClose(SPW_Handle search) = 0;
};
