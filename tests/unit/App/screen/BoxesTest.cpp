#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AddPeerBox.h"
#include "DetailBox.h"
#include "EventBox.h"
#include "LabelledRows.h"
#include "PeerColumns.h"
#include "QuestionBox.h"
#include "RecordingCommands.h"
#include "ScriptedClock.h"
#include "StringPrinting.h"
#include "TextBox.h"
#include "TextLines.h"
#include "UnattendedAnswer.h"

namespace {

using Texts = std::vector<std::string>;

class BoxTest : public testing::Test {
protected:
    // What stands on a screen of that size, without blank lines.
    Texts shown(ScreenBox& box, int width = 80, int height = 24, const Glyphs& glyphs = kAsciiGlyphs) {
        m_canvas = Canvas(width, height, glyphs);
        box.draw(m_canvas);
        Texts lines;
        for (int y = 0; y < height; ++y) {
            SPW_CString line = m_canvas.line(y);
            line.trimLeft(u" ");
            if (!line.isEmpty()) {
                lines.emplace_back(line.toAnsi());
            }
        }
        return lines;
    }
    bool isShown(ScreenBox& box, const std::string& text, int width = 80, int height = 24) {
        for (const std::string& line : shown(box, width, height)) {
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    // Returns false as soon as the box wants to be closed.
    static bool type(ScreenBox& box, const char* text) {
        for (; *text != '\0'; ++text) {
            if (!box.handle(Input::ofText(static_cast<unsigned char>(*text)))) {
                return false;
            }
        }
        return true;
    }
    static bool press(ScreenBox& box, std::initializer_list<Input::Key> keys) {
        for (const Input::Key key : keys) {
            if (!box.handle(Input::ofKey(key))) {
                return false;
            }
        }
        return true;
    }
    // A click on a text that is shown.
    bool click(ScreenBox& box, const char16_t* text) {
        (void)shown(box);
        for (int y = 0; y < m_canvas.height(); ++y) {
            const int x = m_canvas.line(y).findText(text);
            if (x >= 0) {
                return box.handle(Input::ofMouse(Input::kClick, x, y));
            }
        }
        ADD_FAILURE() << "not shown: " << SPW_CString(text).toAnsi();
        return true;
    }
    Canvas m_canvas{0, 0, kAsciiGlyphs};
};

// --- Add Ip

class AddPeerBoxTest : public BoxTest {
protected:
    RecordingCommands m_commands;
    AddPeerBox m_box{m_commands};
};

TEST_F(AddPeerBoxTest, ItOpensWithTheFormsFirstValues) {
    EXPECT_EQ(shown(m_box),
              (Texts{"+- Enter ip info ---------------------+", "| Ip Address:   0__.0__.0__.0__       |",
                     "|                                     |", "| Display Name: manually added___     |",
                     "|                                     |", "|                                     |",
                     "|         [ OK ]   [ Cancel ]         |", "+-------------------------------------+"}));
}

TEST_F(AddPeerBoxTest, AcceptedUnchangedItAddsTheNullAddress) {
    EXPECT_FALSE(press(m_box, {Input::kEnter}));
    EXPECT_EQ(m_commands.asked, Texts{"add 0.0.0.0=manually added"});
}

TEST_F(AddPeerBoxTest, APointGoesOnToTheNextOctetAndTypingReplacesWhatWasThere) {
    EXPECT_TRUE(type(m_box, "10.0.0.7"));
    EXPECT_TRUE(press(m_box, {Input::kTab}));
    EXPECT_TRUE(type(m_box, "door"));
    EXPECT_FALSE(press(m_box, {Input::kTab, Input::kEnter}));
    EXPECT_EQ(m_commands.asked, Texts{"add 10.0.0.7=door"});
}

TEST_F(AddPeerBoxTest, OctetsTakeThreeDigitsAndNothingElse) {
    type(m_box, "1a2-3456");
    EXPECT_TRUE(isShown(m_box, "123.0__.0__.0__"));
}

TEST_F(AddPeerBoxTest, WhatCannotBeAcceptedIsSaidWhereItIsMended) {
    EXPECT_TRUE(type(m_box, "1.256"));
    EXPECT_TRUE(press(m_box, {Input::kEnter}));
    EXPECT_TRUE(isShown(m_box, "Please enter a whole number from 0"));
    EXPECT_TRUE(type(m_box, "25"));
    EXPECT_FALSE(press(m_box, {Input::kEnter}));
    EXPECT_EQ(m_commands.asked, Texts{"add 1.25.0.0=manually added"});
}

TEST_F(AddPeerBoxTest, ANameOfSixteenCharactersIsRefused) {
    press(m_box, {Input::kUp, Input::kUp, Input::kUp});
    EXPECT_TRUE(type(m_box, "1234567890123456"));
    EXPECT_TRUE(press(m_box, {Input::kEnter}));
    EXPECT_TRUE(isShown(m_box, "Please enter at most 15 characters"));
    EXPECT_TRUE(press(m_box, {Input::kEnd, Input::kBackspace}));
    EXPECT_FALSE(press(m_box, {Input::kEnter}));
    EXPECT_EQ(m_commands.asked, Texts{"add 0.0.0.0=123456789012345"});
}

TEST_F(AddPeerBoxTest, AnAddressThatIsAPeerAlreadyIsRefusedAndMendedAtItsEnd) {
    m_commands.known = {u"10.0.0.7"};
    EXPECT_TRUE(type(m_box, "10.0.0.7"));
    EXPECT_TRUE(press(m_box, {Input::kEnter}));
    EXPECT_TRUE(isShown(m_box, "10.0.0.7 is a peer already"));
    EXPECT_TRUE(type(m_box, "8"));
    EXPECT_FALSE(press(m_box, {Input::kEnter}));
    EXPECT_EQ(m_commands.asked, Texts{"add 10.0.0.8=manually added"});
}

TEST_F(AddPeerBoxTest, EscapeAndCancelAddNothing) {
    EXPECT_FALSE(press(m_box, {Input::kEscape}));
    AddPeerBox second(m_commands);
    EXPECT_FALSE(press(second, {Input::kBackTab, Input::kEnter}));
    AddPeerBox third(m_commands);
    EXPECT_FALSE(click(third, u"Cancel"));
    EXPECT_EQ(m_commands.asked, Texts{});
}

TEST_F(AddPeerBoxTest, TheFocusGoesAroundInTabOrder) {
    for (int i = 0; i < 7; ++i) {
        press(m_box, {Input::kTab});
    }
    type(m_box, "9");
    EXPECT_TRUE(isShown(m_box, "9__.0__.0__.0__"));
}

TEST_F(AddPeerBoxTest, AFieldIsEditedInItsMiddle) {
    press(m_box, {Input::kBackTab, Input::kBackTab, Input::kBackTab});
    type(m_box, "door");
    press(m_box, {Input::kLeft, Input::kBackspace});
    type(m_box, "\xe4");
    press(m_box, {Input::kHome, Input::kDelete});
    press(m_box, {Input::kEnter});
    EXPECT_EQ(m_commands.asked, Texts{std::string("add 0.0.0.0=") + SPW_CString(u"o\u00e4r").toAnsi()});
}

TEST_F(AddPeerBoxTest, AFieldIsChosenWithTheMouse) {
    click(m_box, u"manually");
    type(m_box, "x");
    EXPECT_FALSE(click(m_box, u"OK"));
    EXPECT_EQ(m_commands.asked, Texts{"add 0.0.0.0=x"});
}

TEST_F(AddPeerBoxTest, CharactersBeyondTheBasicPlaneAreErasedWhole) {
    press(m_box, {Input::kDown, Input::kDown, Input::kDown, Input::kDown});
    (void)m_box.handle(Input::ofText(0x1F600));
    (void)m_box.handle(Input::ofText(U'a'));
    press(m_box, {Input::kLeft, Input::kBackspace, Input::kEnter});
    EXPECT_EQ(m_commands.asked, Texts{"add 0.0.0.0=a"});
}

TEST_F(AddPeerBoxTest, ItFitsOnTheSmallestScreen) {
    EXPECT_TRUE(isShown(m_box, "[ OK ]   [ Cancel ]", 40, 10));
}

// --- Messages

class QuestionBoxTest : public BoxTest {};

TEST_F(QuestionBoxTest, EachSetOfButtonsGivesItsAnswers) {
    struct Case {
        SPW_CMessageBox::Buttons buttons;
        std::vector<SPW_CMessageBox::Answer> answers;
    };
    for (const Case& each :
         {Case{SPW_CMessageBox::kOk, {SPW_CMessageBox::kAnswerOk}},
          Case{SPW_CMessageBox::kOkCancel, {SPW_CMessageBox::kAnswerOk, SPW_CMessageBox::kAnswerCancel}},
          Case{SPW_CMessageBox::kRetryCancel, {SPW_CMessageBox::kAnswerRetry, SPW_CMessageBox::kAnswerCancel}},
          Case{SPW_CMessageBox::kAbortRetryIgnore,
               {SPW_CMessageBox::kAnswerAbort, SPW_CMessageBox::kAnswerRetry, SPW_CMessageBox::kAnswerIgnore}}}) {
        for (std::size_t button = 0; button < each.answers.size(); ++button) {
            QuestionBox box(u"caption", u"text", each.buttons);
            for (std::size_t i = 0; i < button; ++i) {
                EXPECT_TRUE(press(box, {Input::kTab}));
            }
            EXPECT_FALSE(press(box, {Input::kEnter}));
            EXPECT_EQ(box.answer(), each.answers[button]);
        }
    }
}

TEST_F(QuestionBoxTest, EscapeIsTheLastButtonAndAClickTheOneUnderIt) {
    QuestionBox escaped(u"caption", u"text", SPW_CMessageBox::kRetryCancel);
    EXPECT_FALSE(press(escaped, {Input::kEscape}));
    EXPECT_EQ(escaped.answer(), SPW_CMessageBox::kAnswerCancel);
    QuestionBox clicked(u"caption", u"text", SPW_CMessageBox::kRetryCancel);
    EXPECT_TRUE(click(clicked, u"text"));
    EXPECT_EQ(clicked.answer(), SPW_CMessageBox::kNone);
    EXPECT_FALSE(click(clicked, u"Retry"));
    EXPECT_EQ(clicked.answer(), SPW_CMessageBox::kAnswerRetry);
}

TEST_F(QuestionBoxTest, ALongTextLeavesTheButtonsInSight) {
    SPW_CString text;
    for (int i = 0; i < 100; ++i) {
        text += u"words and more words ";
    }
    QuestionBox box(u"Internal Error", text, SPW_CMessageBox::kOk);
    EXPECT_TRUE(isShown(box, "[ OK ]", 40, 10));
    EXPECT_TRUE(isShown(box, "Internal Error", 40, 10));
}

TEST(AnswerThatGoesOnTest, IsTheOneThatNeitherRepeatsNorEnds) {
    EXPECT_EQ(answerThatGoesOn(SPW_CMessageBox::kOk), SPW_CMessageBox::kAnswerOk);
    EXPECT_EQ(answerThatGoesOn(SPW_CMessageBox::kOkCancel), SPW_CMessageBox::kAnswerOk);
    EXPECT_EQ(answerThatGoesOn(SPW_CMessageBox::kRetryCancel), SPW_CMessageBox::kAnswerCancel);
    EXPECT_EQ(answerThatGoesOn(SPW_CMessageBox::kAbortRetryIgnore), SPW_CMessageBox::kAnswerIgnore);
}

// --- Texts

class TextBoxTest : public BoxTest {
protected:
    static SPW_CString numbered(int lines) {
        SPW_CString text;
        for (int i = 1; i <= lines; ++i) {
            text += SPW_CString(u"line ") + i + u"\r\n";
        }
        return text;
    }
};

TEST_F(TextBoxTest, AShortTextIsShownWhole) {
    TextBox box(u"Title", numbered(3));
    EXPECT_TRUE(isShown(box, "line 3"));
    EXPECT_EQ(shown(box).size(), 5U);
}

TEST_F(TextBoxTest, ALongOneScrollsAndStopsAtItsEnds) {
    TextBox box(u"Title", numbered(100));
    EXPECT_TRUE(isShown(box, "1-22 of 100"));
    press(box, {Input::kDown});
    EXPECT_TRUE(isShown(box, "2-23 of 100"));
    press(box, {Input::kPageDown});
    EXPECT_TRUE(isShown(box, "24-45 of 100"));
    press(box, {Input::kEnd});
    EXPECT_TRUE(isShown(box, "line 100"));
    press(box, {Input::kDown, Input::kPageUp, Input::kUp});
    EXPECT_TRUE(isShown(box, "57-78 of 100"));
    press(box, {Input::kHome, Input::kUp});
    EXPECT_TRUE(isShown(box, "1-22 of 100"));
    (void)box.handle(Input::ofMouse(Input::kWheelDown, 0, 0));
    EXPECT_TRUE(isShown(box, "4-25 of 100"));
}

TEST_F(TextBoxTest, AnotherTextBeginsAtItsBeginning) {
    TextBox box(u"Title", numbered(100));
    press(box, {Input::kDown});
    box.setText(u"short");
    EXPECT_TRUE(isShown(box, "short"));
    EXPECT_FALSE(isShown(box, "line 2"));
}

TEST_F(TextBoxTest, EscapeEnterAndQCloseIt) {
    TextBox box(u"Title", u"text");
    EXPECT_FALSE(press(box, {Input::kEscape}));
    EXPECT_FALSE(press(box, {Input::kEnter}));
    EXPECT_FALSE(type(box, "q"));
    EXPECT_TRUE(type(box, "jk x"));
}

TEST(WrapTextTest, LinesAreCutAtBlanksAndKeepTheirIndent) {
    const std::vector<SPW_CString> lines = wrapText(u"   one two three\r\n\r\nlast\n", 10);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], u"   one two");
    EXPECT_EQ(lines[1], u"   three");
    EXPECT_EQ(lines[2], u"");
    EXPECT_EQ(lines[3], u"last");
}

TEST(WrapTextTest, AWordThatIsTooLongIsCut) {
    const std::vector<SPW_CString> lines = wrapText(u"abcdefgh\u65e5\u672c", 5);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], u"abcde");
    EXPECT_EQ(lines[1], u"fgh\u65e5");
    EXPECT_EQ(lines[2], u"\u672c");
}

