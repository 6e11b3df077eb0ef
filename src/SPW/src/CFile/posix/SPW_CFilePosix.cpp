#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "SPW_CFileLockPosix.h"
#include "SPW_CFileSys.h"
#include "SPW_CSysErrorPosix.h"
#include "SPW_CUninterruptedPosix.h"

namespace {

constexpr mode_t kNormalAttributes = 0666;  // less the user's umask

int descriptor(SPW_Handle handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

SPW_Handle handleOf(int fd) {
    return reinterpret_cast<SPW_Handle>(std::intptr_t{fd});
}

int flagsFor(SPW_CFileSys::Access access, SPW_CFileSys::Creation creation) {
    const int rights = access == SPW_CFileSys::kRead ? O_RDONLY : O_RDWR;
    const int position = access == SPW_CFileSys::kAppend ? O_APPEND : 0;
    const int existence = creation == SPW_CFileSys::kMustExist ? 0 : O_CREAT;
    return rights | position | existence | O_CLOEXEC;
}

int openFor(const char* path, SPW_CFileSys::Access access, int flags) {
    const bool sharesWriting = access == SPW_CFileSys::kRead || access == SPW_CFileSys::kReadWriteShared;
    return sharesWriting ? uninterrupted([&] { return ::open(path, flags, kNormalAttributes); })
                         : SPW_CFileLockPosix::openLocked(path, flags, kNormalAttributes);
}

// What has no size, such as a pipe, is not to be emptied.
int emptied(int fd) {
    struct stat status;
    const bool hasSize = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    return hasSize ? uninterrupted([fd] { return ::ftruncate(fd, 0); }) : 0;
}

int whenceFor(SPW_CFileSys::Origin origin) {
    switch (origin) {
        case SPW_CFileSys::kFromHere:
            return SEEK_CUR;
        case SPW_CFileSys::kFromEnd:
            return SEEK_END;
        case SPW_CFileSys::kFromBegin:
            break;
    }
    return SEEK_SET;
}

// Linux opens a directory for reading like a file.
bool isDirectory(int fd) {
    struct stat status;
    return ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

SPW_Result SPW_CFileSys::open(const SPW_CString& path, Access access, Creation creation, SPW_Handle& handle) {
    const std::string own(SPW_CString(path).toAnsi());  // toAnsi changes its string, and the caller's may be shared
    const int fd = openFor(own.c_str(), access, flagsFor(access, creation));
    if (fd == -1) {
        return SPW_CSysErrorPosix::failAtPath(own.c_str());
    }
    if (isDirectory(fd)) {
        (void)::close(fd);
        errno = EISDIR;  // what opening it for writing answers
        return SPW_CSysErrorPosix::fail();
    }
    // Not before it is ours: another one's file must not be emptied.
    if (creation == kCreateOrTruncate && emptied(fd) == -1) {
        const SPW_Result result = SPW_CSysErrorPosix::fail();
        (void)::close(fd);  // nothing has been written
        return result;
    }
    handle = handleOf(fd);
    return 0;
}

SPW_Result SPW_CFileSys::createUnique(const SPW_CString& directory, const char16_t* prefix, SPW_CString& path) {
    const SPW_CString wanted = directory + u"/" + prefix + u"XXXXXX";
    std::string name = wanted.toAnsi();
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd == -1) {
        return SPW_CSysErrorPosix::failAtPath(name.c_str());
    }
    (void)::close(fd);  // nothing has been written
    path = SPW_CString(name.c_str());
    return 0;
}

SPW_Result SPW_CFileSys::close(SPW_Handle handle) {
    // Not repeated after EINTR: Linux has closed the descriptor by then, and another thread may have its number.
    return ::close(descriptor(handle)) == -1 && errno != EINTR ? SPW_CSysErrorPosix::fail() : 0;
}

SPW_Result SPW_CFileSys::read(SPW_Handle handle, void* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
    const ssize_t count = uninterrupted([&] { return ::read(descriptor(handle), buffer, size); });
    bytesRead = count > 0 ? static_cast<std::uint32_t>(count) : 0;
    return count == -1 ? SPW_CSysErrorPosix::fail() : 0;
}

SPW_Result SPW_CFileSys::write(SPW_Handle handle, const void* buffer, std::uint32_t size, std::uint32_t& written) {
    const char* const bytes = static_cast<const char*>(buffer);
    written = 0;
    while (written < size) {
        const ssize_t count =
            uninterrupted([&] { return ::write(descriptor(handle), bytes + written, size - written); });
        if (count == -1) {
            return SPW_CSysErrorPosix::fail();
        }
        written += static_cast<std::uint32_t>(count);
    }
    return 0;
}

SPW_Result SPW_CFileSys::flush(SPW_Handle handle) {
    return uninterrupted([&] { return ::fdatasync(descriptor(handle)); }) == -1 ? SPW_CSysErrorPosix::fail() : 0;
}

SPW_Result SPW_CFileSys::getSize(SPW_Handle handle, std::uint64_t& bytes) {
    struct stat status;
    if (::fstat(descriptor(handle), &status) == -1) {
        return SPW_CSysErrorPosix::fail();
    }
    bytes = static_cast<std::uint64_t>(status.st_size);
    return 0;
}

SPW_Result SPW_CFileSys::setSize(SPW_Handle handle, std::uint64_t bytes) {
    const off_t size = static_cast<off_t>(bytes);
    const bool isCut = uninterrupted([&] { return ::ftruncate(descriptor(handle), size); }) == 0 &&
                       ::lseek(descriptor(handle), size, SEEK_SET) != -1;
    return isCut ? 0 : SPW_CSysErrorPosix::fail();
}

SPW_Result SPW_CFileSys::move(SPW_Handle handle, Origin origin, std::int64_t distance, std::uint64_t& position) {
    const off_t here = ::lseek(descriptor(handle), distance, whenceFor(origin));
    if (here == -1) {
        return SPW_CSysErrorPosix::fail();
    }
    position = static_cast<std::uint64_t>(here);
    return 0;
}
