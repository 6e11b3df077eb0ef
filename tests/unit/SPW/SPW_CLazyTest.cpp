#include "SPW_CLazy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

std::atomic<int> alive{0};

struct Counted {
    Counted() { ++alive; }
    ~Counted() { --alive; }
};

TEST(LazyTest, ObjectIsMadeWhenItIsFirstAskedForAndGoesWithItsHolder) {
    {
        SPW_CLazy<Counted> lazy;
        EXPECT_EQ(alive, 0);
        const Counted* first = &lazy.get();
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(&lazy.get(), first);
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(LazyTest, ThreadsThatAskAtOnceGetTheSameObject) {
    SPW_CLazy<Counted> lazy;
    std::atomic<bool> go{false};
    std::vector<const Counted*> answers(8);
    std::vector<std::thread> threads;
    for (const Counted*& answer : answers) {
        threads.emplace_back([&] {
            while (!go) {
                std::this_thread::yield();
            }
            answer = &lazy.get();
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Counted* answer : answers) {
        EXPECT_EQ(answer, answers[0]);
    }
    EXPECT_EQ(alive, 1);
}

}  // namespace
