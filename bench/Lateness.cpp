#include "Lateness.h"

#include <algorithm>
#include <cmath>

namespace {

struct Thread {
    std::uint64_t look = 0;      // the latest that no sleep has followed, or 0
    std::uint64_t decision = 0;  // the latest, or 0
    bool isProbe = false;        // waits for its decision plus the period; not so the engine's thread for time
};
thread_local Thread self;

}  // namespace

std::uint64_t LatenessClock::now100ns() {
    if (self.look != 0) {
        note(self.look);
    }
    self.look = m_real.now100ns();
    return self.look;
}

void LatenessClock::sleepMs(std::uint32_t milliseconds) {
    self.look = 0;
    m_real.sleepMs(milliseconds);
}

void LatenessClock::sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) {
    self.look = 0;
    self.isProbe = due100ns == self.decision + m_period100ns;
    m_real.sleepTowards(due100ns, milliseconds, wake);
}

void LatenessClock::note(std::uint64_t decision100ns) {
    const std::uint64_t due = self.decision + m_period100ns;
    if (self.isProbe && decision100ns >= due) {
        const std::uint64_t bucket = (decision100ns - due) / kBucket100ns;
        m_counts[std::min<std::uint64_t>(bucket, kBuckets - 1)].fetch_add(1, std::memory_order_relaxed);
        std::uint64_t worst = m_worst100ns;
        while (decision100ns - due > worst && !m_worst100ns.compare_exchange_weak(worst, decision100ns - due)) {
        }
    }
    self.decision = decision100ns;
}

void LatenessClock::restart() {
    for (std::atomic<std::uint32_t>& count : m_counts) {
        count = 0;
    }
    m_worst100ns = 0;
}

std::uint64_t LatenessClock::probes() const {
    std::uint64_t sum = 0;
    for (const std::atomic<std::uint32_t>& count : m_counts) {
        sum += count;
    }
    return sum;
}

double LatenessClock::quantileMs(double share) const {
    const std::uint64_t wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(probes())));
    std::uint64_t sum = 0;
    int bucket = 0;
    while (bucket < kBuckets - 1 && (sum += m_counts[bucket]) < wanted) {
        ++bucket;
    }
    return (bucket + 1) * static_cast<double>(kBucket100ns) / 10000;
}
