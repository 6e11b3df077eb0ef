#include "SPW_CThreadSlot.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

TEST(ThreadSlotTest, EveryThreadSeesItsOwnNumber) {
    SPW_CThreadSlot slot;
    EXPECT_EQ(slot.get(), 0);
    slot.set(-7);
    std::intptr_t otherAtFirst = 1;
    std::intptr_t otherAfterwards = 0;
    std::thread([&] {
        otherAtFirst = slot.get();
        slot.set(9);
        otherAfterwards = slot.get();
    }).join();
    EXPECT_EQ(otherAtFirst, 0);
    EXPECT_EQ(otherAfterwards, 9);
    EXPECT_EQ(slot.get(), -7);
}

TEST(ThreadSlotTest, SlotsAreIndependent) {
    SPW_CThreadSlot first;
    SPW_CThreadSlot second;
    first.set(1);
    EXPECT_EQ(second.get(), 0);
    second.set(2);
    EXPECT_EQ(first.get(), 1);
}

TEST(ThreadSlotTest, DestroyedSlotGivesItsPlaceBackEmpty) {
    for (int i = 0; i < 5000; ++i) {
        SPW_CThreadSlot slot;
        ASSERT_EQ(slot.get(), 0);
        slot.set(1);
        ASSERT_EQ(slot.get(), 1);
    }
}

TEST(ThreadSlotTest, SlotBeyondThePlatformsLimitAnswersZero) {
    std::vector<std::unique_ptr<SPW_CThreadSlot>> slots;
    for (int i = 0; i < 5000; ++i) {
        slots.push_back(std::make_unique<SPW_CThreadSlot>());
    }
    slots.back()->set(5);
    EXPECT_EQ(slots.back()->get(), 0);
}

}  // namespace
