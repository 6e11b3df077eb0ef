#include "Outages.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kWithin = 3 * kOneSecond100ns;

Stamp second(std::uint64_t count) {
    return {(1000 + count) * kOneSecond100ns, (50000 + count) * kOneSecond100ns};
}

PeerInsightValues valuesOf(const Outages& outages, const Stamp& now) {
    PeerInsightValues values;
    outages.fill(values, now);
    return values;
}

std::uint8_t bit(int protocol) {
    return static_cast<std::uint8_t>(1 << protocol);
}

TEST(OutagesTest, AnOutageLastsUntilItsKindIsBack) {
    Outages outages;
    EXPECT_TRUE(outages.begin(kUdp, second(10), kWithin));
    PeerInsightValues open = valuesOf(outages, second(15));
    ASSERT_EQ(open.outages, 1);
    EXPECT_FALSE(open.outage[0].isOver);
    EXPECT_EQ(open.outage[0].beganWall100ns, second(10).wall100ns);
    EXPECT_EQ(open.outage[0].endedWall100ns, 0u);
    EXPECT_EQ(open.outage[0].span100ns, 5 * kOneSecond100ns);
    EXPECT_EQ(open.outage[0].kinds, bit(kUdp));

    OutageValues ended;
    EXPECT_TRUE(outages.end(kUdp, second(30), 20, ended));
    EXPECT_TRUE(ended.isOver);
    EXPECT_EQ(ended.endedWall100ns, second(30).wall100ns);
    EXPECT_EQ(ended.span100ns, 20 * kOneSecond100ns);
    EXPECT_EQ(ended.missed, 20u);
    EXPECT_EQ(valuesOf(outages, second(99)).outage[0].span100ns, 20 * kOneSecond100ns);
}

TEST(OutagesTest, KindsThatFallSilentTogetherShareAnOutageWhichEndsWithTheLast) {
    Outages outages;
    EXPECT_TRUE(outages.begin(kUdp, second(10), kWithin));
    EXPECT_FALSE(outages.begin(kPing, second(12), kWithin));
    EXPECT_EQ(outages.kindsOf(kPing), bit(kUdp) | bit(kPing));
    OutageValues ended;
    EXPECT_FALSE(outages.end(kUdp, second(20), 9, ended));
    EXPECT_FALSE(valuesOf(outages, second(21)).outage[0].isOver);
    EXPECT_TRUE(outages.end(kPing, second(25), 12, ended));
    EXPECT_EQ(ended.missed, 21u);
    EXPECT_EQ(ended.span100ns, 15 * kOneSecond100ns);
    EXPECT_EQ(valuesOf(outages, second(30)).outagesInAll, 1u);
}

TEST(OutagesTest, AnOutageBeginsWithTheFirstOfItsKinds) {
    Outages outages;
    (void)outages.begin(kUdp, second(10), kWithin);
    (void)outages.begin(kPing, second(8), kWithin);
    EXPECT_EQ(valuesOf(outages, second(15)).outage[0].beganWall100ns, second(8).wall100ns);
    EXPECT_EQ(outages.beganOf(kUdp).monotonic100ns, second(8).monotonic100ns);
}

TEST(OutagesTest, AKindThatIsSilentForGoodDoesNotHideAnother) {
    Outages outages;
    EXPECT_TRUE(outages.begin(kTcpip, second(0), kWithin));
    EXPECT_TRUE(outages.begin(kUdp, second(100), kWithin));
    OutageValues ended;
    EXPECT_TRUE(outages.end(kUdp, second(110), 10, ended));
    EXPECT_EQ(ended.kinds, bit(kUdp));
    const PeerInsightValues values = valuesOf(outages, second(200));
    ASSERT_EQ(values.outages, 2);
    EXPECT_FALSE(values.outage[0].isOver);
    EXPECT_EQ(values.outage[0].span100ns, 200 * kOneSecond100ns);
    EXPECT_TRUE(values.outage[1].isOver);
}

TEST(OutagesTest, TheLastThirtyTwoAreKeptOldestFirst) {
    Outages outages;
    OutageValues ended;
    for (std::uint64_t i = 0; i < 40; ++i) {
        EXPECT_TRUE(outages.begin(kUdp, second(100 * i), kWithin));
        EXPECT_TRUE(outages.end(kUdp, second(100 * i + 10), static_cast<std::uint32_t>(i), ended));
    }
    const PeerInsightValues values = valuesOf(outages, second(9999));
    EXPECT_EQ(values.outagesInAll, 40u);
    ASSERT_EQ(values.outages, 32);
    EXPECT_EQ(values.outage[0].missed, 8u);
    EXPECT_EQ(values.outage[31].missed, 39u);
}

TEST(OutagesTest, AnOutageThatHasMadeRoomEndsWithoutAWord) {
    Outages outages;
    OutageValues ended;
    (void)outages.begin(kTcpip, second(0), kWithin);
    for (std::uint64_t i = 1; i <= 32; ++i) {
        (void)outages.begin(kUdp, second(100 * i), kWithin);
        (void)outages.end(kUdp, second(100 * i + 10), 1, ended);
    }
    EXPECT_FALSE(outages.end(kTcpip, second(9000), 5000, ended));
    const PeerInsightValues values = valuesOf(outages, second(9999));
    for (int i = 0; i < values.outages; ++i) {
        EXPECT_EQ(values.outage[i].missed, 1u);
    }
}

}  // namespace
