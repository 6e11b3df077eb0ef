#include "SPW_CSmallFilePosix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool isRegular(int file) {
    struct stat status;
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

// Up to `limit` bytes; the size of a file below /proc is known only when it has been read.
bool readUpTo(int file, std::size_t limit, std::string& text) {
    text.resize(limit);
    std::size_t used = 0;
    while (used < limit) {
        const ssize_t count = ::read(file, &text[used], limit - used);
        if (count == -1 && errno == EINTR)
            continue;
        if (count == -1)
            return false;
        if (count == 0)
            break;
        used += static_cast<std::size_t>(count);
    }
    text.resize(used);
    return true;
}

}  // namespace

bool SPW_CSmallFilePosix::read(const char* path, std::size_t limit, std::string& text) {
    text.clear();
    const int file = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file == -1)
        return false;
    const bool isRead = isRegular(file) && readUpTo(file, limit, text);
    (void)::close(file);  // nothing has been written
    if (!isRead)
        text.clear();
    return isRead;
}
