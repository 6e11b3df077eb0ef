#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "../../CFile/posix/SPW_CFileLockPosix.h"
#include "../../CFile/posix/SPW_CFileRightsPosix.h"
#include "../../CSysError/posix/SPW_CSysErrorPosix.h"
#include "SPW_CClock.h"
#include "SPW_CDirSys.h"
#include "SPW_CFindPattern.h"
#include "SPW_CSysError.h"

namespace {

constexpr std::uint64_t kTicksPerSecond = 10000000;

bool fail(int error) {
    SPW_CSysErrorPosix::setLast(SPW_CSysErrorPosix::systemCode(error));
    return false;
}

// After a call with that path.
bool failAt(const char* path) {
    (void)SPW_CSysErrorPosix::failAtPath(path);  // the code is for last()
    return false;
}

bool succeeded(int result) {
    return result == 0 || fail(errno);
}

bool succeededAt(const char* path, int result) {
    return result == 0 || failAt(path);
}

std::uint64_t toTicks(std::int64_t seconds, std::uint32_t nanoseconds) {
    return static_cast<std::uint64_t>(seconds + SPW_CClock::kSecondsFrom1601To1970) * kTicksPerSecond +
           nanoseconds / 100;
}

timespec toTimespec(std::uint64_t ticks) {
    timespec time = {};
    time.tv_sec =
        static_cast<time_t>(static_cast<std::int64_t>(ticks / kTicksPerSecond) - SPW_CClock::kSecondsFrom1601To1970);
    time.tv_nsec = static_cast<long>(ticks % kTicksPerSecond) * 100;
    return time;
}

bool isHidden(const char* name) {
    return name[0] == '.' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

std::uint32_t attributesOf(mode_t mode, const char* name) {
    std::uint32_t attributes = 0;
    if ((mode & S_IWUSR) == 0) {
        attributes |= SPW_CDirSys::kReadOnly;
    }
    if (isHidden(name)) {
        attributes |= SPW_CDirSys::kHidden;
    }
    if (S_ISDIR(mode)) {
        attributes |= SPW_CDirSys::kDirectory;
    } else if (!S_ISREG(mode) && !S_ISLNK(mode)) {
        attributes |= SPW_CDirSys::kDevice;
    }
    return attributes == 0 ? std::uint32_t(SPW_CDirSys::kNormal) : attributes;
}

// Names are bytes here. Names that are not UTF-8 have to be found, opened and removed like any other. In our texts such
// a byte stands as a lone half of a surrogate pair, which a name in UTF-8 never contains.
constexpr char16_t kFirstByte = 0xDC80;
constexpr char16_t kLastByte = 0xDCFF;

bool isHigh(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool standsForByte(const SPW_CString& text, int index) {
    const char16_t unit = text.text()[index];
    return unit >= kFirstByte && unit <= kLastByte && (index == 0 || !isHigh(text.text()[index - 1]));
}

std::string bytesOf(const SPW_CString& text, int begin, int end) {
    SPW_CString piece = text.mid(begin, end - begin);
    return piece.toAnsi();
}

std::string pathOf(const SPW_CString& text) {
    std::string path;
    int begin = 0;
    for (int i = 0; i < text.length(); ++i) {
        if (standsForByte(text, i)) {
            path += bytesOf(text, begin, i);
            path += static_cast<char>(text.text()[i] & 0xFF);
            begin = i + 1;
        }
    }
    return path + bytesOf(text, begin, text.length());
}

// Converts the longest start that is UTF-8 as a whole and the byte behind it alone.
SPW_CString nameOf(const std::string& bytes) {
    SPW_CString name;
    std::size_t begin = 0;
    while (begin < bytes.size()) {
        std::size_t size = bytes.size() - begin;
        while (size > 0 && pathOf(SPW_CString(bytes.substr(begin, size).c_str())) != bytes.substr(begin, size)) {
            --size;
        }
        name += SPW_CString(bytes.substr(begin, size).c_str());
        begin += size;
        if (begin < bytes.size()) {
            name += static_cast<char16_t>(0xDC00 | static_cast<unsigned char>(bytes[begin++]));
        }
    }
    return name;
}

const char* lastPart(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

std::string folderOf(const std::string& path) {
    const std::string folder = SPW_CFileRightsPosix::folderOf(path);
    return folder.empty() ? "." : folder;
}

// What a link points at, marked as a link. Of a link that points at nothing, the link itself: it can be removed.
bool statFollowing(const char* path, struct statx& status, std::uint32_t& link) {
    constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME;
    if (statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, kWanted, &status) != 0) {
        return failAt(path);
    }
    link = 0;
    if (S_ISLNK(status.stx_mode)) {
        link = SPW_CDirSys::kLink;
        struct statx target;
        if (statx(AT_FDCWD, path, 0, kWanted, &target) == 0) {
            status = target;
        } else {
            status.stx_mode = static_cast<__u16>(S_IFREG | S_IRUSR | S_IWUSR);
        }
    }
    return true;
}

void fillInfo(SPW_CDirSys::Info& info, const struct statx& status, const char* name) {
    info.attributes = attributesOf(status.stx_mode, name);
    const bool directory = S_ISDIR(status.stx_mode);
    info.sizeHigh = directory ? 0 : static_cast<std::uint32_t>(status.stx_size >> 32);
    info.sizeLow = directory ? 0 : static_cast<std::uint32_t>(status.stx_size);
    const struct statx_timestamp& birth = (status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_ctime;
    info.creationTime = toTicks(birth.tv_sec, birth.tv_nsec);
    info.lastAccessTime = toTicks(status.stx_atime.tv_sec, status.stx_atime.tv_nsec);
    info.lastWriteTime = toTicks(status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec);
}

// Opens for writing where that is allowed: a network file system gives an exclusive lock for nothing else, and a writer
// that uses SPW_CFile can open the file for writing as well.
int openUnused(const char* path) {
    constexpr int kFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const int file = SPW_CFileLockPosix::openLocked(path, O_RDWR | kFlags, /*mode=*/0);
    return file < 0 && errno == EACCES ? SPW_CFileLockPosix::openLocked(path, O_RDONLY | kFlags, /*mode=*/0) : file;
}

bool deleteUnused(const char* path) {
    const int file = openUnused(path);
    if (file < 0) {
        return failAt(path);
    }
    const bool isDeleted = succeededAt(path, unlink(path));
    ::close(file);
    return isDeleted;
}

struct OpenFile {
    int descriptor;
    std::string name;
};

SPW_Handle openFile(const SPW_CString& path, int flags) {
    const std::string name = pathOf(path);
    const int descriptor = open(name.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        (void)failAt(name.c_str());
        return nullptr;
    }
    struct stat status;
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        ::close(descriptor);
        (void)fail(EACCES);
        return nullptr;
    }
    return new OpenFile{descriptor, lastPart(name.c_str())};
}

bool writeAll(int descriptor, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return fail(errno);
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool copyBytes(int from, int to) {
    char buffer[16384];
    for (;;) {
        const ssize_t size = ::read(from, buffer, sizeof buffer);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return fail(errno);
        }
        if (size == 0) {
            return true;
        }
        if (!writeAll(to, buffer, static_cast<size_t>(size))) {
            return false;
        }
    }
}

// Like the copy of Windows, a copy keeps the permissions and the time of the latest write.
bool copyOpened(int from, const struct stat& status, const char* target, bool failIfExists) {
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (failIfExists ? O_EXCL : O_TRUNC);
    const bool existed = access(target, F_OK) == 0;
    const int to = open(target, flags, status.st_mode & 07777);
    if (to < 0) {
        return failAt(target);
    }
    bool done = copyBytes(from, to);
    if (done) {
        const timespec times[2] = {{0, UTIME_OMIT}, status.st_mtim};
        (void)futimens(to, times);  // the bytes are what counts
    }
    if (::close(to) != 0 && done) {
        done = fail(errno);
    }
    if (!done && !existed) {
        const int reason = errno;
        unlink(target);
        (void)fail(reason);
    }
    return done;
}

// A search is a list of names taken when it starts: removing what was found does not disturb it.
struct Search {
    std::string directory;
    std::vector<std::string> names;
    size_t next = 0;
};

bool orderNames(const std::string& a, const std::string& b) {
    const bool aIsDots = a == "." || a == "..";
    const bool bIsDots = b == "." || b == "..";
    return aIsDots != bIsDots ? aIsDots : a < b;
}

bool readNames(const SPW_CString& pattern, Search& search) {
    const std::string path = search.directory + "/";  // of what is sought: the directory is on the way to it
    DIR* directory = opendir(path.c_str());
    if (directory == nullptr) {
        return failAt(path.c_str());
    }
    while (const dirent* entry = readdir(directory)) {
        if (SPW_MatchesFindPattern(nameOf(entry->d_name), pattern)) {
            search.names.emplace_back(entry->d_name);
        }
    }
    closedir(directory);
    std::sort(search.names.begin(), search.names.end(), orderNames);
    return true;
}

// Entries that have vanished since the search began are passed over.
bool nextFound(Search& search, SPW_CDirSys::Found& found, SPW_Result codeAtEnd) {
    while (search.next < search.names.size()) {
        const std::string& name = search.names[search.next++];
        struct statx status;
        std::uint32_t link = 0;
        if (statFollowing((search.directory + "/" + name).c_str(), status, link)) {
            fillInfo(found, status, name.c_str());
            found.attributes |= link;
            found.name = nameOf(name);
            return true;
        }
    }
    SPW_CSysErrorPosix::setLast(codeAtEnd);
    return false;
}

class DirSysPosix : public SPW_CDirSys {
public:
    char16_t separator() override { return u'/'; }
    const char16_t* separators() override { return u"/"; }

    bool getAttributes(const SPW_CString& path, std::uint32_t& attributes) override {
        struct statx status;
        std::uint32_t link = 0;
        const std::string name = pathOf(path);
        if (!statFollowing(name.c_str(), status, link)) {
            return false;
        }
        attributes = attributesOf(status.stx_mode, lastPart(name.c_str())) | link;
        return true;
    }

    // Read-only is all that Linux can keep of the attributes.
    bool setAttributes(const SPW_CString& path, std::uint32_t attributes) override {
        const std::string name = pathOf(path);
        struct stat status;
        if (stat(name.c_str(), &status) != 0) {
            return failAt(name.c_str());
        }
        const mode_t writers = S_IWUSR | S_IWGRP | S_IWOTH;
        const mode_t old = status.st_mode & 07777;
        const mode_t wanted = (attributes & kReadOnly) != 0 ? old & ~writers : old | S_IWUSR;
        return wanted == old || succeeded(chmod(name.c_str(), wanted));
    }

    bool isSameEntry(const SPW_CString& a, const SPW_CString& b) override {
        const std::string first = pathOf(a);
        const std::string second = pathOf(b);
        struct stat one;
        struct stat other;
        return strcmp(lastPart(first.c_str()), lastPart(second.c_str())) == 0 && lstat(first.c_str(), &one) == 0 &&
               lstat(second.c_str(), &other) == 0 && one.st_ino == other.st_ino &&
               stat(folderOf(first).c_str(), &one) == 0 && stat(folderOf(second).c_str(), &other) == 0 &&
               one.st_dev == other.st_dev && one.st_ino == other.st_ino;
    }

    bool createDirectory(const SPW_CString& path) override {
        const std::string name = pathOf(path);
        return SPW_CFileRightsPosix::makeFolder(name, 0777) || failAt(name.c_str());
    }

    bool removeDirectory(const SPW_CString& path) override {
        const std::string name = pathOf(path);
        if (rmdir(name.c_str()) == 0) {
            return true;
        }
        struct stat status;
        if (errno == ENOTDIR && lstat(name.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
            return succeeded(unlink(name.c_str()));
        }
        return failAt(name.c_str());
    }

    bool deleteFile(const SPW_CString& path) override {
        const std::string name = pathOf(path);
        return succeededAt(name.c_str(), unlink(name.c_str()));
    }

    bool deleteUnusedFile(const SPW_CString& path) override {
        const std::string name = pathOf(path);
        char* const file = realpath(name.c_str(), nullptr);
        const bool isDeleted = file != nullptr ? deleteUnused(file) : errno == ENOENT || failAt(name.c_str());
        free(file);
        return isDeleted;
    }

    bool move(const SPW_CString& from, const SPW_CString& to) override {
        const std::string source = pathOf(from);
        const std::string target = pathOf(to);
        if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
            return true;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            return failAt(target.c_str());  // callers have seen the source
        }
        // A file system without the flag: look first, then rename.
        struct stat status;
        if (lstat(target.c_str(), &status) == 0) {
            return fail(EEXIST);
        }
        return succeededAt(target.c_str(), ::rename(source.c_str(), target.c_str()));
    }

    bool copy(const SPW_CString& from, const SPW_CString& to, bool failIfExists) override {
        const std::string name = pathOf(from);
        const std::string copied = pathOf(to);
        const int source = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (source < 0) {
            return failAt(name.c_str());
        }
        struct stat status;
        struct stat target;
        bool done = false;
        if (fstat(source, &status) != 0) {
            done = fail(errno);
        } else if (!S_ISREG(status.st_mode)) {
            done = fail(EACCES);
        } else if (stat(copied.c_str(), &target) == 0 && target.st_dev == status.st_dev &&
                   target.st_ino == status.st_ino) {
            done = fail(EBUSY);  // opening the target would empty the source
        } else {
            done = copyOpened(source, status, copied.c_str(), failIfExists);
        }
        ::close(source);
        return done;
    }

    SPW_Handle openForReading(const SPW_CString& path) override { return openFile(path, O_RDONLY); }
    SPW_Handle openForWriting(const SPW_CString& path) override { return openFile(path, O_WRONLY); }

    bool getSize(SPW_Handle file, std::uint64_t& bytes) override {
        struct stat status;
        if (fstat(static_cast<OpenFile*>(file)->descriptor, &status) != 0) {
            return fail(errno);
        }
        bytes = static_cast<std::uint64_t>(status.st_size);
        return true;
    }

    bool write(SPW_Handle file, const void* bytes, std::uint32_t size) override {
        return writeAll(static_cast<OpenFile*>(file)->descriptor, static_cast<const char*>(bytes), size);
    }

    bool flush(SPW_Handle file) override { return succeeded(fsync(static_cast<OpenFile*>(file)->descriptor)); }

    bool getInfo(SPW_Handle file, Info& info) override {
        const OpenFile& opened = *static_cast<OpenFile*>(file);
        struct statx status;
        if (statx(opened.descriptor, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
            return fail(errno);
        }
        fillInfo(info, status, opened.name.c_str());
        return true;
    }

    // The creation time cannot be set on Linux.
    bool setTimes(SPW_Handle file, std::uint64_t, std::uint64_t lastAccess, std::uint64_t lastWrite) override {
        const timespec times[2] = {toTimespec(lastAccess), toTimespec(lastWrite)};
        return succeeded(futimens(static_cast<OpenFile*>(file)->descriptor, times));
    }

    bool close(SPW_Handle file) override {
        OpenFile* opened = static_cast<OpenFile*>(file);
        const bool closed = succeeded(::close(opened->descriptor));
        delete opened;
        return closed;
    }

    SPW_Handle findFirst(const SPW_CString& pattern, Found& found) override {
        const int slash = pattern.findLast(u'/');
        Search* search = new Search;
        search->directory = slash < 0 ? "." : slash == 0 ? "/" : pathOf(pattern.left(slash));
        if (readNames(pattern.mid(slash + 1, pattern.length() - slash - 1), *search) &&
            nextFound(*search, found, kSysFileNotFound)) {
            return search;
        }
        delete search;
        return nullptr;
    }

    bool findNext(SPW_Handle search, Found& found) override {
        return nextFound(*static_cast<Search*>(search), found, kSysNoMoreFiles);
    }

    void findClose(SPW_Handle search) override { delete static_cast<Search*>(search); }
};

DirSysPosix g_dirSys;

}  // namespace

SPW_CDirSys* SPW_CDirSys::instance = &g_dirSys;
