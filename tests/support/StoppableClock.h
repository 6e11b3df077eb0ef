#pragma once

#include <condition_variable>
#include <mutex>

#include "ClockForwarder.h"

// A clock that can be stopped. A thread that asks a stopped one for the local time waits. The log's writer asks for
// every line.
class StoppableClock : public ClockForwarder {
public:
    using ClockForwarder::ClockForwarder;
    void stop(bool stopped) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_stopped = stopped;
        m_changed.notify_all();
    }
    void waitUntilSomebodyWaits() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isHeldUp; });
    }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isHeldUp = m_stopped;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_stopped; });
        m_isHeldUp = false;
        return ClockForwarder::toLocal(wall100ns);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopped = false;
    bool m_isHeldUp = false;
};
