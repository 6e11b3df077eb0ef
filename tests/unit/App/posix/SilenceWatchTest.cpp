#include "SilenceWatch.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kSecond = 10000000;

class SilenceWatchTest : public testing::Test {
protected:
    SilenceWatchTest() {
        for (std::int32_t number = 1; number <= 2; ++number) {
            PeerRowValues row;
            row.number = number;
            row.summary.state = PeerState::kReachable;
            m_rows.append(row);
        }
    }
    void wasSilent(std::int32_t row, std::uint64_t span100ns) {
        InsightEvent event;
        event.type = InsightEvent::kPeerChanged;
        event.peerBefore = PeerState::kSilent;
        event.peerAfter = PeerState::kReachable;
        event.row = row;
        event.span100ns = span100ns;
        m_watch.take(event);
    }
    int countAt(std::uint64_t second) const { return m_watch.count(m_rows, second * kSecond); }

    SilenceWatch m_watch{5 * kSecond};
    SPW_CArray<PeerRowValues> m_rows;
};

TEST_F(SilenceWatchTest, ASilenceThatIsOverCountsIfItWasLongerThanAllowed) {
    wasSilent(1, 5 * kSecond);
    EXPECT_EQ(countAt(100), 0);
    wasSilent(1, 5 * kSecond + 1);
    wasSilent(1, 9 * kSecond);
    EXPECT_EQ(countAt(100), 1);
    wasSilent(2, 6 * kSecond);
    EXPECT_EQ(countAt(100), 2);
}

TEST_F(SilenceWatchTest, ASilenceThatLastsCountsFromTheTimeOnAtWhichItIsTooLong) {
    m_rows[1].summary.state = PeerState::kSilent;
    m_rows[1].summary.since.monotonic100ns = 100 * kSecond;
    EXPECT_EQ(countAt(105), 0);
    EXPECT_EQ(countAt(106), 1);
}

TEST_F(SilenceWatchTest, OtherChangesAndOtherTestsDoNotCount) {
    InsightEvent event;
    event.type = InsightEvent::kKindChanged;
    event.peerBefore = PeerState::kSilent;
    event.row = 1;
    event.span100ns = 60 * kSecond;
    m_watch.take(event);
    EXPECT_EQ(countAt(100), 0);
    wasSilent(1, 60 * kSecond);
    m_watch.clear();
    EXPECT_EQ(countAt(100), 0);
}

TEST_F(SilenceWatchTest, ARowThatIsGoneCountsNoMore) {
    wasSilent(1, 60 * kSecond);
    m_rows.removeElementAt(0);
    EXPECT_EQ(countAt(100), 0);
}

}  // namespace
