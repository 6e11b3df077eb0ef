#pragma once

#include <condition_variable>
#include <mutex>

#include "SPW_CClock.h"

// A clock that can be stopped: who asks for the local time, as the log's writer does for every line, then waits.
class StoppableClock : public SPW_CClock {
public:
    explicit StoppableClock(SPW_CClock& clock) : m_clock(clock) {}
    void stop(bool stopped) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_stopped = stopped;
        m_changed.notify_all();
    }
    void waitUntilSomebodyWaits() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isHeldUp; });
    }
    std::uint64_t now100ns() override { return m_clock.now100ns(); }
    std::uint64_t wall100ns() override { return m_clock.wall100ns(); }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isHeldUp = m_stopped;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_stopped; });
        m_isHeldUp = false;
        return m_clock.toLocal(wall100ns);
    }
    void sleepMs(std::uint32_t milliseconds) override { m_clock.sleepMs(milliseconds); }

private:
    SPW_CClock& m_clock;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopped = false;
    bool m_isHeldUp = false;
};
