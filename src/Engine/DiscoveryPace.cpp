#include "DiscoveryPace.h"

#include <algorithm>

void DiscoveryPace::begin(const Limits& limits) {
    m_limits = limits;
    m_store = limits.burst;
    m_discoveries = 0;
}

void DiscoveryPace::admit() {
    m_store -= isLimited() ? 1 : 0;
}

DiscoveryPace::Manner DiscoveryPace::nextManner() {
    ++m_discoveries;
    if (m_limits.linesASecond <= 0 || m_discoveries <= m_limits.linesASecond) {
        return kAnnounced;
    }
    return m_discoveries <= kAtOnceASecond ? kCounted : kLater;
}

int DiscoveryPace::passSeconds(std::int64_t seconds) {
    m_store = std::min<std::int64_t>(m_store + m_limits.aSecond * seconds, m_limits.burst);
    const int sharing = m_limits.linesASecond <= 0 ? 0 : std::max(m_discoveries - m_limits.linesASecond, 0);
    m_discoveries = 0;
    return sharing;
}
