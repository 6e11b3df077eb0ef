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
ssize_t __real_recvfrom(int descriptor, void* buffer, std::size_t size, int flags, sockaddr* source, socklen_t* length);

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

ssize_t __wrap_recvfrom(int descriptor, void* buffer, std::size_t size, int flags, sockaddr* source,
                        socklen_t* length) {
    const auto* const message = find(&KernelCalls::message);
    const ssize_t received = message == nullptr ? 0 : (*message)(buffer, size);
    return received > 0 ? received : __real_recvfrom(descriptor, buffer, size, flags, source, length);
}

}  // extern "C"
