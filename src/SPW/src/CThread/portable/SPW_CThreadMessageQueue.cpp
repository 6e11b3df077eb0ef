#include "SPW_CThreadMessageQueue.h"

#include <algorithm>
#include <utility>

#include "SPW_CClock.h"
#include "SPW_CError.h"
#include "SPW_CThreadSys.h"

namespace {

const char kModule[] = "src\\SPW\\src\\CThread\\Vc6\\SPW_CThreadMessageQueue";
constexpr std::uint32_t kTraceLevel = 16;

// Every log line passes here twice. A text is therefore made only if somebody wants to read it.
void trace(SPW_CError::TraceKind kind, int line, const char* method, const char16_t* message = u"") {
    SPW_CError* const reporter = SPW_CError::instance;
    if (reporter->isTraced(kTraceLevel)) {
        reporter->trace(kTraceLevel, kind, kModule, line, "SPW_CThreadMessageQueue", method, message);
    }
}

void traceRemoveIndex(std::uint32_t index) {
    if (!SPW_CError::instance->isTraced(kTraceLevel)) {
        return;
    }
    SPW_CString text;
    text.format(u"myRemoveIndex is %u", index);
    trace(SPW_CError::kNote, 141, "qGetMsg", text.text());
}

void acquire(SPW_Handle semaphore) {
    (void)SPW_CThreadSys::waitSemaphore(semaphore, kSPWForever);
}

// The counts of the two semaphores add up to what they began with, so none is ever above its maximum.
void release(SPW_Handle semaphore) {
    (void)SPW_CThreadSys::releaseSemaphore(semaphore);
}

}  // namespace

SPW_CThreadMessageQueue::SPW_CThreadMessageQueue() : SPW_CThreadMessageQueue(1) {}

SPW_CThreadMessageQueue::SPW_CThreadMessageQueue(std::uint32_t capacity)
    : m_capacity(std::max(capacity, std::uint32_t{1})),
      m_items(SPW_CThreadSys::createSemaphore(0, m_capacity)),
      m_freeSlots(SPW_CThreadSys::createSemaphore(m_capacity, m_capacity)),
      m_ring(new std::uintptr_t[m_capacity]()),
      m_writeIndex(0),
      m_removeIndex(0),
      m_count(0),
      m_timedPending(false),
      m_due100ns(0) {
    trace(SPW_CError::kEntry, 20, "constructor");
    if (queueResult() != 0) {
        SPW_CError::instance->report(kModule, __LINE__, "SPW_CThreadMessageQueue", "constructor", kNoSemaphore, 0,
                                     u"failed to create semaphore", SPW_CError::kOrdinary);
    }
    trace(SPW_CError::kExit, 54, "constructor");
}

SPW_CThreadMessageQueue::~SPW_CThreadMessageQueue() {
    if (m_items != nullptr) {
        SPW_CThreadSys::destroySemaphore(m_items);
    }
    if (m_freeSlots != nullptr) {
        SPW_CThreadSys::destroySemaphore(m_freeSlots);
    }
}

SPW_Result SPW_CThreadMessageQueue::queueResult() const {
    return m_items != nullptr && m_freeSlots != nullptr ? 0 : kNoSemaphore;
}

void SPW_CThreadMessageQueue::qAddMsg(std::uintptr_t message) {
    if (queueResult() != 0) {
        return;
    }
    trace(SPW_CError::kEntry, 157, "qAddMsg");
    acquire(m_freeSlots);
    append(message);
    trace(SPW_CError::kExit, 169, "qAddMsg");
}

bool SPW_CThreadMessageQueue::qTryAddMsg(std::uintptr_t message) {
    if (queueResult() != 0 || !SPW_CThreadSys::waitSemaphore(m_freeSlots, 0)) {
        return false;
    }
    // A message that is left with the caller leaves no trace: the queue has not seen it.
    trace(SPW_CError::kEntry, 157, "qAddMsg");
    append(message);
    trace(SPW_CError::kExit, 169, "qAddMsg");
    return true;
}

// For a writer that holds a unit of m_freeSlots.
void SPW_CThreadMessageQueue::append(std::uintptr_t message) {
    {
        const SPW_CGuard guard(m_queueLock);
        m_ring[m_writeIndex] = message;
        m_writeIndex = (m_writeIndex + 1) % m_capacity;
        ++m_count;
    }
    release(m_items);
}

