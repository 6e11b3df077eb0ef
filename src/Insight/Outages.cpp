#include "Outages.h"

#include <algorithm>

namespace {

std::uint64_t apart(const Stamp& a, const Stamp& b) {
    return std::max(spanBetween(a, b), spanBetween(b, a));
}

}  // namespace

bool Outages::begin(int protocol, const Stamp& since, std::uint64_t withinSpan100ns) {
    const std::uint8_t kind = static_cast<std::uint8_t>(1 << protocol);
    for (const Part& other : m_parts) {
        if (isKept(other.outage) && apart(other.began, since) <= withinSpan100ns) {
            m_parts[protocol] = other;
            numbered(other.outage).kinds |= kind;
            numbered(other.outage).silentKinds |= kind;
            moveBegin(other.outage, since);
            return false;
        }
    }
    m_parts[protocol] = {++m_inAll, since};
    Outage& outage = numbered(m_inAll);
    outage = Outage();
    outage.beganWall100ns = since.wall100ns;
    outage.kinds = outage.silentKinds = kind;
    return true;
}

// The outage began with the first of its kinds, which need not be the first that was noticed.
void Outages::moveBegin(std::uint32_t number, const Stamp& since) {
    for (Part& part : m_parts) {
        if (part.outage == number && spanBetween(since, part.began) > 0) {
            part.began = since;
            numbered(number).beganWall100ns = since.wall100ns;
        }
    }
}

bool Outages::end(int protocol, const Stamp& at, std::uint32_t missed, OutageValues& ended) {
    const Part part = m_parts[protocol];
    m_parts[protocol] = Part();
    if (!isKept(part.outage)) {
        return false;
    }
    Outage& outage = numbered(part.outage);
    outage.silentKinds &= static_cast<std::uint8_t>(~(1 << protocol));
    outage.missed += missed;
    const std::uint64_t span = spanBetween(part.began, at);
    if (span >= outage.span100ns) {
        outage.span100ns = span;
        outage.endedWall100ns = at.wall100ns;
    }
    ended = valuesOf(part.outage, at);
    return ended.isOver;
}

OutageValues Outages::valuesOf(std::uint32_t number, const Stamp& now) const {
    const Outage& outage = numbered(number);
    OutageValues values;
    values.beganWall100ns = outage.beganWall100ns;
    values.missed = outage.missed;
    values.kinds = outage.kinds;
    values.isOver = outage.silentKinds == 0;
    if (values.isOver) {
        values.endedWall100ns = outage.endedWall100ns;
        values.span100ns = outage.span100ns;
        return values;
    }
    for (const Part& part : m_parts) {
        if (part.outage == number) {
            values.span100ns = spanBetween(part.began, now);
        }
    }
    return values;
}

void Outages::fill(PeerInsightValues& values, const Stamp& now) const {
    const std::uint32_t kept = std::min<std::uint32_t>(m_inAll, kMost);
    values.outagesInAll = m_inAll;
    values.outages = static_cast<int>(kept);
    for (std::uint32_t i = 0; i < kept; ++i) {
        values.outage[i] = valuesOf(m_inAll - kept + 1 + i, now);
    }
}
