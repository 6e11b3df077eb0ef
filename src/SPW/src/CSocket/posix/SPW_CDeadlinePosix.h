#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>

#include "SPW_Types.h"

// The point of time until which a call waits. It does not move when the device's time is set, nor with the signals
// that interrupt the call.
class SPW_CDeadlinePosix {
public:
    using Clock = std::chrono::steady_clock;

    explicit SPW_CDeadlinePosix(std::uint32_t timeoutMs)
        : m_isForever(timeoutMs == kSPWForever), m_end(Clock::now() + std::chrono::milliseconds(timeoutMs)) {}

    bool isForever() const { return m_isForever; }
    Clock::time_point end() const { return m_end; }
    bool hasPassed() const { return !m_isForever && Clock::now() >= m_end; }

    // For ppoll(): what is left, in the caller's storage, or null for ever.
    const timespec* remaining(timespec& storage) const {
        if (m_isForever) {
            return nullptr;
        }
        const Clock::duration left = m_end - Clock::now();
        const std::int64_t ns = left.count() > 0 ? std::chrono::nanoseconds(left).count() : 0;
        storage.tv_sec = ns / 1000000000;
        storage.tv_nsec = ns % 1000000000;
        return &storage;
    }

    // For epoll_wait(): what is left in whole milliseconds, none of them too few; -1 for ever.
    int remainingMs() const {
        timespec left;
        if (remaining(left) == nullptr) {
            return -1;
        }
        const std::int64_t ms = left.tv_sec * std::int64_t{1000} + (left.tv_nsec + 999999) / 1000000;
        return static_cast<int>(std::min<std::int64_t>(ms, std::numeric_limits<int>::max()));
    }

private:
    bool m_isForever;
    Clock::time_point m_end;
};
