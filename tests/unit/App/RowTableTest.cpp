#include "RowTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StringPrinting.h"

namespace {

class RowTableTest : public testing::Test {
protected:
    RowPlace update(const char16_t* label, int protocol = kUdp, std::int32_t received = 1, std::int32_t total = 1,
                    int quality = 100) {
        return m_table.apply({label, columnOfProtocol(protocol), quality, received, total});
    }
    std::vector<std::string> column(int column) const {
        std::vector<std::string> texts;
        for (int i = 0; i < m_table.size(); ++i) {
            texts.emplace_back(m_table.cell(i, column).toAnsi());
        }
        return texts;
    }
    RowTable m_table;
};

using Texts = std::vector<std::string>;

TEST_F(RowTableTest, TheFirstRowStaysOnTopAndEachFurtherOneComesInJustBelowIt) {
    for (const char16_t* label : {u"a", u"b", u"c", u"d"}) {
        const RowPlace place = update(label);
        EXPECT_TRUE(place.isNew);
        EXPECT_EQ(place.index, m_table.size() == 1 ? 0 : 1);
    }
    EXPECT_EQ(column(kLabelColumn), (Texts{"a", "d", "c", "b"}));
}

TEST_F(RowTableTest, AKnownLabelChangesItsRowWhereItStands) {
    update(u"a");
    update(u"b");
    update(u"c");
    const RowPlace place = update(u"b", kPing, 3, 4, 75);
    EXPECT_FALSE(place.isNew);
    EXPECT_EQ(place.index, 2);
    EXPECT_EQ(column(kPingColumn), (Texts{"", "", "3/4"}));
    EXPECT_EQ(column(kQualityColumn), (Texts{"100", "100", "75"}));
}

TEST_F(RowTableTest, TwoPeersWithOneLabelShareOneRow) {
    update(u"10.0.0.7 (x)", kUdp, 1, 1);
    update(u"10.0.0.7 (x)", kUdp, 5, 9);
    EXPECT_EQ(column(kUdpColumn), Texts{"5/9"});
}

TEST_F(RowTableTest, ARowThatIsRemovedLeavesTheOthersInTheirOrder) {
    for (const char16_t* label : {u"a", u"b", u"c"}) {
        update(label);
    }
    EXPECT_EQ(m_table.remove(u"c"), 1);
    EXPECT_EQ(column(kLabelColumn), (Texts{"a", "b"}));
    EXPECT_EQ(m_table.remove(u"c"), RowTable::kNone);
    EXPECT_TRUE(update(u"c").isNew);
}

TEST_F(RowTableTest, OnlyTheWholeLabelInItsVerySpellingIsTheSameRow) {
    update(u"10.0.0.1");
    update(u"10.0.0.10");
    update(u"10.0.0.1 (A)");
    update(u"10.0.0.1 (a)");
    EXPECT_EQ(m_table.size(), 4);
}

TEST_F(RowTableTest, EachProtocolHasItsColumn) {
    update(u"a", kMulticast, 1, 10);
    update(u"a", kUdp, 2, 20);
    update(u"a", kTcpip, 3, 30);
    update(u"a", kPing, 4, 40, 99);
    const Texts expected{"a", "99", "1/10", "3/30", "2/20", "4/40"};
    for (int c = 0; c < kPeerColumns; ++c) {
        EXPECT_EQ(column(c), Texts{expected[static_cast<std::size_t>(c)]}) << c;
    }
}

TEST_F(RowTableTest, AfterEmptyingTheRowsComeBackAsTheyAreCounted) {
    update(u"a");
    update(u"b", kPing, 1, 2);
    m_table.clear();
    EXPECT_EQ(m_table.size(), 0);
    update(u"b", kUdp, 1, 1);
    EXPECT_EQ(column(kLabelColumn), Texts{"b"});
    EXPECT_EQ(column(kPingColumn), Texts{""});
}

TEST(PeerColumnsTest, HeadersAreThoseOfTheList) {
    const Texts expected{"IP-Address (name)",  "Quality (%)",      "Mcast (Recv/Total)",
                         "Tcpip (Recv/Total)", "Udp (Recv/Total)", "Ping (Ack/Sent)"};
    for (int c = 0; c < kPeerColumns; ++c) {
        EXPECT_EQ(SPW_CString(peerColumnHeader(c)).toAnsi(), expected[static_cast<std::size_t>(c)]);
    }
}

TEST(PeerColumnsTest, EachProtocolHasOneColumnAndEachColumnItsProtocol) {
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        EXPECT_EQ(protocolOfColumn(columnOfProtocol(protocol)), protocol);
    }
}

}  // namespace
