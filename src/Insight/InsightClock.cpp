#include "InsightClock.h"

namespace {

// tell() comes once a second, at the latest.
constexpr std::uint64_t kLate100ns = kOneSecond100ns * 3 / 2;
constexpr std::uint64_t kAway100ns = kOneSecond100ns * 2;

}  // namespace

void InsightClock::begin(const Stamp& now) {
    *this = InsightClock();
    (void)tell(now);
    m_latest100ns = now.monotonic100ns;
    m_presentSince = now;
}

bool InsightClock::tell(const Stamp& now) {
    m_toWall100ns = now.wall100ns - now.monotonic100ns;
    const bool isLate = m_latestTell100ns != 0 && now.monotonic100ns - m_latestTell100ns > kLate100ns && !m_wasLate;
    m_latestTell100ns = now.monotonic100ns;
    m_wasLate = isLate;
    return !isLate;
}

Moment InsightClock::at(std::uint64_t monotonic100ns) {
    if (monotonic100ns > m_latest100ns) {
        if (monotonic100ns - m_latest100ns > kAway100ns) {
            m_presentSince = stampOf(monotonic100ns);
        }
        m_latest100ns = monotonic100ns;
    }
    return {stampOf(monotonic100ns), m_presentSince};
}