SPW_Result SPW_CThreadMessageQueue::qGetMsg(std::uintptr_t& message, std::uint32_t timeoutMs) {
    trace(SPW_CError::kEntry, 100, "qGetMsg");
    message = 0;
    std::uint32_t waitMs = timeoutMs;
    bool timedMessageFirst = false;
    if (m_timedPending) {
        const std::int64_t remaining = timedMessageRemaining();
        if (remaining <= 0) {
            message = takeTimedMessage();
            trace(SPW_CError::kExit, 151, "qGetMsg");
            return static_cast<SPW_Result>(remaining);
        }
        timedMessageFirst = remaining < static_cast<std::int64_t>(timeoutMs);
        if (timedMessageFirst) {
            waitMs = static_cast<std::uint32_t>(remaining);
        }
    }
    if (!waitForItem(waitMs)) {
        trace(SPW_CError::kExit, 128, "qGetMsg", u"wait timed out");
        if (!timedMessageFirst) {
            return kTimedOut;
        }
        message = takeTimedMessage();
        return 0;
    }
    message = takeOldest();
    trace(SPW_CError::kExit, 151, "qGetMsg");
    return 0;
}

// A queue that can never hold anything stays empty for as long as anybody waits.
bool SPW_CThreadMessageQueue::waitForItem(std::uint32_t timeoutMs) {
    if (queueResult() != 0) {
        SPW_CClock::instance->sleepMs(timeoutMs);
        return false;
    }
    return SPW_CThreadSys::waitSemaphore(m_items, timeoutMs);
}

void SPW_CThreadMessageQueue::setTimedMessage(std::uint32_t delay, std::unique_ptr<SPW_CMessage> message) {
    m_timedPending = true;
    m_timedMessage = std::move(message);
    m_due100ns = SPW_CClock::instance->now100ns() + std::uint64_t(delay) * 10;
}

bool SPW_CThreadMessageQueue::isEmpty() const {
    return lockedCount() == 0;
}

bool SPW_CThreadMessageQueue::isFull() const {
    return static_cast<std::uint32_t>(lockedCount()) == m_capacity;
}

// Deliberate: the delay was added as microseconds (10 units of 100 ns each), and what is left of it in microseconds is
// then waited for as milliseconds. A queue that looks often hands the message out after the delay in microseconds; one
// that sleeps in qGetMsg meanwhile, up to a thousand times later. Users of timed messages rely on both halves as they
// are; mending one of them alone would move every due time by a factor of a thousand.
std::int64_t SPW_CThreadMessageQueue::timedMessageRemaining() const {
    return static_cast<std::int64_t>(m_due100ns - SPW_CClock::instance->now100ns()) / 10;
}

std::uintptr_t SPW_CThreadMessageQueue::takeTimedMessage() {
    m_timedPending = false;
    return reinterpret_cast<std::uintptr_t>(m_timedMessage.release());
}

std::uintptr_t SPW_CThreadMessageQueue::takeOldest() {
    std::uintptr_t message = 0;
    {
        const SPW_CGuard guard(m_queueLock);
        message = removeOldest();
        --m_count;
    }
    release(m_freeSlots);
    return message;
}

// Under the lock, for a reader that holds a unit of m_items. Its place stays taken.
std::uintptr_t SPW_CThreadMessageQueue::removeOldest() {
    traceRemoveIndex(m_removeIndex);
    const std::uintptr_t message = m_ring[m_removeIndex];
    m_removeIndex = (m_removeIndex + 1) % m_capacity;
    return message;
}

std::uint32_t SPW_CThreadMessageQueue::qTakeWaiting(std::uintptr_t* messages, std::uint32_t most) {
    std::uint32_t count = 0;
    while (count < most && queueResult() == 0 && SPW_CThreadSys::waitSemaphore(m_items, 0)) {
        ++count;
    }
    const SPW_CGuard guard(m_queueLock);
    for (std::uint32_t i = 0; i < count; ++i) {
        trace(SPW_CError::kEntry, 100, "qGetMsg");
        messages[i] = removeOldest();
        trace(SPW_CError::kExit, 151, "qGetMsg");
    }
    return count;
}

void SPW_CThreadMessageQueue::freePlaces(std::uint32_t count) {
    {
        const SPW_CGuard guard(m_queueLock);
        m_count -= static_cast<std::int32_t>(count);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        release(m_freeSlots);
    }
}

std::int32_t SPW_CThreadMessageQueue::lockedCount() const {
    const SPW_CGuard guard(m_queueLock);
    return m_count;
}