TEST(WrapTextTest, NoWidthIsTooSmall) {
    EXPECT_EQ(wrapText(u"   ab c", 1).back(), u"c");
    EXPECT_EQ(wrapText(u"\u65e5\u672c", 0).size(), 2U);
    EXPECT_TRUE(wrapText(u"", 10).empty());
}

// --- What has happened

class EventBoxTest : public BoxTest {
protected:
    void happens(int count) {
        for (int i = 0; i < count; ++i) {
            InsightEvent event;
            event.number = ++m_number;
            event.type = InsightEvent::kRestarted;
            event.at.wall100ns = ScriptedClock::kStart + m_number * std::uint64_t{10000000};
            (u"10.0.0." + SPW_CString(static_cast<int>(m_number))).copyTo(event.address, InsightEvent::kAddressRoom);
            m_commands.events.push_back(event);
        }
    }
    ScriptedClock m_clock;
    std::uint32_t m_number = 0;
    RecordingCommands m_commands;
    EventBox m_box{m_commands};
};

TEST_F(EventBoxTest, WithoutEventsItSaysSo) {
    EXPECT_TRUE(isShown(m_box, "Nothing has happened yet."));
}

TEST_F(EventBoxTest, EachEventHasItsClockTime) {
    happens(1);
    EXPECT_TRUE(isShown(m_box, "14:07:10  10.0.0.1: its program was restarted"));
}

