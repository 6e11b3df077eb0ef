#pragma once

#include "SPW_CClock.h"

// Hands every call on to another clock. A test derives from it and overrides the one call that it wants to be
// different: a sleep that only a wake ends, a reading that waits.
class ClockForwarder : public SPW_CClock {
public:
    explicit ClockForwarder(SPW_CClock& target = *SPW_CClock::instance) : m_target(target) {}

    std::uint64_t now100ns() override { return m_target.now100ns(); }
    std::uint64_t wall100ns() override { return m_target.wall100ns(); }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override { return m_target.toLocal(wall100ns); }
    void sleepMs(std::uint32_t milliseconds) override { m_target.sleepMs(milliseconds); }
    void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) override {
        m_target.sleepTowards(due100ns, milliseconds, wake);
    }

private:
    SPW_CClock& m_target;
};
