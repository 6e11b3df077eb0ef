#include "SPW_CSmallFilePosix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// -1 when there is no regular file.
int openRegular(const char* path, struct stat& status) {
    const int file = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file == -1 || (::fstat(file, &status) == 0 && S_ISREG(status.st_mode))) {
        return file;
    }
    (void)::close(file);  // nothing has been written
    return -1;
}

// Ends what openRegular() began; no half of a file counts.
bool finish(int file, bool isRead, std::string& text) {
    (void)::close(file);  // nothing has been written
    if (!isRead) {
        text.clear();
    }
    return isRead;
}

// Up to `limit` bytes; the size of a file below /proc is known only when it has been read.
bool readUpTo(int file, std::size_t limit, std::string& text) {
    text.resize(limit);
    std::size_t used = 0;
    while (used < limit) {
        const ssize_t count = ::read(file, &text[used], limit - used);
        if (count == -1 && errno == EINTR) {
            continue;
        }
        if (count == -1) {
            return false;
        }
        if (count == 0) {
            break;
        }
        used += static_cast<std::size_t>(count);
    }
    text.resize(used);
    return true;
}

}  // namespace

bool SPW_CSmallFilePosix::read(const char* path, std::size_t limit, std::string& text) {
    text.clear();
    struct stat status;
    const int file = openRegular(path, status);
    return file != -1 && finish(file, readUpTo(file, limit, text), text);
}

bool SPW_CSmallFilePosix::readEnd(const char* path, std::size_t limit, std::string& text, std::int64_t& written) {
    text.clear();
    struct stat status;
    const int file = openRegular(path, status);
    if (file == -1) {
        return false;
    }
    const std::size_t size = std::min(static_cast<std::size_t>(status.st_size), limit);
    const bool isAtEnd = ::lseek(file, status.st_size - static_cast<off_t>(size), SEEK_SET) != -1;
    if (!finish(file, isAtEnd && readUpTo(file, size, text), text)) {
        return false;
    }
    written = status.st_mtime;
    return true;
}
