#pragma once

#include <atomic>

#include "SPW_CObject.h"
#include "SPW_Types.h"

// A worker thread that calls step() over and over, holding its lock during each step, until asked to
// stop; then it calls finish() once, without the lock, and ends.
//
// The lock is the pause gate. Taking it waits for the step in progress and keeps the next one from starting. The taker
// is served before the thread's own next turn. A worker that waits at a closed gate costs nothing.
//
// Destruction does not wait for the thread, on purpose: only a derived class knows what ends its step early. It stops
// its own thread in its own destructor, before its part of the object goes: it calls requestStop(), wakes the step,
// opens the gate if it holds it, and waits for an event of its own that finish() sets. After finish() the thread
// touches the object no more.
class SPW_CThread : public SPW_CObject {
public:
    // Code of the fatal report when the platform has no semaphore left for the lock.
    static constexpr SPW_Result kNoSemaphore = 341;

    SPW_CThread();
    ~SPW_CThread() override;
    SPW_CThread(const SPW_CThread&) = delete;
    SPW_CThread& operator=(const SPW_CThread&) = delete;

    // Both are called on the worker thread only.
    virtual void step() = 0;
    virtual void finish() = 0;

    // Creates the thread, which runs at once. Once per object, by its owner. 0, or kSysNotEnoughMemory (reported) when
    // the platform has no thread left: step() and finish() will then never be called. kNoSemaphore for an object that
    // has survived the fatal report of a missing lock; lock() and unlock() then do nothing.
    SPW_Result start();
    // Takes effect after the step in progress. Any thread.
    void requestStop() { m_stopRequest = true; }
    bool isStopRequested() const { return m_stopRequest; }
    // Blocks until the step in progress has ended; the next starts after unlock(). Any thread but the worker itself,
    // not twice in a row. unlock() may come from another thread than lock() did.
    void lock();
    void unlock();
    // Number of the calling thread, as the records of SPW_CError show it.
    static std::uint32_t currentId();

private:
    static void run(void* self);

    std::atomic<bool> m_stopRequest;
    SPW_Handle m_lock;
    SPW_Handle m_thread;
};
