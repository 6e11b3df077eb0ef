#include "InsightEvents.h"

#include <gtest/gtest.h>

namespace {

// Appends events that can be told apart by their rows, numbered from `row`.
void appendRows(InsightEvents& events, std::int32_t row, int count) {
    for (int i = 0; i < count; ++i) {
        InsightEvent event;
        event.row = row + i;
        events.append(event);
    }
}

TEST(InsightEventsTest, EventsAreNumberedFromOneInTheirOrder) {
    InsightEvents events;
    appendRows(events, 10, 3);
    SPW_CArray<InsightEvent> read;
    EXPECT_EQ(events.readAfter(0, read), 3u);
    ASSERT_EQ(read.numberOfElements(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(read[i].number, static_cast<std::uint32_t>(i + 1));
        EXPECT_EQ(read[i].row, 10 + i);
    }
}

TEST(InsightEventsTest, ReadingGoesOnWhereItEnded) {
    InsightEvents events;
    SPW_CArray<InsightEvent> read;
    EXPECT_EQ(events.readAfter(0, read), 0u);
    appendRows(events, 1, 2);
    const std::uint32_t reached = events.readAfter(0, read);
    EXPECT_EQ(events.readAfter(reached, read), reached);
    EXPECT_EQ(read.numberOfElements(), 0);
    appendRows(events, 3, 1);
    EXPECT_EQ(events.readAfter(reached, read), 3u);
    ASSERT_EQ(read.numberOfElements(), 1);
    EXPECT_EQ(read[0].row, 3);
}

TEST(InsightEventsTest, TheLatestThousandAreKept) {
    InsightEvents events;
    appendRows(events, 1, 2500);
    SPW_CArray<InsightEvent> read;
    EXPECT_EQ(events.readAfter(0, read), 2500u);
    ASSERT_EQ(read.numberOfElements(), 1000);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(read[i].number, static_cast<std::uint32_t>(1501 + i));
        EXPECT_EQ(read[i].row, 1501 + i);
    }
    EXPECT_EQ(events.readAfter(2499, read), 2500u);
    EXPECT_EQ(read.numberOfElements(), 1);
}

TEST(InsightEventsTest, NumbersGoOnAfterAClear) {
    InsightEvents events;
    appendRows(events, 1, 1400);
    events.clear();
    SPW_CArray<InsightEvent> read;
    EXPECT_EQ(events.readAfter(3, read), 1400u);
    EXPECT_EQ(read.numberOfElements(), 0);
    appendRows(events, 7, 1);
    EXPECT_EQ(events.readAfter(0, read), 1401u);
    ASSERT_EQ(read.numberOfElements(), 1);
    EXPECT_EQ(read[0].number, 1401u);
    EXPECT_EQ(read[0].row, 7);
}

}  // namespace
