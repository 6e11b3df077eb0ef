// Loaded before a program's libraries, this makes one call of the system fail for good, and work again, whenever a test
// wants it: while the first byte of the file that LINKOMETRY_FAILING_SWITCH names is not 0, every call of the function
// that LINKOMETRY_FAILING_CALL names fails with the error number LINKOMETRY_FAILING_ERROR.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

const volatile char* mapSwitch() {
    const char* const path = std::getenv("LINKOMETRY_FAILING_SWITCH");
    const int file = path != nullptr ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file == -1) {
        return nullptr;
    }
    void* const page = mmap(nullptr, 1, PROT_READ, MAP_SHARED, file, 0);
    close(file);
    return page != MAP_FAILED ? static_cast<const volatile char*>(page) : nullptr;
}

const char* textOf(const char* name) {
    const char* const text = std::getenv(name);
    return text != nullptr ? text : "";
}

// Made before the program begins.
const volatile char* const isOn = mapSwitch();
const char* const failingCall = textOf("LINKOMETRY_FAILING_CALL");
const int failingError = std::atoi(textOf("LINKOMETRY_FAILING_ERROR"));

bool fails(const char* call) {
    if (isOn == nullptr || *isOn == 0 || std::strcmp(call, failingCall) != 0) {
        return false;
    }
    errno = failingError;
    return true;
}

}  // namespace

// Defines the function `name` in front of the next one of that name, which answers while `call` does not fail.
#define FAILING(result, call, name, parameters, arguments)                               \
    extern "C" result name parameters {                                                  \
        typedef result Next parameters;                                                  \
        static Next* const following = reinterpret_cast<Next*>(dlsym(RTLD_NEXT, #name)); \
        return fails(#call) ? static_cast<result>(-1) : following arguments;             \
    }

FAILING(int, accept4, accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
        (socket, address, size, flags))
FAILING(int, connect, connect, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
FAILING(int, epoll_wait, epoll_wait, (int watch, epoll_event* events, int room, int timeout),
        (watch, events, room, timeout))
FAILING(ssize_t, recv, recv, (int socket, void* bytes, size_t count, int flags), (socket, bytes, count, flags))
FAILING(ssize_t, recv, __recv_chk, (int socket, void* bytes, size_t count, size_t room, int flags),
        (socket, bytes, count, room, flags))
FAILING(ssize_t, recvfrom, recvfrom,
        (int socket, void* bytes, size_t count, int flags, sockaddr* address, socklen_t* size),
        (socket, bytes, count, flags, address, size))
FAILING(ssize_t, recvfrom, __recvfrom_chk,
        (int socket, void* bytes, size_t count, size_t room, int flags, sockaddr* address, socklen_t* size),
        (socket, bytes, count, room, flags, address, size))
FAILING(ssize_t, recvmsg, recvmsg, (int socket, msghdr* message, int flags), (socket, message, flags))
FAILING(ssize_t, send, send, (int socket, const void* bytes, size_t count, int flags), (socket, bytes, count, flags))
FAILING(ssize_t, sendto, sendto,
        (int socket, const void* bytes, size_t count, int flags, const sockaddr* address, socklen_t size),
        (socket, bytes, count, flags, address, size))
FAILING(int, socket, socket, (int family, int type, int protocol), (family, type, protocol))
FAILING(int, ppoll, ppoll, (pollfd * entries, nfds_t count, const timespec* timeout, const sigset_t* signals),
        (entries, count, timeout, signals))
FAILING(int, ppoll, __ppoll_chk,
        (pollfd * entries, nfds_t count, const timespec* timeout, const sigset_t* signals, size_t room),
        (entries, count, timeout, signals, room))