TEST_F(EventBoxTest, TheNewestIsInSightUntilTheUserScrollsBack) {
    happens(40);
    EXPECT_TRUE(isShown(m_box, "10.0.0.40:"));
    happens(1);
    EXPECT_TRUE(isShown(m_box, "10.0.0.41:"));
    EXPECT_TRUE(isShown(m_box, "20-41 of 41"));
    press(m_box, {Input::kUp});
    happens(1);
    EXPECT_TRUE(isShown(m_box, "19-40 of 42"));
    press(m_box, {Input::kEnd});
    EXPECT_TRUE(isShown(m_box, "10.0.0.42:"));
    EXPECT_FALSE(press(m_box, {Input::kEscape}));
}

TEST_F(EventBoxTest, ItKeepsAThousand) {
    happens(1100);
    EXPECT_TRUE(isShown(m_box, "979-1000 of 1000"));
    press(m_box, {Input::kHome});
    EXPECT_TRUE(isShown(m_box, "10.0.0.101:"));
}

TEST_F(EventBoxTest, NoScreenIsTooSmall) {
    happens(3);
    for (int width = 0; width < 50; width += 7) {
        for (int height = 0; height < 20; ++height) {
            (void)shown(m_box, width, height);
        }
    }
}

// --- One row

class DetailBoxTest : public BoxTest {
protected:
    DetailBoxTest() {
        count(u"10.0.0.1 (a)", kUdp, 3, 4, 75);
        count(u"10.0.0.2 (b)", kPing, 1, 1, 100);
    }
    void count(const char16_t* label, int protocol, int received, int total, int quality) {
        m_list.apply(m_rows.change(label, quality, protocol, received, total));
    }
    PeerInsightValues& insight(const char16_t* label) { return m_commands.insights[m_rows.rowOf(label).number]; }
    static Stamp at(int second) {
        const std::uint64_t past = static_cast<std::uint64_t>(second) * 10000000;
        return {past, ScriptedClock::kStart + past};
    }
    ScriptedClock m_clock;  // its local time is 14:07:09 at the beginning
    RecordingCommands m_commands;
    LabelledRows m_rows;
    PeerList m_list;
    ChartView m_view;
    DetailBox m_box{m_list, m_commands, m_view};
};

