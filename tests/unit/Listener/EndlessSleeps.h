#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "ClockForwarder.h"
#include "Patience.h"
#include "SPW_Types.h"
#include "ScopedInstance.h"
#include "VTR_CEvent.h"

// The clock that there is, but that only a wake ends the sleep of a probe. Stands in for it as long as the object
// lives.
class EndlessSleeps : public ClockForwarder {
public:
    void sleepTowards(std::uint64_t, std::uint32_t, VTR_CEvent& wake) override {
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            ++m_sleeps;
            m_changed.notify_all();
        }
        EXPECT_EQ(wake.wait(kSPWForever), 0u);
    }
    // True when so many sleeps have begun.
    bool waitForSleeps(int count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_sleeps >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_sleeps = 0;
    const ScopedInstance<SPW_CClock> m_installed{*this};
};
