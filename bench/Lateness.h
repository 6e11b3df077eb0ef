#pragma once

#include <atomic>
#include <cstdint>

#include "SPW_CClock.h"

// The clock of the program under test, which also notes how late each probe is.
//
// A probe thread's schedule looks at the clock and then either sleeps or decides to send. So a look that no sleep
// follows before the thread's next look was a decision, and what lies between two decisions of a thread beyond the
// period is the lateness of the second.
class LatenessClock final : public SPW_CClock {
public:
    LatenessClock(SPW_CClock& real, std::uint64_t periodMs) : m_real(real), m_period100ns(periodMs * 10000) {}

    std::uint64_t now100ns() override;
    std::uint64_t wall100ns() override { return m_real.wall100ns(); }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override { return m_real.toLocal(wall100ns); }
    void sleepMs(std::uint32_t milliseconds) override;
    void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) override;

    // Forgets what was noted so far.
    void restart();
    // The lateness in milliseconds that this share of the probes (0 to 1) did not exceed.
    double quantileMs(double share) const;
    std::uint64_t probes() const;
    // The greatest lateness in milliseconds.
    double worstMs() const { return static_cast<double>(m_worst100ns) / 10000; }

private:
    static constexpr std::uint64_t kBucket100ns = 500;
    static constexpr int kBuckets = 20000;  // up to a second

    void note(std::uint64_t decision100ns);

    SPW_CClock& m_real;
    const std::uint64_t m_period100ns;
    std::atomic<std::uint32_t> m_counts[kBuckets] = {};
    std::atomic<std::uint64_t> m_worst100ns{0};
};
