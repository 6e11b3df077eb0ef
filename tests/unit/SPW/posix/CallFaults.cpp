#include "CallFaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/types.h>

#include <cerrno>

CallFault closeFault;
CallFault truncateFault;
bool flockWantsWriting = false;
std::atomic<int> flockCalls{0};

namespace {

bool isDue(CallFault& fault, int file) {
    if (file != fault.file || file == -1) {
        return false;  // nothing is written then: other threads close files meanwhile
    }
    ++fault.calls;
    return true;
}

}  // namespace

extern "C" int __real_close(int file);
extern "C" int __wrap_close(int file);
extern "C" int __real_ftruncate(int file, off_t size);
extern "C" int __wrap_ftruncate(int file, off_t size);
extern "C" int __real_flock(int file, int operation);
extern "C" int __wrap_flock(int file, int operation);

extern "C" int __wrap_close(int file) {
    const bool fails = isDue(closeFault, file);
    const int result = __real_close(file);
    if (!fails) {
        return result;
    }
    errno = closeFault.error;
    return -1;
}

extern "C" int __wrap_ftruncate(int file, off_t size) {
    if (!isDue(truncateFault, file)) {
        return __real_ftruncate(file, size);
    }
    errno = truncateFault.error;
    return -1;
}

extern "C" int __wrap_flock(int file, int operation) {
    ++flockCalls;
    const bool isReadOnly = (fcntl(file, F_GETFL) & O_ACCMODE) == O_RDONLY;
    if (!flockWantsWriting || !isReadOnly || (operation & LOCK_EX) == 0) {
        return __real_flock(file, operation);
    }
    errno = EBADF;
    return -1;
}
