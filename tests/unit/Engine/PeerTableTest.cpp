#include "PeerTable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "StringPrinting.h"

namespace {

SPW_CString numbered(const char16_t* prefix, int number) {
    return SPW_CString(prefix) + number;
}

TEST(PeerTableTest, AnAddedPeerIsLabelledWithAddressAndName) {
    PeerTable table;
    table.addNamed(u"10.0.0.7", u"printer");
    EXPECT_EQ(table.at(0).address(), SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(table.at(0).values().label(), SPW_CString(u"10.0.0.7 (printer)"));
}

TEST(PeerTableTest, AnAddedPeerWithoutANameKeepsTheEmptyParentheses) {
    PeerTable table;
    table.addNamed(u"10.0.0.7", u"");
    EXPECT_EQ(table.at(0).values().label(), SPW_CString(u"10.0.0.7 ()"));
}

TEST(PeerTableTest, ADiscoveredPeerWithoutANameIsLabelledWithTheBareAddress) {
    PeerTable table;
    table.addDiscovered(u"10.0.0.7", u"");
    table.addDiscovered(u"10.0.0.8", u"pocket2");
    EXPECT_EQ(table.at(0).values().label(), SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(table.at(1).values().label(), SPW_CString(u"10.0.0.8 (pocket2)"));
}

TEST(PeerTableTest, AnUnknownAddressIsNotFound) {
    PeerTable table;
    EXPECT_EQ(table.find(u"10.0.0.7"), nullptr);
    table.addNamed(u"10.0.0.7", u"a");
    EXPECT_EQ(table.find(u"10.0.0.70"), nullptr);
    EXPECT_EQ(table.find(u""), nullptr);
}

TEST(PeerTableTest, AddressesAreComparedByTheirExactText) {
    PeerTable table;
    table.addNamed(u"010.0.0.7", u"a");
    table.addNamed(u"Host", u"b");
    EXPECT_EQ(table.find(u"10.0.0.7"), nullptr);
    EXPECT_EQ(table.find(u"host"), nullptr);
    EXPECT_EQ(table.find(u"Host"), &table.at(1));
}

TEST(PeerTableTest, OfTwoRowsWithOneAddressTheFirstIsFound) {
    PeerTable table;
    table.addNamed(u"10.0.0.7", u"first");
    table.addNamed(u"10.0.0.8", u"other");
    table.addNamed(u"10.0.0.7", u"second");
    EXPECT_EQ(table.size(), 3);
    EXPECT_EQ(table.find(u"10.0.0.7"), &table.at(0));
}

TEST(PeerTableTest, EveryOneOfManyRowsIsFoundAndStaysInItsPlace) {
    PeerTable table;
    const PeerRow* first = nullptr;
    for (int i = 0; i < 3000; ++i) {
        // Every address twice: the index must keep the first while it grows.
        table.addNamed(numbered(u"10.0.0.", i / 2), numbered(u"peer", i));
        first = i == 0 ? &table.at(0) : first;
    }
    EXPECT_EQ(&table.at(0), first);
    for (int i = 0; i < 1500; ++i) {
        ASSERT_EQ(table.find(numbered(u"10.0.0.", i)), &table.at(2 * i)) << i;
    }
    EXPECT_EQ(table.find(u"10.0.0.1500"), nullptr);
}

TEST(PeerTableTest, AnEmptiedTableFindsNothingAndFillsAgain) {
    PeerTable table;
    table.addNamed(u"10.0.0.7", u"a");
    table.addNamed(u"10.0.0.8", u"b");
    table.clear();
    EXPECT_EQ(table.size(), 0);
    EXPECT_EQ(table.find(u"10.0.0.7"), nullptr);
    table.addNamed(u"10.0.0.8", u"b");
    EXPECT_EQ(table.find(u"10.0.0.8"), &table.at(0));
    EXPECT_EQ(table.find(u"10.0.0.7"), nullptr);
}

TEST(PeerTableTest, RowsAreNumberedFromOneInTheOrderInWhichTheyAreMade) {
    PeerTable table;
    EXPECT_EQ(table.addNamed(u"10.0.0.7", u"a"), 1);
    EXPECT_EQ(table.addDiscovered(u"10.0.0.8", u""), 2);
    EXPECT_EQ(table.addNamed(u"10.0.0.7", u"a"), 3);
    for (int i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table.at(i).values().number, i + 1);
        EXPECT_EQ(table.numbered(i + 1), &table.at(i));
    }
}

TEST(PeerTableTest, ARowsNumberDoesNotComeAgain) {
    PeerTable table;
    table.addNamed(u"10.0.0.7", u"a");
    table.addNamed(u"10.0.0.8", u"b");
    table.clear();
    EXPECT_EQ(table.addNamed(u"10.0.0.7", u"a"), 3);
    EXPECT_EQ(table.numbered(3), &table.at(0));
}

TEST(PeerTableTest, ARowThatIsRemovedIsNotFoundAndTheOthersAre) {
    PeerTable table;
    for (int i = 0; i < 200; ++i) {
        table.addDiscovered(numbered(u"10.0.0.", i), u"");
    }
    for (int i = 0; i < 200; i += 3) {
        table.remove(i + 1);
    }
    for (int i = 0; i < 200; ++i) {
        const PeerRow* const row = table.find(numbered(u"10.0.0.", i));
        ASSERT_EQ(row, table.numbered(i + 1)) << i;
        ASSERT_EQ(row == nullptr, i % 3 == 0) << i;
    }
    EXPECT_EQ(table.size(), 133);
    EXPECT_EQ(table.discovered(), 133);
    EXPECT_EQ(table.addDiscovered(u"10.0.0.0", u""), 201);
    EXPECT_EQ(table.find(u"10.0.0.0"), table.numbered(201));
}

TEST(PeerTableTest, OfTwoRowsWithOneAddressTheSecondIsFoundWhenTheFirstIsGone) {
    PeerTable table;
    table.addDiscovered(u"10.0.0.7", u"");
    table.addNamed(u"10.0.0.7", u"printer");
    table.remove(1);
    EXPECT_EQ(table.find(u"10.0.0.7"), table.numbered(2));
}

TEST(PeerTableTest, AWalkByNumbersMeetsEveryRowThoughOthersGo) {
    PeerTable table;
    EXPECT_EQ(table.following(0), nullptr);
    for (int i = 0; i < 4; ++i) {
        table.addDiscovered(numbered(u"10.0.0.", i), u"");
    }
    EXPECT_EQ(table.following(0), table.numbered(1));
    table.remove(1);
    EXPECT_EQ(table.following(1), table.numbered(2));
    table.remove(3);
    EXPECT_EQ(table.following(2), table.numbered(4));
    EXPECT_EQ(table.following(4), nullptr);
}

TEST(PeerTableTest, TheLastMillionNumbersOfATestAreForNamedAndAddedPeers) {
    constexpr std::int32_t kLast = std::numeric_limits<std::int32_t>::max() - PeerTable::kKeptNumbers;
    PeerTable table(kLast);
    EXPECT_TRUE(table.hasNumberForDiscovered());
    EXPECT_EQ(table.addDiscovered(u"10.0.0.7", u""), kLast);
    EXPECT_FALSE(table.hasNumberForDiscovered());
    EXPECT_EQ(table.addNamed(u"10.0.0.8", u"added"), kLast + 1);
    table.remove(kLast);
    EXPECT_FALSE(table.hasNumberForDiscovered()) << "its number does not come again";
}

TEST(PeerTableTest, ATestThatFindsHalfOfTheNumbersUsedUpBeginsWithOneAgain) {
    constexpr std::int32_t kHalf = std::numeric_limits<std::int32_t>::max() / 2;
    PeerTable table(kHalf - 1);
    table.addNamed(u"10.0.0.7", u"a");
    table.clear();
    EXPECT_EQ(table.addNamed(u"10.0.0.7", u"a"), kHalf);
    table.clear();
    EXPECT_EQ(table.addNamed(u"10.0.0.7", u"a"), 1);
    EXPECT_EQ(table.find(u"10.0.0.7"), table.numbered(1));
}

// Three discovered peers between two others, each with its probes.
class DispensableRowTest : public testing::Test {
protected:
    DispensableRowTest() {
        m_table.addNamed(u"10.0.0.1", u"named");
        for (const char16_t* address : {u"10.0.0.2", u"10.0.0.3", u"10.0.0.4"}) {
            m_table.numbered(m_table.addDiscovered(address, u""))->setState(PeerRow::kProbed);
        }
        m_table.addNamed(u"10.0.0.5", u"named");
    }

    PeerTable m_table;
};

TEST_F(DispensableRowTest, ItIsTheOldestDiscoveredOneThatHasNeverAnswered) {
    EXPECT_EQ(m_table.discovered(), 3);
    EXPECT_EQ(m_table.dispensable(), m_table.numbered(2));
    m_table.numbered(2)->record(kPing, 1);
    EXPECT_EQ(m_table.dispensable(), m_table.numbered(3));
}

TEST_F(DispensableRowTest, AResetMakesNoAnswerForgotten) {
    m_table.numbered(2)->record(kUdp, 1);
    m_table.numbered(2)->reset();
    EXPECT_EQ(m_table.dispensable(), m_table.numbered(3));
}

TEST_F(DispensableRowTest, ItIsNoneWhoseProbesAreBeingMade) {
    m_table.numbered(2)->setState(PeerRow::kIncomplete);
    EXPECT_EQ(m_table.dispensable(), m_table.numbered(3));
}

TEST_F(DispensableRowTest, WhereAllHaveAnsweredItIsTheOldestThatRests) {
    for (int number = 2; number <= 4; ++number) {
        m_table.numbered(number)->record(kUdp, 1);
    }
    EXPECT_EQ(m_table.dispensable(), nullptr);
    m_table.numbered(3)->setState(PeerRow::kResting);
    m_table.numbered(4)->setState(PeerRow::kResting);
    EXPECT_EQ(m_table.dispensable(), m_table.numbered(3));
}

TEST_F(DispensableRowTest, TheirNumberIsKnownWithoutASearchWhateverHappensToARow) {
    EXPECT_EQ(m_table.dispensables(), 3);
    m_table.addDiscovered(u"10.0.0.6", u"");
    EXPECT_EQ(m_table.dispensables(), 3) << "its probes are being made";
    m_table.numbered(2)->record(kUdp, 1);
    m_table.numbered(2)->record(kUdp, 2);
    m_table.numbered(1)->record(kUdp, 1);
    EXPECT_EQ(m_table.dispensables(), 2) << "one has answered";
    PeerTable::Numbers rested;
    m_table.passSeconds(1, 1, rested);
    EXPECT_EQ(m_table.dispensables(), 3) << "all three rest";
    m_table.numbered(3)->record(kUdp, 1);
    EXPECT_EQ(m_table.dispensables(), 3) << "heard, and not yet taken up";
    m_table.numbered(3)->setState(PeerRow::kIncomplete);
    EXPECT_EQ(m_table.dispensables(), 2);
    m_table.numbered(3)->setState(PeerRow::kProbed);
    EXPECT_EQ(m_table.dispensables(), 2) << "it has answered";
    m_table.remove(4);
    EXPECT_EQ(m_table.dispensables(), 1);
    m_table.remove(3);
    EXPECT_EQ(m_table.dispensables(), 1);
    m_table.clear();
    EXPECT_EQ(m_table.dispensables(), 0);
}

TEST_F(DispensableRowTest, DiscoveredRowsRestAfterSoManySilentSecondsAndNoOthers) {
    PeerTable::Numbers rested;
    for (int second = 0; second < 9; ++second) {
        m_table.passSeconds(1, 10, rested);
    }
    EXPECT_EQ(rested.numberOfElements(), 0);
    m_table.numbered(3)->record(kUdp, 1);
    m_table.passSeconds(1, 10, rested);
    ASSERT_EQ(rested.numberOfElements(), 2);
    EXPECT_EQ(rested[0], 2);
    EXPECT_EQ(rested[1], 4);
    EXPECT_EQ(m_table.numbered(2)->state(), PeerRow::kResting);
    EXPECT_EQ(m_table.numbered(3)->state(), PeerRow::kProbed);
    EXPECT_EQ(m_table.numbered(1)->state(), PeerRow::kKept);
    m_table.passSeconds(1, 10, rested);
    EXPECT_EQ(rested.numberOfElements(), 2) << "each is told once";
}

TEST_F(DispensableRowTest, SecondsThatPassTogetherAreAsManyAsOneByOne) {
    PeerTable::Numbers rested;
    m_table.passSeconds(1, 10, rested);
    m_table.passSeconds(8, 10, rested);
    EXPECT_EQ(rested.numberOfElements(), 0);
    m_table.passSeconds(3, 10, rested);
    EXPECT_EQ(rested.numberOfElements(), 3);
}

TEST_F(DispensableRowTest, ARowThatWasHeardDoesNotRestHoweverManySecondsPassTogether) {
    PeerTable::Numbers rested;
    m_table.passSeconds(5, 10, rested);
    m_table.numbered(3)->record(kUdp, 1);
    m_table.passSeconds(100, 10, rested);
    EXPECT_EQ(rested.numberOfElements(), 2);
    EXPECT_EQ(m_table.numbered(3)->state(), PeerRow::kProbed);
    m_table.passSeconds(9, 10, rested);
    EXPECT_EQ(m_table.numbered(3)->state(), PeerRow::kResting);
}

TEST_F(DispensableRowTest, ForNoSecondsNoRowRests) {
    PeerTable::Numbers rested;
    for (int second = 0; second < 1000; ++second) {
        m_table.passSeconds(1, 0, rested);
    }
    EXPECT_EQ(rested.numberOfElements(), 0);
}

TEST(PeerRowTest, WithoutAnyProbeTheQualityIsZero) {
    EXPECT_EQ(PeerRow(1, u"10.0.0.7", u"", false).values().quality, 0);
}

TEST(PeerRowTest, TheQualityIsOverAllProtocolsTogether) {
    PeerRow row(1, u"10.0.0.7", u"", false);
    row.record(kMulticast, 1);
    row.record(kMulticast, 5);  // 5 expected, 3 lost
    row.record(kUdp, 1);
    row.record(kTcpip, 1);
    row.record(kTcpip, 2);
    row.record(kPing, 1);
    row.record(kPing, 2);  // 10 expected in all
    EXPECT_EQ(row.values().quality, 70);
}

TEST(PeerRowTest, TheQualityStaysAPercentageForTheGreatestCounts) {
    PeerRow row(1, u"10.0.0.7", u"", false);
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        row.record(protocol, 1);
        row.record(protocol, 2147483647);
    }
    row.record(kUdp, 2147483647);
    EXPECT_EQ(row.values().quality, 0);
}

TEST(PeerRowTest, TheQualityOfALongRunDoesNotWrap) {
    PeerRow row(1, u"10.0.0.7", u"", false);
    for (int i = 1; i <= 22000000; ++i) {  // 100 times that exceeds 31 bits
        row.record(kUdp, i);
    }
    EXPECT_EQ(row.values().quality, 100);
}

TEST(PeerRowTest, TheReportPairIsTotalAndTotalPlusLost) {
    PeerRow row(1, u"10.0.0.7", u"printer", true);
    row.record(kMulticast, 1);
    row.record(kMulticast, 2);
    row.record(kMulticast, 5);
    EXPECT_EQ(row.reportLine(),
              SPW_CString(u"S Name: 10.0.0.7 (printer)             Quality:  60% Multicast:     5 / 7     Tcpip:     0 "
                          u"/ 0     Udp:     0 / 0     Ping:     0 / 0    "));
}

TEST(PeerRowTest, TheReportHasTcpipBeforeUdp) {
    PeerRow row(1, u"10.0.0.7", u"", false);
    row.record(kUdp, 1);
    row.record(kUdp, 2);
    row.record(kTcpip, 1);
    row.record(kPing, 1);
    row.record(kPing, 2);
    row.record(kPing, 3);
    EXPECT_EQ(row.reportLine(),
              SPW_CString(u"S Name: 10.0.0.7                       Quality: 100% Multicast:     0 / 0     Tcpip:     1 "
                          u"/ 1     Udp:     2 / 2     Ping:     3 / 3    "));
}

TEST(PeerRowTest, TheReportCutsTheLabelAtThirtyCharacters) {
    const PeerRow row(1, u"192.168.100.100", u"a name that is too long", true);
    EXPECT_EQ(row.reportLine().left(47), SPW_CString(u"S Name: 192.168.100.100 (a name that i Quality:"));
}

TEST(PeerRowTest, APercentSignInTheLabelIsNoFormat) {
    const PeerRow row(1, u"10.0.0.7", u"%s%n", true);
    EXPECT_EQ(row.reportLine().left(38), SPW_CString(u"S Name: 10.0.0.7 (%s%n)               "));
}

TEST(PeerRowTest, ValuesAreReceivedTotalAndLostByProtocol) {
    PeerRow row(1, u"10.0.0.7", u"printer", true);
    row.record(kUdp, 1);
    row.record(kUdp, 4);
    row.record(kPing, 9);
    row.record(kMulticast, 3);
    row.record(kMulticast, 4);
    const PeerRowValues values = row.values();
    EXPECT_EQ(values.address, SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(values.name, SPW_CString(u"printer"));
    EXPECT_EQ(values.label(), SPW_CString(u"10.0.0.7 (printer)"));
    EXPECT_EQ(values.quality, 71);
    EXPECT_EQ(values.counts[kUdp].received, 2);
    EXPECT_EQ(values.counts[kUdp].total, 4);
    EXPECT_EQ(values.counts[kUdp].lost, 2);
    EXPECT_EQ(values.counts[kPing].received, 1);
    EXPECT_EQ(values.counts[kTcpip].total, 0);
    EXPECT_EQ(values.counts[kMulticast].received, 2);
    EXPECT_EQ(values.counts[kMulticast].total, 2);
    EXPECT_EQ(values.counts[kMulticast].lost, 0);
}

TEST(PeerRowTest, WhatTheNetworkWroteIsMadeShowable) {
    PeerTable table;
    table.addDiscovered(u"10.0.0.7", u"evil\r\n\u202Ename");
    const PeerRowValues values = table.at(0).values();
    EXPECT_EQ(values.name, SPW_CString(u"evil???name"));
    EXPECT_EQ(values.label(), SPW_CString(u"10.0.0.7 (evil???name)"));
}

TEST(PeerRowTest, TheKeyStaysAsItWasGiven) {
    PeerTable table;
    table.addNamed(u"host\x01", u"a");
    EXPECT_EQ(table.find(u"host\x01"), &table.at(0));
    EXPECT_EQ(table.at(0).values().address, SPW_CString(u"host?"));
}

TEST(PeerRowTest, ResetEmptiesEveryCounter) {
    PeerRow row(1, u"10.0.0.7", u"", false);
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        row.record(protocol, 1);
    }
    row.reset();
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        EXPECT_EQ(row.values().counts[protocol].total, 0);
    }
    EXPECT_EQ(row.values().quality, 0);
}

}  // namespace
