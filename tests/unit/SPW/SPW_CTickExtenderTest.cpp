#include "SPW_CTickExtender.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr std::uint64_t kTurn = std::uint64_t{1} << 32;

std::uint64_t at(SPW_CTickExtender& extender, std::uint32_t tick) {
    return extender.now([tick] { return tick; });
}

TEST(TickExtenderTest, CountsOnOverTheTurn) {
    SPW_CTickExtender extender;
    EXPECT_EQ(at(extender, 5), 5u);
    EXPECT_EQ(at(extender, 0x7FFFFFFF), 0x7FFFFFFFu);
    EXPECT_EQ(at(extender, 0x80000000), 0x80000000u);
    EXPECT_EQ(at(extender, 0xFFFFFFFF), 0xFFFFFFFFu);
    EXPECT_EQ(at(extender, 0), kTurn);
    EXPECT_EQ(at(extender, 0x90000000), kTurn + 0x90000000u);
    EXPECT_EQ(at(extender, 7), 2 * kTurn + 7);
}

TEST(TickExtenderTest, StartsInEitherHalfOfATurn) {
    SPW_CTickExtender extender;
    EXPECT_EQ(at(extender, 0xFFFFFFF0), 0xFFFFFFF0u);
    EXPECT_EQ(at(extender, 3), kTurn + 3);
}

// The threads meet where a half turn ends, and the tick does not get far from there: a thread may be out of turn for
// any time between its two looks, and half a turn is what it may miss meanwhile.
TEST(TickExtenderTest, NoThreadSeesItGoBack) {
    constexpr std::uint64_t kHalfTurn = kTurn / 2;
    constexpr int kThreads = 4;
    constexpr int kReads = 500;
    SPW_CTickExtender extender;
    std::atomic<std::uint32_t> tick{0};
    for (std::uint64_t end = kHalfTurn; end <= 40 * kHalfTurn; end += kHalfTurn) {
        tick = static_cast<std::uint32_t>(end - kThreads * kReads / 2);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                std::uint64_t before = 0;
                for (int n = 0; n < kReads; ++n) {
                    const std::uint64_t now = extender.now([&] {
                        const std::uint32_t read = tick.fetch_add(1);
                        std::this_thread::yield();  // others come in between
                        return read;
                    });
                    EXPECT_GE(now, before);
                    before = now;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(extender.now([&] { return tick.load(); }), end + kThreads * kReads / 2);
    }
}

}  // namespace
