#include "SequenceCounter.h"

#include <algorithm>
#include <limits>

namespace {

// Sequence numbers come from the network: a peer that jumps over the whole range again and again must not make
// the counts wrap. Since a count that stands still at its end stays at least as large as the smaller one, received
// never turns negative.
std::int32_t saturatingAdd(std::int32_t count, std::int64_t more) {
    const std::int64_t limit = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(count + more, limit));
}

}  // namespace

void SequenceCounter::record(std::int32_t sequence) {
    const std::int64_t step = static_cast<std::int64_t>(sequence) - m_last;
    if (step <= 0) {
        // Leaves the started flag alone on purpose: a first number 0 counts once, and the number after it
        // starts the counter afresh with a total of 1.
        m_total = saturatingAdd(m_total, 1);
        m_first = sequence;
    } else if (m_started) {
        m_total = saturatingAdd(m_total, step);
        m_lost = saturatingAdd(m_lost, step - 1);
    } else {
        m_first = sequence;
        m_total = 1;
        m_started = true;
    }
    m_last = sequence;
}
