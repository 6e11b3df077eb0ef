#include "SPW_CGatePosix.h"

namespace {

// Holds a mutex for the life of a block.
class Hold {
public:
    explicit Hold(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~Hold() { pthread_mutex_unlock(&m_mutex); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

timespec monotonicDeadline(std::uint32_t timeoutMs) {
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000;
    if (deadline.tv_nsec >= 1000000000) {
        deadline.tv_nsec -= 1000000000;
        ++deadline.tv_sec;
    }
    return deadline;
}

void initialiseMonotonic(pthread_cond_t& condition) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

}  // namespace

SPW_CGatePosix::SPW_CGatePosix(std::uint32_t initial, std::uint32_t maximum, bool staysOpen)
    : m_count(initial), m_maximum(maximum), m_staysOpen(staysOpen), m_first(nullptr), m_end(&m_first) {
    pthread_mutex_init(&m_mutex, nullptr);
}

SPW_CGatePosix::~SPW_CGatePosix() {
    pthread_mutex_destroy(&m_mutex);
}

bool SPW_CGatePosix::wait(std::uint32_t timeoutMs) {
    const Hold hold(m_mutex);
    if (takeFree()) {
        return true;
    }
    if (timeoutMs == 0) {
        return false;
    }
    if (timeoutMs == kSPWForever) {
        return waitInLine(nullptr);
    }
    const timespec deadline = monotonicDeadline(timeoutMs);
    return waitInLine(&deadline);
}

bool SPW_CGatePosix::waitUntil(const timespec& deadline) {
    const Hold hold(m_mutex);
    return takeFree() || waitInLine(&deadline);
}

bool SPW_CGatePosix::takeFree() {
    if (m_count == 0) {
        return false;
    }
    if (!m_staysOpen) {
        --m_count;
    }
    return true;
}

bool SPW_CGatePosix::waitInLine(const timespec* deadline) {
    Waiter self;
    initialiseMonotonic(self.wake);
    self.granted = false;
    self.next = nullptr;
    *m_end = &self;
    m_end = &self.next;
    int failure = 0;
    while (!self.granted && failure == 0) {
        failure = deadline == nullptr ? pthread_cond_wait(&self.wake, &m_mutex)
                                      : pthread_cond_timedwait(&self.wake, &m_mutex, deadline);
    }
    if (!self.granted) {
        leaveLine(&self);
    }
    pthread_cond_destroy(&self.wake);
    return self.granted;
}

bool SPW_CGatePosix::release() {
    const Hold hold(m_mutex);
    if (m_first != nullptr && !m_staysOpen) {
        grantFirst();
        return true;
    }
    while (m_first != nullptr) {
        grantFirst();
    }
    if (m_count == m_maximum) {
        return false;
    }
    ++m_count;
    return true;
}

void SPW_CGatePosix::close() {
    const Hold hold(m_mutex);
    m_count = 0;
}

void SPW_CGatePosix::grantFirst() {
    Waiter* const waiter = m_first;
    leaveLine(waiter);
    waiter->granted = true;
    pthread_cond_signal(&waiter->wake);
}

void SPW_CGatePosix::leaveLine(const Waiter* waiter) {
    Waiter** link = &m_first;
    while (*link != waiter) {
        link = &(*link)->next;
    }
    *link = waiter->next;
    if (m_end == &waiter->next) {
        m_end = link;
    }
}
