#include "CallFaults.h"

#include <sys/types.h>

#include <cerrno>

CallFault closeFault;
CallFault truncateFault;

namespace {

bool isDue(CallFault& fault, int file) {
    const bool isMeant = file == fault.file && file != -1;
    fault.calls += isMeant ? 1 : 0;
    return isMeant;
}

}  // namespace

extern "C" int __real_close(int file);
extern "C" int __wrap_close(int file);
extern "C" int __real_ftruncate(int file, off_t size);
extern "C" int __wrap_ftruncate(int file, off_t size);

extern "C" int __wrap_close(int file) {
    const bool fails = isDue(closeFault, file);
    const int result = __real_close(file);
    if (!fails)
        return result;
    errno = closeFault.error;
    return -1;
}

extern "C" int __wrap_ftruncate(int file, off_t size) {
    if (!isDue(truncateFault, file))
        return __real_ftruncate(file, size);
    errno = truncateFault.error;
    return -1;
}
