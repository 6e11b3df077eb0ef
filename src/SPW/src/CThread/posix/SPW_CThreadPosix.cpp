#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>

#include "SPW_CGatePosix.h"
#include "SPW_CThreadSys.h"

namespace {

struct Start {
    void (*entry)(void*);
    void* argument;
};

extern "C" void* runThread(void* start) {
    const Start copy = *static_cast<Start*>(start);
    delete static_cast<Start*>(start);
    copy.entry(copy.argument);
    return nullptr;
}

// What the C library takes from every stack for its own and the program's thread data: some kilobytes, with
// ThreadSanitizer most of a megabyte. The function that tells it is not in any header; sysconf leaves the thread data
// out.
std::size_t stackShareOfTheLibrary() {
    typedef std::size_t MinimumStack(const pthread_attr_t*);
    MinimumStack* const minimumStack = reinterpret_cast<MinimumStack*>(dlsym(RTLD_DEFAULT, "__pthread_get_minstack"));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    const std::size_t share = minimumStack != nullptr ? minimumStack(&attributes) : 0;
    pthread_attr_destroy(&attributes);
    return std::max(share, static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN)));
}

// Whole pages. The library puts the thread's data at the end of the size that it is given. With a size of pages and a
// bit, the data and the first frames lie on one page more, in every thread.
std::size_t stackBytes() {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t wanted = SPW_CThreadSys::kStackBytes + stackShareOfTheLibrary();
    return (wanted + page - 1) / page * page;
}

SPW_CGatePosix* gateOf(SPW_Handle semaphore) {
    return static_cast<SPW_CGatePosix*>(semaphore);
}

pthread_mutex_t* mutexOf(SPW_Handle section) {
    return static_cast<pthread_mutex_t*>(section);
}

}  // namespace

SPW_Handle SPW_CThreadSys::createThread(void (*entry)(void*), void* argument) {
    std::unique_ptr<pthread_t> thread(new (std::nothrow) pthread_t);
    std::unique_ptr<Start> start(new (std::nothrow) Start{entry, argument});
    if (thread == nullptr || start == nullptr) {
        return nullptr;
    }
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes());
    const int failure = pthread_create(thread.get(), &attributes, runThread, start.get());
    pthread_attr_destroy(&attributes);
    if (failure != 0) {
        return nullptr;
    }
    (void)start.release();  // the thread's
    return thread.release();
}

void SPW_CThreadSys::closeThread(SPW_Handle thread) {
    pthread_t* const handle = static_cast<pthread_t*>(thread);
    pthread_detach(*handle);
    delete handle;
}

std::uint32_t SPW_CThreadSys::currentThreadId() {
    return static_cast<std::uint32_t>(gettid());
}

SPW_Handle SPW_CThreadSys::createSemaphore(std::uint32_t initial, std::uint32_t maximum) {
    if (maximum == 0 || initial > maximum) {
        return nullptr;
    }
    return new (std::nothrow) SPW_CGatePosix(initial, maximum, false);
}

void SPW_CThreadSys::destroySemaphore(SPW_Handle semaphore) {
    delete gateOf(semaphore);
}

bool SPW_CThreadSys::waitSemaphore(SPW_Handle semaphore, std::uint32_t timeoutMs) {
    return gateOf(semaphore)->wait(timeoutMs);
}

bool SPW_CThreadSys::releaseSemaphore(SPW_Handle semaphore) {
    return gateOf(semaphore)->release();
}

SPW_Handle SPW_CThreadSys::createCriticalSection() {
    pthread_mutex_t* const mutex = new pthread_mutex_t;
    pthread_mutex_init(mutex, nullptr);
    return mutex;
}

void SPW_CThreadSys::destroyCriticalSection(SPW_Handle section) {
    pthread_mutex_destroy(mutexOf(section));
    delete mutexOf(section);
}

void SPW_CThreadSys::enterCriticalSection(SPW_Handle section) {
    pthread_mutex_lock(mutexOf(section));
}

void SPW_CThreadSys::leaveCriticalSection(SPW_Handle section) {
    pthread_mutex_unlock(mutexOf(section));
}

bool SPW_CThreadSys::createSlot(std::uintptr_t& slot) {
    pthread_key_t key;
    if (pthread_key_create(&key, nullptr) != 0) {
        return false;
    }
    slot = key;
    return true;
}

void SPW_CThreadSys::destroySlot(std::uintptr_t slot) {
    pthread_key_delete(static_cast<pthread_key_t>(slot));
}

std::intptr_t SPW_CThreadSys::slotValue(std::uintptr_t slot) {
    return reinterpret_cast<std::intptr_t>(pthread_getspecific(static_cast<pthread_key_t>(slot)));
}

void SPW_CThreadSys::setSlotValue(std::uintptr_t slot, std::intptr_t value) {
    pthread_setspecific(static_cast<pthread_key_t>(slot), reinterpret_cast<void*>(value));
}
