// A library for tests of tools/soak, to stand between a program and its system: one sendto of ten keeps a descriptor
// and some memory for good.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

#include <atomic>

namespace {

typedef ssize_t SendTo(int, const void*, size_t, int, const sockaddr*, socklen_t);
constexpr int kOneOf = 10;
constexpr size_t kBytes = 16384;
std::atomic<int> calls{0};
std::atomic<void*> kept{nullptr};

}  // namespace

extern "C" ssize_t sendto(int socket, const void* data, size_t length, int flags, const sockaddr* to,
                          socklen_t toLength) {
    static SendTo* const real = reinterpret_cast<SendTo*>(dlsym(RTLD_NEXT, "sendto"));
    if (++calls % kOneOf == 0) {
        kept = memset(malloc(kBytes), 1, kBytes);
        (void)open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    return real(socket, data, length, flags, to, toLength);
}
