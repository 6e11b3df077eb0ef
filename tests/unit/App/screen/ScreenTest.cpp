#include "Screen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LabelledRows.h"
#include "PeerColumns.h"
#include "RecordingCommands.h"
#include "RedrawPace.h"
#include "StringPrinting.h"

namespace {

using Texts = std::vector<std::string>;

class ScreenTest : public testing::Test {
protected:
    ScreenTest() { m_screen.tick(0); }
    void ready() { m_screen.ready(u"10.0.0.1  (me)", u"logs/x.txt"); }
    void run(std::int64_t periodMs = 1000) {
        ready();
        type("s");
        m_screen.testStarted(u"10.0.0.1  (me)", 1, periodMs);
    }
    void count(const char16_t* label, int quality = 100, int received = 1, int total = 1) {
        RowBoard::News news;
        news.changes.push_back(m_rows.change(label, quality, kUdp, received, total));
        m_screen.apply(news);
    }
    void state(const char16_t* label, PeerState state, std::uint64_t sinceMs) {
        RowBoard::News news;
        news.changes.push_back(m_rows.inState(label, state, sinceMs));
        m_screen.apply(news);
    }
    void type(const char* text) {
        for (; *text != '\0'; ++text) {
            m_screen.handle(Input::ofText(static_cast<unsigned char>(*text)));
        }
    }
    void press(Input::Key key) { m_screen.handle(Input::ofKey(key)); }
    Texts shown(int width = 80, int height = 24) {
        m_canvas = Canvas(width, height, kAsciiGlyphs);
        m_screen.draw(m_canvas);
        Texts lines;
        for (int y = 0; y < height; ++y) {
            lines.emplace_back(m_canvas.line(y).toAnsi());
        }
        return lines;
    }
    bool isShown(const std::string& text) {
        for (const std::string& line : shown()) {
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    void click(const char* text) {
        const Texts lines = shown();
        for (std::size_t y = 0; y < lines.size(); ++y) {
            const std::size_t x = lines[y].find(text);
            if (x != std::string::npos) {
                m_screen.handle(Input::ofMouse(Input::kClick, static_cast<int>(x), static_cast<int>(y)));
                return;
            }
        }
        ADD_FAILURE() << "not shown: " << text;
    }
    std::string status() { return shown().back(); }

    LabelledRows m_rows;
    RecordingCommands m_commands;
    Screen m_screen{m_commands, Screen::kEndless};
    Canvas m_canvas{0, 0, kAsciiGlyphs};
};

// --- The picture

TEST_F(ScreenTest, StoppedItHasTitleButtonsHeadersAHintAndTheStatus) {
    ready();
    const Texts lines = shown();
    EXPECT_EQ(lines[0], "10.0.0.1  (me)");
    EXPECT_EQ(lines[1], "[ Start ]   Stop   [ Reset ] [ Log ] [ Add Ip ] [ Info ] [ Quit ]");
    EXPECT_EQ(lines[2], "  IP-Address Quality        Mcast        Tcpip          Udp       Ping");
    EXPECT_EQ(lines[3], "  (name)         (%) (Recv/Total) (Recv/Total) (Recv/Total) (Ack/Sent)");
    EXPECT_TRUE(isShown("s starts a test, ? explains the keys"));
    EXPECT_EQ(lines[23], "stopped  log logs/x.txt");
}

TEST_F(ScreenTest, RunningItHasARowPerPeerAndTheOtherButtonDimmed) {
    run();
    count(u"10.0.0.2 (b)", 100, 5, 5);
    count(u"10.0.0.3 (c)", 50, 1, 2);
    count(u"10.0.0.4 (d)", 0, 0, 2);
    const Texts lines = shown();
    EXPECT_EQ(lines[1], "  Start   [ Stop ] [ Reset ] [ Log ] [ Add Ip ] [ Info ] [ Quit ]");
    EXPECT_EQ(lines[4], "  10.0.0.2 (b)     100                                    5/5");
    EXPECT_EQ(lines[5].substr(0, 22), "X 10.0.0.4 (d)       0");
    EXPECT_EQ(lines[6].substr(0, 22), "! 10.0.0.3 (c)      50");
    EXPECT_TRUE(m_canvas.cell(0, 5).style.look == Look::kFailure);
    EXPECT_TRUE(m_canvas.cell(0, 6).style.look == Look::kWarning);
    EXPECT_TRUE(m_canvas.cell(0, 4).style == Style(Look::kPlain, true));
    EXPECT_EQ(lines[23], "running  test 1  0:00:00  log logs/x.txt  10.0.0.4 (d) found");
}

TEST_F(ScreenTest, ButtonsMoveTogetherOnNarrowScreens) {
    ready();
    EXPECT_EQ(shown(64)[1], "[Start]  Stop  [Reset] [Log] [Add Ip] [Info] [Quit]");
    EXPECT_EQ(shown(40)[1], "Start Stop Reset Log Add Ip Info Quit");
}

TEST_F(ScreenTest, AListLongerThanTheScreenTellsWhereItStands) {
    run();
    for (int i = 0; i < 30; ++i) {
        count(SPW_CString(i).text());
    }
    EXPECT_EQ(shown(80, 24)[1].substr(70), "1-19 of 30");
    press(Input::kEnd);
    EXPECT_EQ(shown(80, 24)[1].substr(69), "12-30 of 30");
}

TEST_F(ScreenTest, NoSizeIsTooSmall) {
    run();
    count(u"10.0.0.2 (b)");
    for (const char* keys : {"", "a", "\x1b", "?"}) {
        type(keys);
        for (int width = 0; width < 45; width += 4) {
            for (int height = 0; height < 12; ++height) {
                (void)shown(width, height);
            }
        }
    }
}

// --- Buttons and keys

TEST_F(ScreenTest, NothingButQuitCanBeUsedBeforeTheEngineIsThere) {
    type("strlai ");
    EXPECT_EQ(m_commands.asked, Texts{});
    type("q");
    EXPECT_TRUE(m_screen.isOver());
}

TEST_F(ScreenTest, StartAndStopAreUsableInTurnAndNeitherWhileItIsBeingDone) {
    ready();
    type("ts");
    EXPECT_EQ(m_commands.asked, Texts{"start"});
    EXPECT_EQ(status(), "starting  log logs/x.txt");
    type("st ");
    m_screen.testStarted(u"t", 1, 1000);
    type("st");
    EXPECT_EQ(status().substr(0, 8), "stopping");
    type("st ");
    EXPECT_EQ(m_commands.asked, (Texts{"start", "stop"}));
    m_screen.testStopped();
    EXPECT_EQ(status(), "stopped  test 1  0:00:00  log logs/x.txt  test 1 complete");
}

TEST_F(ScreenTest, SpaceStartsAndStops) {
    ready();
    type(" ");
    m_screen.testStarted(u"t", 1, 1000);
    type(" ");
    EXPECT_EQ(m_commands.asked, (Texts{"start", "stop"}));
}

TEST_F(ScreenTest, LettersPressButtonsInEitherCase) {
    ready();
    type("rRlL");
    EXPECT_EQ(m_commands.asked, (Texts{"reset", "reset", "log", "log"}));
}

TEST_F(ScreenTest, ClicksPressButtonsAndOpenRows) {
    run();
    count(u"10.0.0.2 (b)");
    click("Log");
    click("Stop");
    EXPECT_EQ(m_commands.asked, (Texts{"start", "log", "stop"}));
    click("10.0.0.2 (b)");
    EXPECT_TRUE(isShown("received"));
    m_screen.handle(Input::ofMouse(Input::kClick, 0, 0));
    EXPECT_FALSE(isShown("received"));
    click("Quit");
    EXPECT_TRUE(m_screen.isOver());
}

TEST_F(ScreenTest, StartEmptiesTheListAndStopKeepsIt) {
    run();
    count(u"10.0.0.2 (b)");
    type("t");
    m_screen.testStopped();
    EXPECT_TRUE(isShown("10.0.0.2 (b)"));
    type("s");
    EXPECT_FALSE(isShown("10.0.0.2 (b)"));
}

TEST_F(ScreenTest, TheChosenRowMovesWithTheKeys) {
    run();
    for (int i = 0; i < 60; ++i) {
        count(SPW_CString(i).text());
    }
    const auto chosenLine = [this] {
        (void)shown();
        for (int y = 4; y < 23; ++y) {
            if (m_canvas.cell(0, y).style.isReversed) {
                return y - 4;
            }
        }
        return -1;
    };
    EXPECT_EQ(chosenLine(), 0);
    type("jjk");
    EXPECT_EQ(chosenLine(), 1);
    press(Input::kDown);
    press(Input::kDown);
    press(Input::kUp);
    EXPECT_EQ(chosenLine(), 2);
    press(Input::kPageDown);
    EXPECT_EQ(chosenLine(), 18);
    press(Input::kPageUp);
    press(Input::kHome);
    EXPECT_EQ(chosenLine(), 0);
    m_screen.handle(Input::ofMouse(Input::kWheelDown, 0, 0));
    EXPECT_TRUE(isShown("4-22 of 60"));
}

TEST_F(ScreenTest, OSortsByEachColumnThenByStateAndAtLastByNone) {
    run();
    count(u"10.0.0.2", 100);
    count(u"10.0.0.1", 50);
    for (int column = 0; column < kPeerColumns; ++column) {
        type("o");
        EXPECT_TRUE(isShown(std::string("sorted by ") + SPW_CString(peerColumnHeader(column)).toAnsi()));
    }
    for (const char* sorting : {"sorted by Rtt (jitter)", "sorted by state", "not sorted"}) {
        type("o");
        EXPECT_TRUE(isShown(sorting));
    }
    type("o");
    EXPECT_EQ(shown()[4].substr(0, 10), "! 10.0.0.1");
}

TEST_F(ScreenTest, FShowsOnlyPeersThatAreNotWellAndSaysSo) {
    run();
    count(u"10.0.0.2", 100);
    count(u"10.0.0.3", 100);
    state(u"10.0.0.3", PeerState::kSilent, 0);
    type("f");
    EXPECT_EQ(shown()[4].substr(0, 10), "X 10.0.0.3");
    EXPECT_EQ(shown()[5], "");
    EXPECT_TRUE(isShown("running  test 1  0:00:00  not well 1/2  log")) << status();
    state(u"10.0.0.2", PeerState::kSilent, 0);
    EXPECT_TRUE(isShown("not well 2/2"));
    type("f");
    EXPECT_FALSE(isShown("not well"));
    state(u"10.0.0.2", PeerState::kReachable, 0);
    state(u"10.0.0.3", PeerState::kReachable, 0);
    type("f");
    EXPECT_TRUE(isShown("all peers are well, f shows them"));
}

TEST_F(ScreenTest, ASilentPeerIsRedAtOnceAndItsRowSaysForHowLong) {
    run();
    count(u"10.0.0.2 (b)", 100, 5, 5);
    state(u"10.0.0.2 (b)", PeerState::kSilent, 1000);
    m_screen.tick(19500);
    EXPECT_EQ(shown()[4].substr(0, 32), "X 10.0.0.2 (b) silent 0:18 100  ");
    EXPECT_TRUE(m_canvas.cell(0, 4).style == Style(Look::kFailure, true));
    type("t");
    m_screen.testStopped();
    m_screen.tick(60000);
    EXPECT_TRUE(isShown("silent 0:18")) << "the stop froze it";
}

TEST_F(ScreenTest, ControlLAsksForEverythingAfreshOnce) {
    press(Input::kRedraw);
    EXPECT_TRUE(m_screen.takeRedrawRequest());
    EXPECT_FALSE(m_screen.takeRedrawRequest());
}

// --- Boxes

TEST_F(ScreenTest, EListsWhatHasHappened) {
    type("e");
    EXPECT_FALSE(isShown("Events")) << "there is no engine yet";
    run();
    type("e");
    EXPECT_TRUE(isShown("Nothing has happened yet."));
    press(Input::kEscape);
    EXPECT_FALSE(isShown("Events"));
}

TEST_F(ScreenTest, ABoxGetsAllKeysUntilItIsClosed) {
    ready();
    type("?");
    EXPECT_TRUE(isShown("Help"));
    type("srl");
    EXPECT_EQ(m_commands.asked, Texts{});
    press(Input::kEscape);
    EXPECT_FALSE(isShown("Help"));
}

TEST_F(ScreenTest, TheInfoComesWhenItIsThereAndNotIntoAnotherBox) {
    ready();
    type("i");
    EXPECT_EQ(m_commands.asked, Texts{"info"});
    m_screen.showInfo(u"**System Settings**\r\n");
    EXPECT_TRUE(isShown("**System Settings**"));
    press(Input::kEscape);
    type("?");
    m_screen.showInfo(u"**System Settings**\r\n");
    EXPECT_FALSE(isShown("**System Settings**"));
}

TEST_F(ScreenTest, AnAcceptedPeerIsAskedFor) {
    ready();
    type("a10.0.0.9");
    press(Input::kEnter);
    EXPECT_EQ(m_commands.asked, Texts{"add 10.0.0.9=manually added"});
    EXPECT_FALSE(isShown("Enter ip info"));
}

TEST_F(ScreenTest, MessagesComeOneAfterAnotherOverAllOtherBoxes) {
    ready();
    type("a");
    m_screen.showMessage(7, u"Internal Error", u"first", SPW_CMessageBox::kOk);
    m_screen.showMessage(8, u"Internal Error", u"second", SPW_CMessageBox::kRetryCancel);
    EXPECT_TRUE(isShown("first"));
    EXPECT_FALSE(isShown("second"));
    press(Input::kEnter);
    EXPECT_TRUE(isShown("second"));
    press(Input::kEscape);
    EXPECT_EQ(m_commands.asked, (Texts{"answer 7 1", "answer 8 3"}));
    EXPECT_TRUE(isShown("Enter ip info"));
}

TEST_F(ScreenTest, TheBoxOfARowIsClosedWhenANewTestBeginsWithoutIt) {
    run();
    count(u"10.0.0.2 (b)");
    press(Input::kEnter);
    EXPECT_TRUE(isShown("received"));
    RowBoard::News emptied;
    emptied.isCleared = true;
    m_screen.apply(emptied);
    (void)shown();
    EXPECT_FALSE(isShown("received"));
    press(Input::kEnter);
    EXPECT_FALSE(isShown("received"));
}

TEST_F(ScreenTest, AHostileTextLeavesEverythingInItsPlace) {
    run();
    count(u"10.0.0.2 (\u001b[2J\u202e\u65e5\u672c e\u0301)", 100, 5, 5);
    const Texts lines = shown();
    EXPECT_EQ(lines[0], "10.0.0.1  (me)");
    const std::string start = SPW_CString(u"  10.0.0.2 (?[2J?\u65e5").toAnsi();
    EXPECT_EQ(lines[4].substr(0, start.size()), start);
}

// --- Time

TEST_F(ScreenTest, ElapsedTimeStandsStillWhenStopped) {
    run();
    m_screen.tick(3725000);
    EXPECT_EQ(status().substr(0, 24), "running  test 1  1:02:05");
    m_screen.testStopped();
    m_screen.tick(9999000);
    EXPECT_EQ(status().substr(0, 24), "stopped  test 1  1:02:05");
}

TEST_F(ScreenTest, ADurationStopsTheTest) {
    Screen screen(m_commands, 2500);
    screen.tick(0);
    screen.ready(u"t", u"");
    screen.handle(Input::ofText(U's'));
    screen.testStarted(u"t", 1, 1000);
    screen.tick(2000);
    EXPECT_EQ(screen.msUntilTick(2000), 500);
    EXPECT_EQ(m_commands.asked, Texts{"start"});
    screen.tick(2500);
    EXPECT_EQ(m_commands.asked, (Texts{"start", "stop"}));
}

TEST_F(ScreenTest, ATickIsDueAtEverySecondAndEveryPeriod) {
    run(1500);
    EXPECT_EQ(m_screen.msUntilTick(0), 1000);
    EXPECT_EQ(m_screen.msUntilTick(1200), 300);
    m_screen.tick(1500);
    EXPECT_EQ(m_screen.msUntilTick(1500), 500);
    EXPECT_EQ(m_screen.msUntilTick(4000), 0);
}

TEST_F(ScreenTest, PeriodsThatNobodyWatchedAreLeftBlankInTheChart) {
    run();
    count(u"10.0.0.2 (b)", 100, 1, 1);
    m_screen.tick(1000);
    count(u"10.0.0.2 (b)", 100, 2, 2);
    m_screen.tick(4100);
    press(Input::kEnter);
    EXPECT_TRUE(isShown("#  # |"));
    EXPECT_EQ(m_screen.msUntilTick(4100), 900);
}

TEST(RedrawPaceTest, NothingIsDrawnUnasked) {
    RedrawPace pace;
    EXPECT_FALSE(pace.isDue(1000));
    pace.request();
    EXPECT_TRUE(pace.isDue(1000));
}

TEST(RedrawPaceTest, ItIsDrawnAtMostTenTimesASecondHoweverManyUpdatesCome) {
    RedrawPace pace;
    int drawings = 0;
    for (std::int64_t now = 0; now < 10000; ++now) {
        pace.request();
        if (pace.isDue(now)) {
            pace.drawn(now);
            ++drawings;
        }
    }
    EXPECT_EQ(drawings, 100);
}

TEST(RedrawPaceTest, ARequestAfterAQuietTimeIsDrawnAtOnceAndAnEarlyOneWaits) {
    RedrawPace pace;
    pace.request();
    pace.drawn(1000);
    pace.request();
    EXPECT_FALSE(pace.isDue(1030));
    EXPECT_EQ(pace.msUntilDue(1030), 70);
    EXPECT_TRUE(pace.isDue(1100));
    pace.drawn(1100);
    EXPECT_FALSE(pace.isRequested());
}

TEST(StatusLineTest, TheLogFileLosesItsFolderAndThenGoes) {
    StatusLine line;
    line.state = StatusLine::kRunning;
    line.testNumber = 12;
    line.elapsedSeconds = 61;
    line.logFile = u"/var/log/linkometry/x.txt";
    line.event = u"10.0.0.2 found";
    EXPECT_EQ(line.text(80), u"running  test 12  0:01:01  log /var/log/linkometry/x.txt  10.0.0.2 found");
    EXPECT_EQ(line.text(60), u"running  test 12  0:01:01  log x.txt  10.0.0.2 found");
    EXPECT_EQ(line.text(40), u"running  test 12  0:01:01  10.0.0.2 found");
    line.logFile.clear();
    EXPECT_EQ(line.text(80), u"running  test 12  0:01:01  10.0.0.2 found");
    EXPECT_EQ(StatusLine().text(80), u"stopped");
}

TEST_F(ScreenTest, ARowToWhichNotAllCouldBeSentIsMarkedAndItsDetailsSayWhat) {
    run();
    count(u"10.0.0.7 (printer)");
    EXPECT_TRUE(isShown("  10.0.0.7 (printer)"));
    RowBoard::News news;
    news.changes.push_back(m_rows.notMade(u"10.0.0.7 (printer)", kPing));
    m_screen.apply(news);
    EXPECT_TRUE(isShown("? 10.0.0.7 (printer)"));
    press(Input::kEnter);
    EXPECT_TRUE(isShown("no Ping probes are sent: the system has no thread left for them"));
}

}  // namespace
