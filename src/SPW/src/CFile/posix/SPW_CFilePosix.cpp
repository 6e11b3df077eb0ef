#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "SPW_CFileSys.h"
#include "SPW_CSysErrorPosix.h"

namespace {

constexpr mode_t kNormalAttributes = 0666;  // less the user's umask

int descriptor(SPW_Handle handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

SPW_Handle handleOf(int fd) {
    return reinterpret_cast<SPW_Handle>(std::intptr_t{fd});
}

int flagsFor(SPW_CFileSys::Creation creation) {
    switch (creation) {
        case SPW_CFileSys::kOpenOrCreate:
            return O_CREAT;
        case SPW_CFileSys::kCreateOrTruncate:
            return O_CREAT | O_TRUNC;
        case SPW_CFileSys::kMustExist:
            break;
    }
    return 0;
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

// Repeats a system call that a signal has cut short.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

// Linux opens a directory for reading like a file.
bool isDirectory(int fd) {
    struct stat status;
    return ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

SPW_Result SPW_CFileSys::open(const SPW_CString& path, Access access, Creation creation, SPW_Handle& handle) {
    const SPW_CString own(path);  // toAnsi changes its string, and the caller's may be shared
    const int flags = (access == kRead ? O_RDONLY : O_RDWR) | flagsFor(creation) | O_CLOEXEC;
    const int fd = uninterrupted([&] { return ::open(own.toAnsi(), flags, kNormalAttributes); });
    if (fd == -1) {
        return SPW_CSysErrorPosix::failAtPath(own.toAnsi());
    }
    if (isDirectory(fd)) {
        (void)::close(fd);
        errno = EISDIR;  // what opening it for writing answers
        return SPW_CSysErrorPosix::fail();
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

SPW_Result SPW_CFileSys::write(SPW_Handle handle, const void* buffer, std::uint32_t size) {
    const char* rest = static_cast<const char*>(buffer);
    std::size_t left = size;
    while (left > 0) {
        const ssize_t count = uninterrupted([&] { return ::write(descriptor(handle), rest, left); });
        if (count == -1) {
            return SPW_CSysErrorPosix::fail();
        }
        rest += count;
        left -= static_cast<std::size_t>(count);
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

SPW_Result SPW_CFileSys::move(SPW_Handle handle, Origin origin, std::int64_t distance, std::uint64_t& position) {
    const off_t here = ::lseek(descriptor(handle), distance, whenceFor(origin));
    if (here == -1) {
        return SPW_CSysErrorPosix::fail();
    }
    position = static_cast<std::uint64_t>(here);
    return 0;
}
