#include "SPW_CCriticalSection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "OtherThreads.h"

namespace {

TEST(CriticalSectionTest, GuardedCountLosesNothing) {
    SPW_CCriticalSection section;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 5000; ++j) {
                const SPW_CGuard guard(section);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 20000);
}

TEST(CriticalSectionTest, SecondThreadEntersWhenTheFirstHasLeft) {
    SPW_CCriticalSection section;
    std::atomic<bool> inside{false};
    section.enter();
    std::thread second([&] {
        section.enter();
        inside = true;
        section.leave();
    });
    awaitOthersAsleep();
    EXPECT_FALSE(inside);
    section.leave();
    second.join();
    EXPECT_TRUE(inside);
}

}  // namespace
