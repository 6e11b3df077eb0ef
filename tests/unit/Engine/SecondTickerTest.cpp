#include "SecondTicker.h"

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "Patience.h"
#include "ScriptedClock.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr std::uint64_t kMs = ScriptedClock::k100nsPerMs;

// Keeps the time of every call.
class RecordingListener : public SecondTicker::Listener {
public:
    void onSecond(std::uint64_t now100ns) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_calls.push_back(now100ns);
        m_changed.notify_all();
    }
    std::vector<std::uint64_t> calls() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_calls;
    }
    bool waitForCalls(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_calls.size() >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::uint64_t> m_calls;
};

// A ticker whose steps the test makes itself.
class SecondTickerTest : public testing::Test {
protected:
    class Driven : public SecondTicker {
    public:
        using SecondTicker::beginCounting;
        using SecondTicker::SecondTicker;
    };

    void SetUp() override { ticker.beginCounting(); }

    ScriptedClock clock;
    const std::uint64_t start = clock.now100ns();
    RecordingListener listener;
    Driven ticker{listener};
};

}  // namespace

TEST_F(SecondTickerTest, TheFirstCallComesASecondAfterTheStart) {
    clock.advanceMs(999);
    ticker.step();
    EXPECT_THAT(listener.calls(), IsEmpty());
    EXPECT_THAT(clock.sleeps(), ElementsAre(1u));
    ticker.step();
    EXPECT_THAT(listener.calls(), ElementsAre(start + 1000 * kMs));
}

TEST_F(SecondTickerTest, CallsKeepTheBeatOfTheStart) {
    clock.advanceMs(1200);
    ticker.step();
    ticker.step();
    EXPECT_THAT(clock.sleeps(), ElementsAre(800u));
    ticker.step();
    EXPECT_THAT(listener.calls(), ElementsAre(start + 1200 * kMs, start + 2000 * kMs));
}

TEST_F(SecondTickerTest, SecondsThatWereMissedAreNotMadeUp) {
    clock.advanceMs(10500);
    ticker.step();
    ticker.step();
    EXPECT_THAT(listener.calls(), ElementsAre(start + 10500 * kMs));
    EXPECT_THAT(clock.sleeps(), ElementsAre(500u));
}

TEST_F(SecondTickerTest, SettingTheDevicesTimeChangesNothing) {
    clock.setWall(ScriptedClock::kStart + 3600 * 1000 * kMs);
    ticker.step();
    EXPECT_THAT(listener.calls(), IsEmpty());
    EXPECT_THAT(clock.sleeps(), ElementsAre(1000u));
}

TEST(SecondTickerThreadTest, TheCallsComeOnTheTickersOwnThread) {
    const ScriptedClock clock;  // whose sleeps take no time
    RecordingListener listener;
    SecondTicker ticker(listener);
    ASSERT_TRUE(ticker.start());
    EXPECT_TRUE(listener.waitForCalls(3));
}

TEST(SecondTickerThreadTest, TheEndWaitsForNoSecond) {
    RecordingListener listener;
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 50; ++i) {
        SecondTicker ticker(listener);
        ASSERT_TRUE(ticker.start());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, kPatience);
    EXPECT_THAT(listener.calls(), SizeIs(testing::Lt(50u)));
}

TEST(SecondTickerThreadTest, OneThatWasNeverStartedMayEnd) {
    RecordingListener listener;
    { const SecondTicker ticker(listener); }
    EXPECT_THAT(listener.calls(), IsEmpty());
}
