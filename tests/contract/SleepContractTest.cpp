// The contract of SPW_CClock::sleepTowards(): a platform may merge a sender's sleeps or not. Neither the sender nor the
// thread that stops it can tell which it does.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

#include "ClockForwarder.h"
#include "ProbeSchedule.h"
#include "SPW_CClock.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "VTR_CEvent.h"

namespace {

constexpr std::uint64_t kPerMs = ScriptedClock::k100nsPerMs;
constexpr std::uint64_t kHourMs = 3600 * 1000;

// What a platform makes of a sleep of 0 ms.
constexpr std::uint32_t lengthOf(std::uint32_t milliseconds) {
    return milliseconds == 0 ? 1 : milliseconds;
}

VTR_CEvent& createdEvent(VTR_CEvent& event) {
    EXPECT_EQ(event.create(false, false, nullptr), 0u);
    return event;
}

// --- In scripted time

// What happens in the midst of sleeps.
class DisturbedClock : public ScriptedClock {
public:
    // The wall clock is moved at the next sleep.
    void moveWallAtNextSleep(std::int64_t milliseconds) { m_moveMs = milliseconds; }
    // The device is suspended for that long in the middle of the next sleep. Only the wall clock moves meanwhile. The
    // other half of the sleep follows, unless the resumption ends it.
    void suspendInNextSleep(std::uint64_t milliseconds, bool endsSleep) {
        m_suspendMs = milliseconds;
        m_resumptionEndsSleep = endsSleep;
    }
    // The next sleep is ended as soon as it begins.
    void wakeNextSleep() { m_isWoken = true; }

    void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent&) override {
        setWall(wall100ns() + static_cast<std::uint64_t>(m_moveMs) * kPerMs);
        m_moveMs = 0;
        const std::uint64_t length = std::exchange(m_isWoken, false) ? 0 : lengthMs(due100ns, milliseconds);
        advanceMs(length / 2);
        setWall(wall100ns() + std::exchange(m_suspendMs, 0) * kPerMs);
        advanceMs(std::exchange(m_resumptionEndsSleep, false) ? 0 : length - length / 2);
    }

protected:
    virtual std::uint64_t lengthMs(std::uint64_t due100ns, std::uint32_t milliseconds) = 0;

private:
    std::int64_t m_moveMs = 0;
    bool m_isWoken = false;
    std::uint64_t m_suspendMs = 0;
    bool m_resumptionEndsSleep = false;
};

class ScriptedSteps : public DisturbedClock {
    std::uint64_t lengthMs(std::uint64_t, std::uint32_t milliseconds) override { return lengthOf(milliseconds); }
};

class ScriptedMerging : public DisturbedClock {
    std::uint64_t lengthMs(std::uint64_t due100ns, std::uint32_t) override { return (due100ns - now100ns()) / kPerMs; }
};

template <typename Clock>
class ScriptedSleepContractTest : public testing::Test {
protected:
    // Takes turns until a probe is due. Tells when.
    std::uint64_t nextSend(ProbeSchedule& schedule) {
        while (!schedule.isDue(true)) {
        }
        return clock.now100ns();
    }
    // One period from the last send, or up to a millisecond later: the shortest sleep may end so late.
    void expectNextAfter(std::int32_t periodMs, ProbeSchedule& schedule, std::uint64_t last) {
        const std::uint64_t gap = nextSend(schedule) - last;
        const std::uint64_t period = static_cast<std::uint64_t>(periodMs) * kPerMs;
        EXPECT_GE(gap, period) << periodMs;
        EXPECT_LT(gap, period + kPerMs) << periodMs;
    }

    Clock clock;
    VTR_CEvent wake;
};

typedef testing::Types<ScriptedSteps, ScriptedMerging> ScriptedKinds;
TYPED_TEST_SUITE(ScriptedSleepContractTest, ScriptedKinds);

TYPED_TEST(ScriptedSleepContractTest, NoProbeIsEarlyAndNoneIsLateByAMillisecond) {
    for (const std::int32_t periodMs : {1, 7, 25, 1000, 12345, 300000}) {
        ProbeSchedule schedule(periodMs, this->wake);
        std::uint64_t last = this->nextSend(schedule);
        for (int i = 0; i < 10; ++i) {
            this->expectNextAfter(periodMs, schedule, last);
            last = this->clock.now100ns();
        }
    }
}

TYPED_TEST(ScriptedSleepContractTest, LatenessIsNotMadeUp) {
    ProbeSchedule schedule(1000, this->wake);
    this->nextSend(schedule);
    this->clock.advanceMs(3700);
    const std::uint64_t late = this->clock.now100ns();
    EXPECT_EQ(this->nextSend(schedule), late);
    this->expectNextAfter(1000, schedule, late);
}

TYPED_TEST(ScriptedSleepContractTest, AWallClockThatJumpsDuringASleepMovesNoProbe) {
    const auto hour = static_cast<std::int64_t>(kHourMs);
    for (const std::int64_t jumpMs : {hour, -hour, 8 * hour}) {
        ProbeSchedule schedule(1000, this->wake);
        const std::uint64_t last = this->nextSend(schedule);
        this->clock.moveWallAtNextSleep(jumpMs);
        this->expectNextAfter(1000, schedule, last);
    }
}