TEST_F(DetailBoxTest, EachProtocolHasItsFigures) {
    const Texts lines = shown(m_box);
    EXPECT_EQ(lines[0].substr(0, 20), "+- 10.0.0.1 (a) ----");
    EXPECT_EQ(lines[1].substr(0, 17), "| Quality (%): 75");
    EXPECT_EQ(lines[3].substr(0, 45), "|        received    total     lost  quality ");
    EXPECT_EQ(lines[4].substr(0, 45), "| Mcast         0        0        0        - ");
    EXPECT_EQ(lines[8].substr(0, 45), "| Udp           3        4        1       75 ");
}

TEST_F(DetailBoxTest, TheStripChartHasTheNewestPeriodAtTheRight) {
    for (int i = 1; i <= 3; ++i) {
        count(u"10.0.0.1 (a)", kUdp, 3 + i, 4 + i, 80);
        m_list.closePeriod(1);
    }
    m_list.closePeriod(1);
    m_list.closePeriod(1);
    const std::string chart = shown(m_box)[9];
    EXPECT_EQ(chart.substr(chart.size() - 7), "+##.. |");
    EXPECT_TRUE(isShown(m_box, "# all arrived  - some  . nothing; a column is 1 s, the last at the right"));
}

TEST_F(DetailBoxTest, UpAndDownChooseAnotherRow) {
    press(m_box, {Input::kDown});
    EXPECT_TRUE(isShown(m_box, "10.0.0.2 (b)"));
    type(m_box, "k");
    EXPECT_TRUE(isShown(m_box, "10.0.0.1 (a)"));
    EXPECT_FALSE(press(m_box, {Input::kEnter}));
}

