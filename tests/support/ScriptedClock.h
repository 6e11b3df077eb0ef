#pragma once

#include <mutex>
#include <vector>

#include "SPW_CClock.h"
#include "ScopedInstance.h"

// A clock that moves only when the test says so, or when somebody sleeps. Stands in for the process's clock as long
// as the object lives. Any thread may use it.
//
// The two readings lie far apart: a mix-up of the two then fails a test. advanceMs and sleeps move both,
// setWall moves the wall clock alone, as setting the device's time does. The local time zone is UTC plus
// setZoneMinutes.
class ScriptedClock : public SPW_CClock {
public:
    static constexpr std::uint64_t k100nsPerMs = 10000;
    static constexpr std::uint64_t kStart = 127017148290000000;  // 3 July 2003, 14:07:09

    // How far the reading for schedules is ahead: a year.
    static constexpr std::uint64_t kReadingsApart = std::uint64_t{365} * 24 * 3600 * 1000 * k100nsPerMs;

    // wallStart100ns: where the wall clock starts.
    explicit ScriptedClock(std::uint64_t wallStart100ns = kStart)
        : m_now(wallStart100ns + kReadingsApart), m_wall(wallStart100ns), m_installed(*this) {}

    std::uint64_t now100ns() override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_now;
    }
    std::uint64_t wall100ns() override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_wall;
    }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return toUtc(wall100ns + static_cast<std::uint64_t>(m_zoneMinutes * 60'000 * std::int64_t{k100nsPerMs}));
    }
    // Does not block: the clock is that much later at once.
    void sleepMs(std::uint32_t milliseconds) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_sleeps.push_back(milliseconds);
        advance(milliseconds);
    }
    // Merges nothing. What does not block need not be woken.
    void sleepTowards(std::uint64_t, std::uint32_t milliseconds, VTR_CEvent&) override { sleepMs(milliseconds); }

    void advanceMs(std::uint64_t milliseconds) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        advance(milliseconds);
    }
    void setWall(std::uint64_t count100ns) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_wall = count100ns;
    }
    // Sets the wall clock to a calendar time (UTC).
    void setWall(const SPW_CalendarTime& time) { setWall(fromUtc(time)); }
    void setZoneMinutes(int minutesEastOfUtc) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_zoneMinutes = minutesEastOfUtc;
    }
    // Every sleep so far, in milliseconds.
    std::vector<std::uint32_t> sleeps() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_sleeps;
    }

private:
    void advance(std::uint64_t milliseconds) {
        m_now += milliseconds * k100nsPerMs;
        m_wall += milliseconds * k100nsPerMs;
    }

    std::mutex m_mutex;
    std::uint64_t m_now;
    std::uint64_t m_wall;
    std::int64_t m_zoneMinutes = 0;
    std::vector<std::uint32_t> m_sleeps;
    const ScopedInstance<SPW_CClock> m_installed;
};
