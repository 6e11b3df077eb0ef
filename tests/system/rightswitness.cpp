// Preloaded into the program under test: leaves the calling thread's rights, as the kernel tells them, in the file that
// RIGHTS_FILE names, before the first call of each function that could send or receive a packet.

#include <dlfcn.h>
#include <sys/socket.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string rightsOfThread() {
    std::string text;
    std::FILE* const status = std::fopen("/proc/thread-self/status", "re");
    if (status != nullptr) {
        for (int c = std::fgetc(status); c != EOF; c = std::fgetc(status)) {
            text += static_cast<char>(c);
        }
        (void)std::fclose(status);
    }
    return text;
}

void witness(std::atomic<bool>& isTold, const char* name) {
    const char* const path = std::getenv("RIGHTS_FILE");
    if (isTold.exchange(true) || path == nullptr) {
        return;
    }
    // One write for each call. Threads do not mix their texts thus.
    const std::string text = std::string("Call:\t") + name + '\n' + rightsOfThread() + '\n';
    std::FILE* const file = std::fopen(path, "ae");
    if (file != nullptr) {
        (void)std::fwrite(text.data(), 1, text.size(), file);
        (void)std::fclose(file);
    }
}

template <typename Function>
Function original(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The parameters of the function, in parentheses, and the names of these.
#define WITNESSED(result, name, parameters, names)                          \
    extern "C" result name parameters {                                     \
        static std::atomic<bool> isTold{false};                             \
        witness(isTold, #name);                                             \
        static const auto function = original<result(*) parameters>(#name); \
        return function names;                                              \
    }

WITNESSED(int, bind, (int descriptor, const sockaddr* address, socklen_t size), (descriptor, address, size))
WITNESSED(int, connect, (int descriptor, const sockaddr* address, socklen_t size), (descriptor, address, size))
WITNESSED(int, accept4, (int descriptor, sockaddr* address, socklen_t* size, int flags),
          (descriptor, address, size, flags))
WITNESSED(ssize_t, send, (int descriptor, const void* bytes, size_t count, int flags),
          (descriptor, bytes, count, flags))
WITNESSED(ssize_t, sendto,
          (int descriptor, const void* bytes, size_t count, int flags, const sockaddr* to, socklen_t size),
          (descriptor, bytes, count, flags, to, size))
WITNESSED(ssize_t, recv, (int descriptor, void* bytes, size_t count, int flags), (descriptor, bytes, count, flags))
WITNESSED(ssize_t, recvfrom, (int descriptor, void* bytes, size_t count, int flags, sockaddr* from, socklen_t* size),
          (descriptor, bytes, count, flags, from, size))
WITNESSED(ssize_t, recvmsg, (int descriptor, msghdr* message, int flags), (descriptor, message, flags))
// What a compiler's checks call instead; `room` is how many bytes the buffer has.
WITNESSED(ssize_t, __recv_chk, (int descriptor, void* bytes, size_t count, size_t room, int flags),
          (descriptor, bytes, count, room, flags))
WITNESSED(ssize_t, __recvfrom_chk,
          (int descriptor, void* bytes, size_t count, size_t room, int flags, sockaddr* from, socklen_t* size),
          (descriptor, bytes, count, room, flags, from, size))
