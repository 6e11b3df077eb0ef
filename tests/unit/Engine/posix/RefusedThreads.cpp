#include "RefusedThreads.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <limits>

namespace {

constexpr int kAny = std::numeric_limits<int>::max();
std::atomic<int> left{kAny};

bool isRefused() {
    return left != kAny && left-- <= 0;
}

}  // namespace

// The linker sends the program's calls of pthread_create here (--wrap).
extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                                     void* argument) {
    return isRefused() ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

RefusedThreads::RefusedThreads(int admitted) {
    left = admitted;
}

RefusedThreads::~RefusedThreads() {
    left = kAny;
}
