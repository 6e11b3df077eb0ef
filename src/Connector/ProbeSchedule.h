#pragma once

#include <cstdint>

class VTR_CEvent;

// When a probe object sends next: once per period, measured from the previous decision to send. Lateness is not
// made up: a device that was asleep sends one probe when it wakes, not a burst.
//
// Belongs to the thread of its probe object.
class ProbeSchedule {
public:
    // Sleep of a step that finds its object switched off, or the next probe 10 s or more away.
    static constexpr std::uint32_t kIdleSleepMs = 1000;

    // periodMs: milliseconds between probes; 0 or less sends at every step. wake: ends a sleep of isDue() at once when
    // another thread sets it; see SPW_CClock::sleepTowards(). It outlives the schedule.
    ProbeSchedule(std::int32_t periodMs, VTR_CEvent& wake) : m_periodMs(periodMs), m_wake(wake) {}

    // One turn of the probe object's step. True: a probe is due, and counts as sent now. False: none is due, or the
    // object is not running; the call has slept for a part of the time left, or all of it.
    bool isDue(bool running);

    std::int32_t periodMs() const { return m_periodMs; }
    // When the latest probe was due, as SPW_CClock::now100ns() counts; 0 before the first one.
    std::uint64_t latest100ns() const { return m_lastSendTime100ns; }

private:
    std::int64_t due100ns() const;
    std::int32_t remaining100ns(std::uint64_t now100ns) const;
    static std::uint32_t sleepForMs(std::int32_t remaining100ns);

    const std::int32_t m_periodMs;
    VTR_CEvent& m_wake;
    std::uint64_t m_lastSendTime100ns = 0;
};
