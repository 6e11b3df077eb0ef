#pragma once

#include <algorithm>
#include <cstdint>

// Keeps the screen from being drawn more often than ten times a second, however many updates come.
// Times are milliseconds of any clock that does not run backwards.
class RedrawPace {
public:
    static constexpr std::int64_t kLeastMs = 100;

    // Something has changed.
    void request() { m_isRequested = true; }
    bool isRequested() const { return m_isRequested; }
    // Returns how long to wait until the screen may be drawn. 0 means at once.
    std::int64_t msUntilDue(std::int64_t nowMs) const {
        return m_isDrawn ? std::max(m_lastMs + kLeastMs - nowMs, std::int64_t{0}) : 0;
    }
    bool isDue(std::int64_t nowMs) const { return m_isRequested && msUntilDue(nowMs) == 0; }
    void drawn(std::int64_t nowMs) {
        m_lastMs = nowMs;
        m_isDrawn = true;
        m_isRequested = false;
    }

private:
    std::int64_t m_lastMs = 0;
    bool m_isDrawn = false;
    bool m_isRequested = false;
};