TYPED_TEST(ScriptedSleepContractTest, TheRestOfAPeriodIsWaitedForAfterTheDeviceWasSuspended) {
    for (const bool endsSleep : {false, true}) {
        ProbeSchedule schedule(1000, this->wake);
        const std::uint64_t last = this->nextSend(schedule);
        const std::uint64_t lastOnTheWall = this->clock.wall100ns();
        this->clock.suspendInNextSleep(kHourMs, endsSleep);
        this->expectNextAfter(1000, schedule, last);
        EXPECT_EQ(this->clock.wall100ns() - lastOnTheWall, this->clock.now100ns() - last + kHourMs * kPerMs);
    }
}

TYPED_TEST(ScriptedSleepContractTest, ASleepThatIsEndedSendsNothingAndMovesNoProbe) {
    ProbeSchedule schedule(1000, this->wake);
    const std::uint64_t last = this->nextSend(schedule);
    this->clock.wakeNextSleep();
    EXPECT_FALSE(schedule.isDue(true));
    EXPECT_EQ(this->clock.now100ns(), last);
    this->expectNextAfter(1000, schedule, last);
}

// --- In real time

class RealClock : public ClockForwarder {
    const ScopedInstance<SPW_CClock> m_installed{*this};
};

// As the platform has it, whichever kind that is.
class PlatformsOwn : public RealClock {};

class Steps : public RealClock {
    void sleepTowards(std::uint64_t, std::uint32_t milliseconds, VTR_CEvent& wake) override {
        const std::uint64_t end = now100ns() + lengthOf(milliseconds) * kPerMs;
        while (now100ns() < end && wake.wait(lengthOf(milliseconds)) != 0) {
        }
    }
};

class Merging : public RealClock {
    void sleepTowards(std::uint64_t due100ns, std::uint32_t, VTR_CEvent& wake) override {
        for (std::uint64_t now = now100ns(); now < due100ns; now = now100ns()) {
            const std::uint64_t leftMs = (due100ns - now + kPerMs - 1) / kPerMs;
            if (wake.wait(static_cast<std::uint32_t>(leftMs)) == 0) {
                return;
            }
        }
    }
};

template <typename Clock>
class RealSleepContractTest : public testing::Test {
protected:
    void sleepTowards(std::uint64_t aheadMs, std::uint32_t milliseconds) {
        SPW_CClock& sleeper = clock;
        sleeper.sleepTowards(clock.now100ns() + aheadMs * kPerMs, milliseconds, wake);
    }

    Clock clock;
    VTR_CEvent created;
    VTR_CEvent& wake = createdEvent(created);
};

typedef testing::Types<PlatformsOwn, Steps, Merging> RealKinds;
TYPED_TEST_SUITE(RealSleepContractTest, RealKinds);

TYPED_TEST(RealSleepContractTest, ASleepLastsForItsTimeOrUntilItsEndIsDueAtLeast) {
    constexpr std::uint64_t kAheadMs = 40;
    for (const std::uint32_t milliseconds : {0u, 2u, 30u, 60u}) {
        const std::uint64_t begin = this->clock.now100ns();
        this->sleepTowards(kAheadMs, milliseconds);
        EXPECT_GE(this->clock.now100ns() - begin, std::min<std::uint64_t>(milliseconds, kAheadMs) * kPerMs);
    }
}

TYPED_TEST(RealSleepContractTest, NoProbeIsEarly) {
    constexpr std::int32_t kPeriodMs = 25;
    ProbeSchedule schedule(kPeriodMs, this->wake);
    // A decision lies between the moments before and after its call.
    std::uint64_t beforeLast = 0;
    for (int sends = 0; sends < 5;) {
        const std::uint64_t before = this->clock.now100ns();
        if (!schedule.isDue(true)) {
            continue;
        }
        if (sends++ > 0) {
            EXPECT_GE(this->clock.now100ns() - beforeLast, kPeriodMs * kPerMs);
        }
        beforeLast = before;
    }
}

TYPED_TEST(RealSleepContractTest, ASetEndsASleepAtOnce) {
    std::atomic<bool> isAwake{false};
    std::thread sleeper([&] {
        this->sleepTowards(10 * kHourMs, static_cast<std::uint32_t>(kHourMs));
        isAwake = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(isAwake);
    this->wake.set();
    sleeper.join();  // the time limit of the test is less than the sleep's
}

TYPED_TEST(RealSleepContractTest, ASetThatFindsNoSleepEndsTheNextOneAndNoOther) {
    this->wake.set();
    this->sleepTowards(10 * kHourMs, static_cast<std::uint32_t>(kHourMs));
    const std::uint64_t begin = this->clock.now100ns();
    this->sleepTowards(30, 30);
    EXPECT_GE(this->clock.now100ns() - begin, 30 * kPerMs);
}

}  // namespace