TEST_F(DetailBoxTest, StatesSaySinceWhenInEachDirection) {
    PeerInsightValues& values = insight(u"10.0.0.1 (a)");
    values.summary.state = PeerState::kPartial;
    values.summary.since = at(20);
    values.kinds[kUdp].state = KindState::kSilent;
    values.kinds[kUdp].since = at(20);
    values.kinds[kUdp].out.state = SendState::kOpen;
    values.kinds[kTcpip].state = KindState::kOk;
    values.kinds[kTcpip].since = at(0);
    values.kinds[kTcpip].out.state = SendState::kRefused;
    values.kinds[kTcpip].out.since = at(1);
    values.kinds[kTcpip].out.lastError = 10061;
    m_list.setNow(at(38).monotonic100ns);
    const Texts lines = shown(m_box);
    EXPECT_EQ(lines[1].substr(0, 58), "| Quality (%): 75   partial since 14:07:29, for 0:18      ");
    EXPECT_EQ(lines[3].substr(44), "  in               out             |");
    EXPECT_EQ(lines[6].substr(44), "  ok 14:07:09      refused 10061   |");
    EXPECT_EQ(lines[8].substr(44), "  silent 14:07:29  sent            |");
    const Texts wide = shown(m_box, 120);
    EXPECT_TRUE(isShown(m_box, "ok 14:07:09      refused since 14:07:10 (error 10061)", 120));
}

TEST_F(DetailBoxTest, AStopFreezesAges) {
    PeerInsightValues& values = insight(u"10.0.0.1 (a)");
    values.summary.state = PeerState::kSilent;
    values.summary.since = at(20);
    values.isFrozen = true;
    values.frozen = at(30);
    m_list.setNow(at(99).monotonic100ns);
    EXPECT_TRUE(isShown(m_box, "silent since 14:07:29, for 0:10"));
}

