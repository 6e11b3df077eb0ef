#pragma once

#include <algorithm>
#include <cstdint>

// How long to wait before the next attempt at something that fails: not at all for the first failures, which may have
// passed by then, and longer and longer while they go on.
//
//     failure    1    2    3     4     5          9      10      11
//     pause ms   0    0    10    20    40   ...   640    1000    1000   ...      (with a limit of 3)
//
// A plain value of one thread.
class SPW_CBackOff {
public:
    static constexpr std::int32_t kUsualLimit = 3;
    static constexpr std::uint32_t kFirstPauseMs = 10;
    static constexpr std::uint32_t kLongestPauseMs = 1000;

    // limit: the failures in a row after which the pauses begin; 0 or less: there are none.
    explicit SPW_CBackOff(std::int32_t limit = kUsualLimit) : m_limit(limit) {}

    void succeeded() {
        m_failures = 0;
        m_pauseMs = 0;
    }
    // Counts a failure. The pause before the next attempt in milliseconds; 0 for none.
    std::uint32_t failed() {
        ++m_failures;
        if (m_limit > 0 && m_failures >= static_cast<std::uint32_t>(m_limit)) {
            m_pauseMs = m_pauseMs == 0 ? kFirstPauseMs : std::min(m_pauseMs * 2, kLongestPauseMs);
        }
        return m_pauseMs;
    }
    // Failures since the latest success.
    std::uint32_t failures() const { return m_failures; }
    // Whether there have been more failures in a row than go without a pause.
    bool isBeyondLimit() const { return m_limit > 0 && m_failures > static_cast<std::uint32_t>(m_limit); }

private:
    std::int32_t m_limit;
    std::uint32_t m_failures = 0;
    std::uint32_t m_pauseMs = 0;
};
