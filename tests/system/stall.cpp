// Preloaded into the program under test: while the file that STALL_FLAG names exists, whoever writes to the file that
// STALL_FILE names waits, as for a disk that does not answer.

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

}  // namespace

extern "C" ssize_t write(int descriptor, const void* bytes, size_t count) {
    using Write = ssize_t (*)(int, const void*, size_t);
    static const Write original = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
    while (isStalled(descriptor)) {
        usleep(10000);
    }
    return original(descriptor, bytes, count);
}
