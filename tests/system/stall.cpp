// Preloaded into the program under test. While the file that STALL_FLAG names exists, writes to the file that
// STALL_FILE names and flushes of it wait, as for a disk that does not answer.

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

bool isStalled(int descriptor) {
    const char* const flag = std::getenv("STALL_FLAG");
    const char* const file = std::getenv("STALL_FILE");
    struct stat written;
    struct stat stalled;
    return flag != nullptr && file != nullptr && access(flag, F_OK) == 0 && fstat(descriptor, &written) == 0 &&
           stat(file, &stalled) == 0 && written.st_dev == stalled.st_dev && written.st_ino == stalled.st_ino;
}

void waitWhileStalled(int descriptor) {
    while (isStalled(descriptor)) {
        usleep(10000);
    }
}

template <typename Call>
Call original(const char* name) {
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" ssize_t write(int descriptor, const void* bytes, size_t count) {
    static const auto next = original<ssize_t (*)(int, const void*, size_t)>("write");
    waitWhileStalled(descriptor);
    return next(descriptor, bytes, count);
}

extern "C" int fdatasync(int descriptor) {
    static const auto next = original<int (*)(int)>("fdatasync");
    waitWhileStalled(descriptor);
    return next(descriptor);
}

extern "C" int fsync(int descriptor) {
    static const auto next = original<int (*)(int)>("fsync");
    waitWhileStalled(descriptor);
    return next(descriptor);
}
