#include "SPW_CGatePosix.h"

#include <errno.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Guard = std::lock_guard<std::mutex>;

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

// False when the deadline on the monotonic clock has passed; null is none.
bool sleepUntilSet(std::atomic<std::uint32_t>& word, const timespec* deadline) {
    while (word.load(std::memory_order_acquire) == 0) {
        const long result =
            syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, 0, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
        if (result == -1 && errno == ETIMEDOUT) {
            return false;
        }
    }
    return true;
}

void setAndWake(std::atomic<std::uint32_t>& word) {
    word.store(1, std::memory_order_release);
    (void)syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1);
}

}  // namespace

SPW_CGatePosix::SPW_CGatePosix(std::uint32_t initial, std::uint32_t maximum, bool staysOpen)
    : m_count(initial), m_maximum(maximum), m_staysOpen(staysOpen), m_first(nullptr), m_end(&m_first) {}

bool SPW_CGatePosix::wait(std::uint32_t timeoutMs) {
    if (timeoutMs == 0) {
        return waitInLine(kLookOnly, {});
    }
    if (timeoutMs == kSPWForever) {
        return waitInLine(kForever, {});
    }
    return waitInLine(kUntilDeadline, monotonicDeadline(timeoutMs));
}

bool SPW_CGatePosix::waitUntil(const timespec& deadline) {
    return waitInLine(kUntilDeadline, deadline);
}

bool SPW_CGatePosix::waitInLine(Limit limit, const timespec& deadline) {
    Waiter self;
    {
        const Guard guard(m_mutex);
        if (takeUnit()) {
            return true;
        }
        if (limit == kLookOnly) {
            return false;
        }
        *m_end = &self;
        m_end = &self.next;
    }
    if (sleepUntilSet(self.isGranted, limit == kUntilDeadline ? &deadline : nullptr)) {
        return true;
    }
    {
        const Guard guard(m_mutex);
        if (leaveLine(&self)) {
            return false;
        }
    }
    // A release took it out of the line just now. It is about to set the word, which must still be there then.
    return sleepUntilSet(self.isGranted, nullptr);
}

bool SPW_CGatePosix::takeUnit() {
    if (m_count == 0) {
        return false;
    }
    if (!m_staysOpen) {
        --m_count;
    }
    return true;
}

bool SPW_CGatePosix::leaveLine(const Waiter* waiter) {
    Waiter** link = &m_first;
    while (*link != nullptr && *link != waiter) {
        link = &(*link)->next;
    }
    if (*link == nullptr) {
        return false;
    }
    *link = waiter->next;
    if (m_end == &waiter->next) {
        m_end = link;
    }
    return true;
}

bool SPW_CGatePosix::release() {
    Waiter* granted = nullptr;
    {
        const Guard guard(m_mutex);
        granted = takeGranted();
        if (granted == nullptr || m_staysOpen) {
            if (m_count == m_maximum) {
                return false;
            }
            ++m_count;
        }
    }
    while (granted != nullptr) {
        Waiter* const next = granted->next;  // the waiter goes with its word
        setAndWake(granted->isGranted);
        granted = next;
    }
    return true;
}

// Takes those out of the line whom a release frees: the first, or all of a gate that stays open.
SPW_CGatePosix::Waiter* SPW_CGatePosix::takeGranted() {
    Waiter* const granted = m_first;
    if (granted == nullptr) {
        return nullptr;
    }
    Waiter* const rest = m_staysOpen ? nullptr : granted->next;
    if (!m_staysOpen) {
        granted->next = nullptr;
    }
    m_first = rest;
    if (rest == nullptr) {
        m_end = &m_first;
    }
    return granted;
}

void SPW_CGatePosix::close() {
    const Guard guard(m_mutex);
    m_count = 0;
}
