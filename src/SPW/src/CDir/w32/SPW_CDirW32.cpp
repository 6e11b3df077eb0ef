#include <windows.h>

#include "SPW_CDirSys.h"
#include "SPW_CImmortal.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorW32.h"
#include "SPW_CWideW32.h"

namespace {

// The attributes that the contract knows. Newer systems have more.
constexpr DWORD kKnownAttributes = SPW_CDirSys::kReadOnly | SPW_CDirSys::kHidden | SPW_CDirSys::kSystem |
                                   SPW_CDirSys::kDirectory | SPW_CDirSys::kArchive | SPW_CDirSys::kDevice |
                                   SPW_CDirSys::kNormal | SPW_CDirSys::kLink;
static_assert(SPW_CDirSys::kReadOnly == FILE_ATTRIBUTE_READONLY && SPW_CDirSys::kHidden == FILE_ATTRIBUTE_HIDDEN &&
                  SPW_CDirSys::kSystem == FILE_ATTRIBUTE_SYSTEM &&
                  SPW_CDirSys::kDirectory == FILE_ATTRIBUTE_DIRECTORY &&
                  SPW_CDirSys::kArchive == FILE_ATTRIBUTE_ARCHIVE && SPW_CDirSys::kNormal == FILE_ATTRIBUTE_NORMAL,
              "the platform's own bits");

bool succeeded(BOOL result) {
    if (!result) {
        (void)SPW_CSysErrorW32::fail();  // the code is for SPW_CSysError::last()
    }
    return result != 0;
}

std::uint64_t toTicks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME toFileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Data is the record of a search or of an open file. Both have the same fields.
template <typename Data>
void fillInfo(SPW_CDirSys::Info& info, const Data& data) {
    const bool isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    info.attributes = data.dwFileAttributes & kKnownAttributes;
    info.sizeHigh = isDirectory ? 0 : data.nFileSizeHigh;
    info.sizeLow = isDirectory ? 0 : data.nFileSizeLow;
    info.creationTime = toTicks(data.ftCreationTime);
    info.lastAccessTime = toTicks(data.ftLastAccessTime);
    info.lastWriteTime = toTicks(data.ftLastWriteTime);
}

void fillFound(SPW_CDirSys::Found& found, const WIN32_FIND_DATAW& data) {
    fillInfo(found, data);
    found.name = SPW_FromWide(data.cFileName);
}

SPW_Handle openExisting(const SPW_CString& path, DWORD access, DWORD share) {
    const HANDLE file =
        CreateFileW(SPW_ToWide(path.text()), access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

SPW_Handle orFailed(SPW_Handle file) {
    return file != nullptr || succeeded(false) ? file : nullptr;
}

bool getIdentity(const SPW_CString& path, BY_HANDLE_FILE_INFORMATION& data) {
    const SPW_Handle file = openExisting(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    const bool known = file != nullptr && GetFileInformationByHandle(file, &data);
    return (file == nullptr || CloseHandle(file)) && known;
}

// Answers whether a program that has the file open lets others write to it. Programs that only read a file usually do.
bool isSharedForWriting(const SPW_CString& path) {
    const SPW_Handle file = openExisting(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    return file != nullptr && CloseHandle(file);
}

class DirSysW32 : public SPW_CDirSys {
public:
    constexpr DirSysW32() = default;

    char16_t separator() override { return u'\\'; }
    const char16_t* separators() override { return u"\\/:"; }

    bool getAttributes(const SPW_CString& path, std::uint32_t& attributes) override {
        const DWORD found = GetFileAttributesW(SPW_ToWide(path.text()));
        if (!succeeded(found != INVALID_FILE_ATTRIBUTES)) {
            return false;
        }
        attributes = found & kKnownAttributes;
        return true;
    }

    bool setAttributes(const SPW_CString& path, std::uint32_t attributes) override {
        return succeeded(SetFileAttributesW(SPW_ToWide(path.text()), attributes));
    }

    // A handheld's files have one name each. On other devices a second name of a file counts as the same entry, and
    // nothing is lost by that.
    bool isSameEntry(const SPW_CString& a, const SPW_CString& b) override {
        BY_HANDLE_FILE_INFORMATION first;
        BY_HANDLE_FILE_INFORMATION second;
        return getIdentity(a, first) && getIdentity(b, second) &&
               first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
               first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
    }

    bool createDirectory(const SPW_CString& path) override {
        return succeeded(CreateDirectoryW(SPW_ToWide(path.text()), nullptr));
    }

    bool removeDirectory(const SPW_CString& path) override {
        return succeeded(RemoveDirectoryW(SPW_ToWide(path.text())));
    }

    bool deleteFile(const SPW_CString& path) override { return succeeded(DeleteFileW(SPW_ToWide(path.text()))); }

    // The system refuses to delete a file that another program has open. A program that only reads the file prevents
    // its deletion, too, but does not prevent writing to it.
    bool deleteUnusedFile(const SPW_CString& path) override {
        const bool isDeleted = deleteFile(path);
        if (!isDeleted && SPW_CSysError::instance->last() == kSysSharingViolation && isSharedForWriting(path)) {
            SPW_CSysErrorW32::setLast(kSysAccessDenied);
        }
        return isDeleted;
    }

    bool move(const SPW_CString& from, const SPW_CString& to) override {
        return succeeded(MoveFileW(SPW_ToWide(from.text()), SPW_ToWide(to.text())));
    }

    bool copy(const SPW_CString& from, const SPW_CString& to, bool failIfExists) override {
        return succeeded(CopyFileW(SPW_ToWide(from.text()), SPW_ToWide(to.text()), failIfExists));
    }

    // Asks for the right to set times as well, because attributes and times are set through this handle. A file that
    // refuses that is opened for reading alone.
    SPW_Handle openForReading(const SPW_CString& path) override {
        constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
        const SPW_Handle file = openExisting(path, GENERIC_READ | FILE_WRITE_ATTRIBUTES, kShare);
        return file != nullptr ? file : orFailed(openExisting(path, GENERIC_READ, kShare));
    }

    SPW_Handle openForWriting(const SPW_CString& path) override {
        return orFailed(openExisting(path, GENERIC_WRITE, 0));
    }

    bool getSize(SPW_Handle file, std::uint64_t& bytes) override {
        DWORD high = 0;
        SetLastError(NO_ERROR);
        const DWORD low = GetFileSize(file, &high);
        if (!succeeded(low != INVALID_FILE_SIZE || GetLastError() == NO_ERROR)) {
            return false;
        }
        bytes = std::uint64_t{high} << 32 | low;
        return true;
    }

    bool write(SPW_Handle file, const void* bytes, std::uint32_t size) override {
        DWORD written = 0;
        return succeeded(WriteFile(file, bytes, size, &written, nullptr)) && written == size;
    }

    bool flush(SPW_Handle file) override { return succeeded(FlushFileBuffers(file)); }

    bool getInfo(SPW_Handle file, Info& info) override {
        BY_HANDLE_FILE_INFORMATION data;
        if (!succeeded(GetFileInformationByHandle(file, &data))) {
            return false;
        }
        fillInfo(info, data);
        return true;
    }

    bool setTimes(SPW_Handle file, std::uint64_t creation, std::uint64_t lastAccess, std::uint64_t lastWrite) override {
        const FILETIME created = toFileTime(creation);
        const FILETIME accessed = toFileTime(lastAccess);
        const FILETIME written = toFileTime(lastWrite);
        return succeeded(SetFileTime(file, &created, &accessed, &written));
    }

    bool close(SPW_Handle file) override { return succeeded(CloseHandle(file)); }

    SPW_Handle findFirst(const SPW_CString& pattern, Found& found) override {
        WIN32_FIND_DATAW data;
        const HANDLE search = FindFirstFileW(SPW_ToWide(pattern.text()), &data);
        if (!succeeded(search != INVALID_HANDLE_VALUE)) {
            return nullptr;
        }
        fillFound(found, data);
        return search;
    }

    bool findNext(SPW_Handle search, Found& found) override {
        WIN32_FIND_DATAW data;
        if (!succeeded(FindNextFileW(search, &data))) {
            return false;
        }
        fillFound(found, data);
        return true;
    }

    void findClose(SPW_Handle search) override { (void)FindClose(search); }
};

SPW_CImmortal<DirSysW32> dirSys;

}  // namespace

SPW_CDirSys* SPW_CDirSys::instance = &dirSys.value;
