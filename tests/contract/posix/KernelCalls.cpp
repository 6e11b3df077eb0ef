#include "KernelCalls.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<const KernelCalls*> installed{nullptr};

template <typename Step>
const Step* find(Step KernelCalls::*step) {
    const KernelCalls* const calls = installed;
    return calls != nullptr && calls->*step ? &(calls->*step) : nullptr;
}

void run(std::function<void()> KernelCalls::*step) {
    if (const auto* const found = find(step)) {
        (*found)();
    }
}

}  // namespace

KernelCalls::KernelCalls() {
    installed = this;
}

KernelCalls::~KernelCalls() {
    installed = nullptr;
}

extern "C" {

int __real_connect(int descriptor, const sockaddr* address, socklen_t size);
int __real_accept4(int descriptor, sockaddr* address, socklen_t* size, int flags);
int __real_epoll_ctl(int watch, int operation, int descriptor, epoll_event* event);
int __real_setsockopt(int descriptor, int level, int option, const void* value, socklen_t size);
ssize_t __real_recvmsg(int descriptor, msghdr* message, int flags);
int __real_clock_gettime(clockid_t clock, timespec* time);

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size) {
    run(&KernelCalls::beforeConnect);
    return __real_connect(descriptor, address, size);
}

int __wrap_accept4(int descriptor, sockaddr* address, socklen_t* size, int flags) {
    run(&KernelCalls::beforeAccept);
    const int accepted = __real_accept4(descriptor, address, size, flags);
    if (accepted != -1) {
        run(&KernelCalls::afterAccept);
    }
    return accepted;
}

int __wrap_setsockopt(int descriptor, int level, int option, const void* value, socklen_t size) {
    const auto* const refuses = find(&KernelCalls::refusesOption);
    if (refuses != nullptr && (*refuses)(level, option)) {
        errno = ENOPROTOOPT;
        return -1;
    }
    return __real_setsockopt(descriptor, level, option, value, size);
}

int __wrap_epoll_ctl(int watch, int operation, int descriptor, epoll_event* event) {
    const auto* const refusal = find(&KernelCalls::watchRefusal);
    const int code = refusal != nullptr && operation == EPOLL_CTL_ADD ? (*refusal)() : 0;
    if (code != 0) {
        errno = code;
        return -1;
    }
    return __real_epoll_ctl(watch, operation, descriptor, event);
}

ssize_t __wrap_recvmsg(int descriptor, msghdr* header, int flags) {
    const auto* const message = find(&KernelCalls::message);
    const bool isAsked = message != nullptr && (flags & MSG_ERRQUEUE) == 0;
    const ssize_t received = isAsked ? (*message)(header->msg_iov->iov_base, header->msg_iov->iov_len) : 0;
    if (received == 0) {
        return __real_recvmsg(descriptor, header, flags);
    }
    header->msg_controllen = 0;
    return received;
}

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    constexpr std::int64_t kNsPerSecond = 1000000000;
    const int result = __real_clock_gettime(clock, time);
    const auto* const ahead = find(&KernelCalls::clockAheadNs);
    if (ahead != nullptr) {
        const std::int64_t ns = time->tv_nsec + (*ahead)(clock);
        time->tv_sec += ns / kNsPerSecond;
        time->tv_nsec = ns % kNsPerSecond;
    }
    return result;
}

}  // extern "C"
