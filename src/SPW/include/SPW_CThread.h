#pragma once

#include <atomic>

#include "SPW_CObject.h"
#include "SPW_Types.h"

// A worker thread that calls step() over and over, holding its lock during each step, until asked to
// stop; then it calls finish() once and ends.
//
// The lock is the pause gate: whoever takes it waits for the step in progress and keeps the next one
// from starting. Destruction does not wait for the thread: the owner sees to it that finish() has run.
class SPW_CThread : public SPW_CObject {
public:
    SPW_CThread();
    ~SPW_CThread() override;
    SPW_CThread(const SPW_CThread&) = delete;
    SPW_CThread& operator=(const SPW_CThread&) = delete;

    virtual void step() = 0;
    virtual void finish() = 0;

    void start();
    void requestStop() { m_stopRequest = true; }
    bool isStopRequested() const { return m_stopRequest; }
    void lock();
    void unlock();
    // Identifier of the calling thread, as records of SPW_CError show it.
    static std::uint32_t currentId();

private:
    static void run(void* self);

    std::atomic<bool> m_stopRequest;
    SPW_Handle m_lock;
    SPW_Handle m_thread;
};
