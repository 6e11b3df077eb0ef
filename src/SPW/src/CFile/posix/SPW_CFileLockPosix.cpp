#include "SPW_CFileLockPosix.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

// How often the file at the path may be another one by the time it is locked.
constexpr int kTries = 10;

bool isRegular(int file) {
    struct stat status;
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

bool isAt(int file, const char* path) {
    struct stat opened;
    struct stat present;
    return ::fstat(file, &opened) == 0 && ::stat(path, &present) == 0 && opened.st_dev == present.st_dev &&
           opened.st_ino == present.st_ino;
}

void closeAndFail(int file, int error) {
    (void)::close(file);  // nothing has been written
    errno = error;
}

}  // namespace

int SPW_CFileLockPosix::openLocked(const char* path, int flags, mode_t mode) {
    for (int i = 0; i < kTries; ++i) {
        const int file = ::open(path, flags, mode);
        if (file == -1 && errno == EINTR) {
            continue;
        }
        if (file == -1 || !isRegular(file)) {
            return file;
        }
        if (::flock(file, LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK) {
            closeAndFail(file, EBUSY);
            return -1;
        }
        // The former owner of the lock may have deleted the file. The next program at this path would lock another
        // file.
        if (isAt(file, path)) {
            return file;
        }
        (void)::close(file);  // nothing has been written
    }
    errno = EBUSY;
    return -1;
}
