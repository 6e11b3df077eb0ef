// Loaded before a program's libraries, this makes the machine of that program alone one on which threads run out: it
// has as many as LINKOMETRY_THREADS says, and refuses all further ones.

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace {

std::atomic<int>& left() {
    static std::atomic<int> number(std::atoi(std::getenv("LINKOMETRY_THREADS")));
    return number;
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                              void* argument) noexcept {
    typedef int Create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static Create* const create = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return left()-- > 0 ? create(thread, attributes, entry, argument) : EAGAIN;
}