TEST_F(DetailBoxTest, TimesAndTheLatestOutagesStandBelowAsFarAsThereIsRoom) {
    PeerInsightValues& values = insight(u"10.0.0.1 (a)");
    values.roundTrip.count = 9;
    values.roundTrip.last100ns = 3100;
    values.roundTrip.mean100ns = 3000;
    values.roundTrip.minimum100ns = 2100;
    values.roundTrip.maximum100ns = 12500;
    values.roundTrip.percentile95th100ns = 4000;
    values.roundTrip.jitter100ns = 400;
    values.outages = 32;
    values.outagesInAll = 32;
    for (int i = 0; i < values.outages; ++i) {
        OutageValues& outage = values.outage[i];
        outage.beganWall100ns = at(i * 60).wall100ns;
        outage.endedWall100ns = at(i * 60 + 18).wall100ns;
        outage.span100ns = 18 * 10000000;
        outage.isOver = i < 31;
        outage.kinds = 1 << kUdp | 1 << kPing;
        outage.missed = outage.isOver ? 36 : 0;
    }
    const Texts lines = shown(m_box);
    ASSERT_EQ(lines.size(), 24U);
    const std::string times = "rtt 0.31 ms, jitter 0.04 ms, mean 0.30 ms, 0.21 ms to 1.3 ms, p95 0.40 ms";
    EXPECT_EQ(lines[14].substr(2, times.size()), times);
    EXPECT_EQ(lines[15].substr(2, 42), "silence 14:38:09 -           0:18  Udp, Pi");
    EXPECT_EQ(lines[16].substr(2, 62), "silence 14:37:09 - 14:37:27  0:18  Udp, Ping, 36 probes missed");
    press(m_box, {Input::kTab});
    EXPECT_TRUE(isShown(m_box, "Round-trip times of 9 pings: last 0.31 ms"));
    press(m_box, {Input::kEnd});
    EXPECT_TRUE(isShown(m_box, "14:07:09 - 14:07:27  0:18  Udp, Ping, 36 probes missed")) << "the oldest";
    press(m_box, {Input::kTab});
    EXPECT_TRUE(isShown(m_box, "received"));
}

TEST_F(DetailBoxTest, AConclusionIsMarkedAsOne) {
    insight(u"10.0.0.1 (a)").isLossOnTheWayOut = true;
    EXPECT_TRUE(isShown(m_box, "conclusion: loss is on the way out"));
}

TEST_F(DetailBoxTest, TheChartHasClockTimesBelow) {
    for (int i = 0; i < 60; ++i) {
        count(u"10.0.0.1 (a)", kUdp, 4 + i, 5 + i, 80);
        m_list.closePeriod(1);
    }
    m_view.endWall100ns = at(60).wall100ns;
    // The last column began at 14:08:08, those of 14:08:00 and 14:07:50 stand 8 and 18 columns further left.
    const std::string times = shown(m_box)[12];
    EXPECT_EQ(times.substr(times.size() - 21), "14:07:50  14:08:00  |");
}

TEST_F(DetailBoxTest, MinusShowsALongerTimeAndPlusAShorterOne) {
    for (int i = 0; i < 700; ++i) {
        count(u"10.0.0.1 (a)", kUdp, 4 + i, 5 + i, 80);
        m_list.closePeriod(1);
    }
    for (const char* column : {"10 s", "1 min", "5 min", "30 min", "30 min"}) {
        type(m_box, "-");
        EXPECT_TRUE(isShown(m_box, std::string("a column is ") + column + ","));
    }
    type(m_box, "+++");
    m_view.endWall100ns = at(700).wall100ns;
    EXPECT_TRUE(isShown(m_box, "a column is 10 s,"));
    EXPECT_TRUE(isShown(m_box, "  14:12       14:14       14:16    "));
    type(m_box, "++");
    EXPECT_TRUE(isShown(m_box, "a column is 1 s,"));
}

TEST_F(DetailBoxTest, ASmallScreenHasALineAProtocol) {
    m_list.closePeriod(1);
    const Texts lines = shown(m_box, 40, 10);
    EXPECT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[3].substr(0, 12), "| Udp   3/4 ");
    EXPECT_TRUE(isShown(m_box, "Quality (%): 75", 40, 10));
}

TEST_F(DetailBoxTest, NoScreenIsTooSmall) {
    for (int width = 0; width < 50; width += 7) {
        for (int height = 0; height < 20; ++height) {
            (void)shown(m_box, width, height);
        }
    }
}

}  // namespace
