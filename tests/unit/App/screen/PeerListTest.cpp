#include "PeerList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "LabelledRows.h"
#include "PeerColumns.h"
#include "PeerListView.h"
#include "RowState.h"
#include "StringPrinting.h"

namespace {

class PeerListTest : public testing::Test {
protected:
    bool update(const char16_t* label, int quality = 100, int protocol = kUdp, std::int32_t received = 1,
                std::int32_t total = 1) {
        return m_list.apply(m_rows.change(label, quality, protocol, received, total));
    }
    std::vector<std::string> labels() {
        m_list.sort();
        std::vector<std::string> texts;
        for (int i = 0; i < m_list.size(); ++i) {
            texts.emplace_back(m_list.cell(i, kLabelColumn).toAnsi());
        }
        return texts;
    }
    std::string chosen() {
        return m_list.selected() < 0 ? "none" : m_list.cell(m_list.selected(), kLabelColumn).toAnsi();
    }
    void enter(const char16_t* label, PeerState state, std::uint64_t sinceMs = 0) {
        m_list.apply(m_rows.inState(label, state, sinceMs));
    }
    LabelledRows m_rows;
    PeerList m_list;
};

using Texts = std::vector<std::string>;

TEST_F(PeerListTest, UnsortedItIsInTheOrderOfTheDialog) {
    EXPECT_TRUE(update(u"a"));
    EXPECT_TRUE(update(u"b"));
    EXPECT_TRUE(update(u"c"));
    EXPECT_FALSE(update(u"b"));
    EXPECT_EQ(labels(), (Texts{"a", "c", "b"}));
}

TEST_F(PeerListTest, TwoPeersWithOneLabelHaveARowEach) {
    update(u"a", 90, kUdp, 9, 10);
    RowChange other = m_rows.change(u"b", 50, kUdp, 1, 2);
    other.row.address = u"a";
    EXPECT_TRUE(m_list.apply(other));
    EXPECT_EQ(labels(), (Texts{"a", "a"}));
    EXPECT_EQ(m_list.cell(0, kUdpColumn), u"9/10");
    EXPECT_EQ(m_list.cell(1, kUdpColumn), u"1/2");
}

TEST_F(PeerListTest, ACellIsBlankUntilItsProtocolWasTold) {
    update(u"a", 75, kPing, 3, 4);
    EXPECT_EQ(m_list.cell(0, kPingColumn), u"3/4");
    EXPECT_EQ(m_list.cell(0, kQualityColumn), u"75");
    EXPECT_EQ(m_list.values(0).quality, 75);
    EXPECT_EQ(m_list.cell(0, kUdpColumn), u"");
    update(u"a", 75, kUdp, 0, 0);
    EXPECT_EQ(m_list.cell(0, kUdpColumn), u"0/0");
    EXPECT_EQ(m_list.cell(0, kPingColumn), u"3/4");
}

TEST_F(PeerListTest, LabelsAreSortedByTheNumbersOfTheirAddresses) {
    for (const char16_t* label : {u"10.0.0.10", u"10.0.0.9 (x)", u"9.0.0.1", u"10.0.0.9 (a)", u"printer"}) {
        update(label);
    }
    m_list.sortBy(kLabelColumn);
    EXPECT_EQ(labels(), (Texts{"9.0.0.1", "10.0.0.9 (a)", "10.0.0.9 (x)", "10.0.0.10", "printer"}));
}

// As a text 10.0.0.5x stands between 10.0.0.10 and 10.0.0.9. By their numbers those two are in the other order. If
// texts were sorted among addresses, the three would form a circle.
TEST_F(PeerListTest, LabelsWithoutAnAddressFollowThoseWithOneInWhateverOrderTheyCame) {
    Texts texts = {"10.0.0.10", "10.0.0.9", "10.0.0.5x", "1", "printer", "9.0.0.1"};
    std::sort(texts.begin(), texts.end());
    do {
        m_list.clear();
        for (const std::string& text : texts) {
            update(SPW_CString(text.c_str()).text());
        }
        m_list.sortBy(kLabelColumn);
        ASSERT_EQ(labels(), (Texts{"9.0.0.1", "10.0.0.9", "10.0.0.10", "1", "10.0.0.5x", "printer"}));
    } while (std::next_permutation(texts.begin(), texts.end()));
}

TEST_F(PeerListTest, FiguresAreSortedByTheWorstFirst) {
    update(u"good", 100, kPing, 9, 9);
    update(u"bad", 10, kPing, 1, 10);
    update(u"poor", 50, kPing, 5, 10);
    m_list.sortBy(kQualityColumn);
    EXPECT_EQ(labels(), (Texts{"bad", "poor", "good"}));
    m_list.sortBy(kPingColumn);
    EXPECT_EQ(labels(), (Texts{"bad", "poor", "good"}));
    update(u"good", 20, kPing, 20, 100);
    EXPECT_EQ(labels(), (Texts{"good", "bad", "poor"}));
    m_list.sortBy(PeerList::kUnsorted);
    EXPECT_EQ(labels(), (Texts{"good", "poor", "bad"}));
}

TEST_F(PeerListTest, StatesAreSortedByTheWorstFirst) {
    update(u"none");
    enter(u"well", PeerState::kReachable);
    enter(u"poor", PeerState::kDegraded);
    enter(u"awaited", PeerState::kWaiting);
    enter(u"gone", PeerState::kSilent);
    enter(u"half", PeerState::kPartial);
    m_list.sortBy(PeerList::kByState);
    EXPECT_EQ(labels(), (Texts{"gone", "half", "poor", "awaited", "well", "none"}));
}

TEST_F(PeerListTest, RoundTripTimesAreSortedByTheLongestFirstAndNoneLast) {
    m_list.apply(m_rows.answered(u"near", 300, 40));
    update(u"mute");
    m_list.apply(m_rows.answered(u"far", 80000, 1300));
    m_list.sortBy(kRoundTripColumn);
    EXPECT_EQ(labels(), (Texts{"far", "near", "mute"}));
    EXPECT_EQ(m_list.cell(0, kRoundTripColumn), u"80 ms (1.3 ms)");
    EXPECT_EQ(m_list.cell(1, kRoundTripColumn), u"0.30 ms (0.04 ms)");
    EXPECT_EQ(m_list.cell(2, kRoundTripColumn), u"");
}

TEST_F(PeerListTest, AStateThatNeedsToBeLookedAtIsSaidWithItsAge) {
    enter(u"gone", PeerState::kSilent, 2000);
    m_list.setNow(20 * 10000000ULL);
    EXPECT_EQ(m_list.stateText(0), u"silent 0:18");
    enter(u"gone", PeerState::kReachable, 2000);
    EXPECT_EQ(m_list.stateText(0), u"");
    enter(u"gone", PeerState::kPartial, 21000);
    EXPECT_EQ(m_list.stateText(0), u"partial 0:00") << "it was found before the screen looked at its clock";
}

TEST_F(PeerListTest, FilteredItHasOnlyWhatIsNotWell) {
    for (const char16_t* label : {u"a", u"b", u"c", u"d"}) {
        update(label);
    }
    enter(u"c", PeerState::kSilent);
    update(u"d", 50);
    m_list.filter(true);
    EXPECT_EQ(labels(), (Texts{"d", "c"}));
    EXPECT_EQ(chosen(), "d") << "the one chosen before is well";
    EXPECT_EQ(m_list.sizeUnfiltered(), 4);
    enter(u"b", PeerState::kDegraded);
    EXPECT_EQ(labels(), (Texts{"d", "c", "b"}));
    m_list.filter(false);
    EXPECT_EQ(labels(), (Texts{"a", "d", "c", "b"}));
    EXPECT_EQ(chosen(), "d");
}

TEST_F(PeerListTest, AChosenRowThatGetsWellStaysUntilAnotherIsChosen) {
    for (const char16_t* label : {u"a", u"b"}) {
        update(label);
        enter(label, PeerState::kSilent);
    }
    m_list.filter(true);
    enter(u"a", PeerState::kReachable);
    EXPECT_EQ(labels(), (Texts{"a", "b"}));
    EXPECT_EQ(chosen(), "a");
    m_list.select(1);
    EXPECT_EQ(labels(), (Texts{"b"}));
    EXPECT_EQ(chosen(), "b");
}

TEST_F(PeerListTest, AFilterThatLeavesNothingIsNoHarm) {
    update(u"a");
    m_list.filter(true);
    EXPECT_EQ(labels(), Texts{});
    EXPECT_EQ(chosen(), "none");
    update(u"b", 0);
    EXPECT_EQ(labels(), (Texts{"b"}));
    EXPECT_EQ(chosen(), "b");
    m_list.apply(m_rows.gone(u"a"));
    EXPECT_EQ(labels(), (Texts{"b"}));
    m_list.apply(m_rows.gone(u"b"));
    EXPECT_EQ(chosen(), "none");
}

TEST_F(PeerListTest, TheChosenRowIsKeptWhileOthersComeInAndChangePlaces) {
    EXPECT_EQ(chosen(), "none");
    m_list.select(3);
    EXPECT_EQ(chosen(), "none");
    update(u"a", 100);
    EXPECT_EQ(chosen(), "a");
    update(u"b", 50);
    m_list.select(1);
    EXPECT_EQ(chosen(), "b");
    update(u"c", 10);
    EXPECT_EQ(chosen(), "b");
    EXPECT_EQ(m_list.selected(), 2);
    m_list.sortBy(kQualityColumn);
    EXPECT_EQ(chosen(), "b");
    EXPECT_EQ(m_list.selected(), 1);
}

TEST_F(PeerListTest, ARowThatIsGivenUpGoesAndTheOthersKeepTheirFigures) {
    for (const char16_t* label : {u"a", u"b", u"c", u"d"}) {
        update(label);
    }
    EXPECT_FALSE(m_list.apply(m_rows.gone(u"b")));
    EXPECT_EQ(labels(), (Texts{"a", "d", "c"}));
    EXPECT_FALSE(update(u"c", 50, kUdp, 1, 2));
    EXPECT_EQ(m_list.cell(2, kUdpColumn), u"1/2");
    EXPECT_FALSE(m_list.apply(m_rows.gone(u"b"))) << "it is gone already";
    EXPECT_EQ(m_list.size(), 3);
}

TEST_F(PeerListTest, WhenTheChosenRowGoesTheOneInItsPlaceIsChosen) {
    for (const char16_t* label : {u"a", u"b", u"c", u"d"}) {
        update(label);
    }
    m_list.select(1);
    EXPECT_EQ(chosen(), "d");
    m_list.apply(m_rows.gone(u"d"));
    EXPECT_EQ(chosen(), "c");
    m_list.apply(m_rows.gone(u"a"));
    EXPECT_EQ(chosen(), "c");
    m_list.select(1);
    EXPECT_EQ(chosen(), "b");
    m_list.apply(m_rows.gone(u"b"));
    EXPECT_EQ(chosen(), "c") << "the last one, for there is none in that place";
    m_list.apply(m_rows.gone(u"c"));
    EXPECT_EQ(chosen(), "none");
    update(u"e");
    EXPECT_EQ(chosen(), "e");
}

TEST_F(PeerListTest, BeyondEitherEndTheRowThereIsChosen) {
    update(u"a");
    update(u"b");
    m_list.select(99);
    EXPECT_EQ(m_list.selected(), 1);
    m_list.select(-99);
    EXPECT_EQ(m_list.selected(), 0);
}

TEST_F(PeerListTest, WhatIsShownMovesNoFurtherThanTheChosenRowNeeds) {
    for (int i = 0; i < 20; ++i) {
        update(SPW_CString(i).text());
    }
    EXPECT_EQ(m_list.firstVisible(5), 0);
    m_list.select(4);
    EXPECT_EQ(m_list.firstVisible(5), 0);
    m_list.select(5);
    EXPECT_EQ(m_list.firstVisible(5), 1);
    m_list.select(19);
    EXPECT_EQ(m_list.firstVisible(5), 15);
    m_list.select(16);
    EXPECT_EQ(m_list.firstVisible(5), 15);
    // A taller list leaves no line empty.
    EXPECT_EQ(m_list.firstVisible(12), 8);
    EXPECT_EQ(m_list.firstVisible(40), 0);
}

TEST_F(PeerListTest, ScrollingTakesTheChoiceAlongWhereItMust) {
    for (int i = 0; i < 20; ++i) {
        update(SPW_CString(i).text());
    }
    m_list.select(3);
    m_list.scroll(3, 5);
    EXPECT_EQ(m_list.firstVisible(5), 3);
    EXPECT_EQ(m_list.selected(), 3);
    m_list.scroll(3, 5);
    EXPECT_EQ(m_list.selected(), 6);
    m_list.scroll(-100, 5);
    EXPECT_EQ(m_list.firstVisible(5), 0);
    EXPECT_EQ(m_list.selected(), 4);
    m_list.scroll(100, 5);
    EXPECT_EQ(m_list.firstVisible(5), 15);
}

TEST_F(PeerListTest, ARowsRecordIsTheOneThatTheEngineFilled) {
    update(u"a", 70, kTcpip, 7, 10);
    const PeerRowValues& row = m_list.values(0);
    EXPECT_EQ(row.counts[kTcpip].received, 7);
    EXPECT_EQ(row.counts[kTcpip].total, 10);
    EXPECT_EQ(row.counts[kTcpip].lost, 3);
    EXPECT_EQ(row.counts[kPing].total, 0);
}

TEST_F(PeerListTest, EachRowAndProtocolHasItsOwnHistory) {
    update(u"a", 100, kUdp, 1, 1);
    m_list.closePeriod(1);
    update(u"b", 100, kPing, 1, 1);
    m_list.closePeriod(1);
    m_list.skipPeriod();
    EXPECT_EQ(m_list.history(0, kUdp).size(), 3);
    EXPECT_EQ(m_list.history(0, kUdp).level(1, 8), 0);
    EXPECT_EQ(m_list.history(1, kPing).size(), 2);
    EXPECT_EQ(m_list.history(1, kPing).level(1, 8), 8);
    EXPECT_EQ(m_list.history(1, kPing).level(0, 8), History::kUnknown);
}

TEST_F(PeerListTest, EmptiedItStartsAfresh) {
    update(u"a");
    update(u"b");
    m_list.select(1);
    m_list.clear();
    EXPECT_EQ(m_list.size(), 0);
    EXPECT_EQ(m_list.selected(), -1);
    update(u"c");
    EXPECT_EQ(chosen(), "c");
    EXPECT_EQ(m_list.history(0, kUdp).size(), 0);
}

// --- How it is fitted into a width

class ListLayoutTest : public PeerListTest {
protected:
    ListLayout layout(int width, int firstProtocol = 0) { return {m_list, width, firstProtocol}; }
    int widthOf(const ListLayout& layout) {
        int width = ListLayout::kMarkWidth - layout.gap;
        for (int column = 0; column < kScreenColumns; ++column) {
            width += layout.isShown(column) ? layout.gap + layout.widths[column] : 0;
        }
        return width;
    }
};

TEST_F(ListLayoutTest, AWideScreenHasWholeHeadersOnOneLine) {
    EXPECT_EQ(layout(107).headerLines, 1);
    EXPECT_EQ(layout(106).headerLines, 2);
}

TEST_F(ListLayoutTest, ALabelThatNeedsTheRoomHasTheHeadersOnTwoLines) {
    update(u"192.168.100.100 (123456789012345)");
    EXPECT_EQ(layout(122).headerLines, 2);
    EXPECT_EQ(layout(123).headerLines, 1);
}

TEST_F(ListLayoutTest, EightyColumnsShowAllOfThem) {
    update(u"192.168.100.100 (123456789012345)", 100, kUdp, 12345, 12345);
    const ListLayout fitted = layout(80);
    EXPECT_FALSE(fitted.hasMoreLeft());
    EXPECT_FALSE(fitted.hasMoreRight());
    EXPECT_EQ(fitted.widths[kLabelColumn], 20);
    EXPECT_EQ(widthOf(fitted), 80);
}

TEST_F(ListLayoutTest, FortyColumnsLeaveOutColumnsThatArrowsBringIn) {
    update(u"192.168.100.100 (123456789012345)");
    const ListLayout first = layout(40);
    EXPECT_TRUE(first.isShown(kMulticastColumn));
    EXPECT_FALSE(first.isShown(kTcpipColumn));
    EXPECT_TRUE(first.hasMoreRight());
    const ListLayout last = layout(40, 3);
    EXPECT_TRUE(last.hasMoreLeft());
    EXPECT_FALSE(last.hasMoreRight());
    EXPECT_TRUE(last.isShown(kPingColumn));
    EXPECT_EQ(layout(40, 99).firstProtocolColumn, kPingColumn);
}

TEST_F(ListLayoutTest, FromFortyColumnsUpwardsALabelHasRoomForEveryAddressAndNothingIsTooWide) {
    update(u"192.168.100.100 (123456789012345)", 100, kUdp, 1234567, 1234567);
    for (int width = 40; width < 200; ++width) {
        EXPECT_GE(layout(width).widths[kLabelColumn], ListLayout::kLeastLabelWidth) << width;
        EXPECT_LE(widthOf(layout(width)), width) << width;
    }
}

TEST_F(ListLayoutTest, FromAHundredColumnsUpwardsThereAreRoundTripTimesIfThereAreAny) {
    update(u"192.168.100.100 (123456789012345)", 100, kUdp, 1234567, 1234567);
    EXPECT_FALSE(layout(100).isShown(kRoundTripColumn));
    m_list.apply(m_rows.answered(u"10.0.0.2", 300, 40));
    EXPECT_FALSE(layout(99).isShown(kRoundTripColumn));
    for (int width = 100; width < 200; ++width) {
        const ListLayout fitted = layout(width);
        EXPECT_TRUE(fitted.isShown(kRoundTripColumn)) << width;
        EXPECT_FALSE(fitted.hasMoreRight()) << width;
        EXPECT_LE(widthOf(fitted), width) << width;
    }
}

TEST_F(ListLayoutTest, AStateStandsBesideTheQualityWhereTheLabelLeavesRoom) {
    update(u"10.0.0.2");
    enter(u"10.0.0.2", PeerState::kSilent);
    Canvas canvas(80, 4, kAsciiGlyphs);
    PeerListView view(m_list);
    view.draw(canvas, {0, 0, 80, 4});
    EXPECT_EQ(canvas.line(2).left(28), u"X 10.0.0.2 silent 0:00 100  ");
    EXPECT_TRUE(canvas.cell(0, 2).style.look == Look::kFailure);
    update(u"10.77.0.2 (pocket2)");
    enter(u"10.77.0.2 (pocket2)", PeerState::kSilent);
    view.draw(canvas, {0, 0, 80, 4});
    EXPECT_EQ(canvas.line(3).left(32), u"X 10.77.0.2 (pocket2) 0:00 100  ");
    update(u"192.168.77.2 (pocket22)", 100);
    enter(u"10.77.0.2 (pocket2)", PeerState::kSilent, 0);
    m_list.setNow(3600 * 10000000ULL);
    view.draw(canvas, {0, 0, 80, 4});
    EXPECT_EQ(canvas.line(3).left(32), u"  192.168.77.2 (pocke~     100  ");
}

TEST_F(ListLayoutTest, NoWidthIsTooSmallToBeDrawn) {
    update(u"a");
    enter(u"a", PeerState::kSilent);
    for (int width = 0; width < 40; ++width) {
        Canvas canvas(width, 3, kAsciiGlyphs);
        PeerListView view(m_list);
        view.draw(canvas, {0, 0, width, 3});
    }
}

TEST_F(ListLayoutTest, ARowIsMarkedByTheWorseOneOfStateAndQuality) {
    const auto markOf = [this](PeerState state, int quality) {
        PeerRowValues row = m_rows.change(u"a", quality).row;
        row.summary.state = state;
        return rowMark(row);
    };
    EXPECT_EQ(markOf(PeerState::kReachable, 100), u' ');
    EXPECT_EQ(markOf(PeerState::kNone, 100), u' ');
    EXPECT_EQ(markOf(PeerState::kReachable, 99), u'!');
    EXPECT_EQ(markOf(PeerState::kDegraded, 100), u'!');
    EXPECT_EQ(markOf(PeerState::kPartial, 100), u'!');
    EXPECT_EQ(markOf(PeerState::kSilent, 100), u'X');
    EXPECT_EQ(markOf(PeerState::kWaiting, 0), u'X');
    EXPECT_EQ(markOf(PeerState::kPartial, 0), u'X');
}

TEST_F(ListLayoutTest, OnlySilenceOutweighsThatProbesAreNotSent) {
    PeerRowValues row = m_rows.notMade(u"a", kPing).row;
    row.quality = 100;
    EXPECT_EQ(rowMark(row), u'?');
    row.summary.state = PeerState::kSilent;
    EXPECT_EQ(rowMark(row), u'X');
    EXPECT_TRUE(rowLook(row) == Look::kFailure);
}

TEST_F(ListLayoutTest, MarksTellQualityWithoutColour) {
    EXPECT_EQ(qualityMark(100), u' ');
    EXPECT_EQ(qualityMark(99), u'!');
    EXPECT_EQ(qualityMark(1), u'!');
    EXPECT_EQ(qualityMark(0), u'X');
}

}  // namespace
