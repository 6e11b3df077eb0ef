#include "ParallelWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

TEST(ParallelWorkTest, EveryPieceIsDoneOnce) {
    for (const int count : {0, 1, 2, 100, 1500}) {
        std::vector<std::atomic<int>> done(static_cast<std::size_t>(count));
        doInParallel(count, [&](int i) { ++done[static_cast<std::size_t>(i)]; });
        for (const std::atomic<int>& times : done) {
            EXPECT_EQ(times, 1) << count;
        }
    }
}

TEST(ParallelWorkTest, OnePieceIsDoneOnTheCallersThread) {
    std::thread::id worker;
    doInParallel(1, [&](int) { worker = std::this_thread::get_id(); });
    EXPECT_EQ(worker, std::this_thread::get_id());
}

TEST(ParallelWorkTest, PiecesThatWaitWaitTogether) {
    // Each waits until all have begun: done one after another, the first would never end.
    constexpr int kPieces = 100;
    std::atomic<int> begun{0};
    doInParallel(kPieces, [&](int) {
        ++begun;
        while (begun < kPieces) {
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(begun, kPieces);
}

}  // namespace
