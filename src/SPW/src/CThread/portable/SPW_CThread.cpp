#include "SPW_CThread.h"

#include "SPW_CError.h"
#include "SPW_CSysError.h"
#include "SPW_CThreadSys.h"

namespace {

const char kModule[] = "src\\SPW\\src\\CThread\\Vc6\\SPW_CThread";
const char kClass[] = "SPW_CThread";

}  // namespace

SPW_CThread::SPW_CThread() : m_stopRequest(false), m_lock(SPW_CThreadSys::createSemaphore(1, 1)), m_thread(nullptr) {
    if (m_lock == nullptr) {
        SPW_CError::instance->report(kModule, 28, kClass, "SPW_CThread", kNoSemaphore, 0, u"failed to create semaphore",
                                     SPW_CError::kFatal);
    }
}

SPW_CThread::~SPW_CThread() {
    if (m_lock != nullptr) {
        SPW_CThreadSys::destroySemaphore(m_lock);
    }
    if (m_thread != nullptr) {
        SPW_CThreadSys::closeThread(m_thread);
    }
}

SPW_Result SPW_CThread::start() {
    if (m_lock == nullptr) {
        return kNoSemaphore;
    }
    m_thread = SPW_CThreadSys::createThread(&SPW_CThread::run, this);
    if (m_thread != nullptr) {
        return 0;
    }
    SPW_CError::instance->report(kModule, __LINE__, kClass, "start", kSysNotEnoughMemory, 0, u"failed to create thread",
                                 SPW_CError::kOrdinary);
    return kSysNotEnoughMemory;
}

void SPW_CThread::lock() {
    if (m_lock != nullptr) {
        (void)SPW_CThreadSys::waitSemaphore(m_lock, kSPWForever);
    }
}

void SPW_CThread::unlock() {
    // At its maximum already: nobody holds the lock, so there is nothing to give back.
    if (m_lock != nullptr) {
        (void)SPW_CThreadSys::releaseSemaphore(m_lock);
    }
}

std::uint32_t SPW_CThread::currentId() {
    return SPW_CThreadSys::currentThreadId();
}

void SPW_CThread::run(void* self) {
    SPW_CThread* const thread = static_cast<SPW_CThread*>(self);
    while (!thread->m_stopRequest) {
        thread->lock();
        thread->step();
        thread->unlock();
    }
    // The last thing that touches the object: finish() tells the owner that it may be destroyed.
    thread->finish();
}
