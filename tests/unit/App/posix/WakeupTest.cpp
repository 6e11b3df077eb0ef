#include "Wakeup.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <thread>

namespace {

bool isReadable(const Wakeup& wakeup) {
    pollfd source = {wakeup.descriptor(), POLLIN, 0};
    return poll(&source, 1, 0) > 0;
}

TEST(WakeupTest, SeveralCallsCountAsOneUntilTheyAreCleared) {
    Wakeup wakeup;
    EXPECT_FALSE(wakeup.isSet());
    EXPECT_FALSE(isReadable(wakeup));
    wakeup.wake();
    wakeup.wake();
    EXPECT_TRUE(wakeup.isSet());
    EXPECT_TRUE(isReadable(wakeup));
    wakeup.clear();
    EXPECT_FALSE(wakeup.isSet());
    EXPECT_FALSE(isReadable(wakeup));
}

// A thread that looks for the mark would otherwise find none, clear nothing and never sleep again.
TEST(WakeupTest, AClearDuringACallLeavesNoDescriptorThatIsReadableWithoutItsMark) {
    constexpr int kRounds = 10000;
    Wakeup wakeup;
    std::atomic<int> round{0};
    std::thread waker([&] {
        for (int next = 1; next <= kRounds; ++next) {
            while (round.load() != next) {
                std::this_thread::yield();
            }
            wakeup.wake();
            round.store(-next);
        }
    });
    int marksMissing = 0;
    for (int next = 1; next <= kRounds; ++next) {
        round.store(next);
        while (round.load() != -next) {
            if (wakeup.isSet()) {
                wakeup.clear();
            }
            std::this_thread::yield();
        }
        marksMissing += isReadable(wakeup) && !wakeup.isSet() ? 1 : 0;
        wakeup.clear();
    }
    waker.join();
    EXPECT_EQ(marksMissing, 0);
}

}  // namespace
