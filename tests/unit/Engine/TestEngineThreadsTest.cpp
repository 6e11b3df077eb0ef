// The engine under all its threads at once. These tests say most in the builds with ThreadSanitizer and
// AddressSanitizer.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "EngineFixture.h"
#include "OtherThreads.h"
#include "Patience.h"
#include "SPW_CClock.h"
#include "StoppableClock.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr ProbeKind kListenerKinds[] = {kMulticastListener, kUdpListener, kTcpipListener};
constexpr int kSenders = 12;

class TestEngineThreadsTest : public EngineFixture {
protected:
    ~TestEngineThreadsTest() override { endStorm(); }

    static SPW_CString senderAddress(int number) { return SPW_CString(u"10.0.2.") + number; }

    // Runs the action on that many threads, all let go at the same moment.
    static void together(int threads, const std::function<void(int)>& action) {
        std::atomic<int> waiting{threads};
        std::vector<std::thread> running;
        for (int i = 0; i < threads; ++i) {
            running.emplace_back([&, i] {
                --waiting;
                while (waiting > 0) {
                    std::this_thread::yield();
                }
                action(i);
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
    }

    // Every kind of listener hears every sender, over and over.
    void beginStorm() {
        for (const ProbeKind kind : kListenerKinds) {
            m_storm.emplace_back([this, kind] {
                for (std::int32_t sequence = 0; !m_stormIsOver; ++sequence) {
                    for (int sender = 0; sender < kSenders; ++sender) {
                        m_engine->onDataReceived(kind, 5009, senderAddress(sender), sequence, kAnnouncement);
                    }
                    std::this_thread::yield();
                }
            });
        }
    }
    // Datagrams from all senders reach whatever listens on the port.
    void beginDatagrams() {
        m_storm.emplace_back([this] {
            for (int sequence = 0; !m_stormIsOver; ++sequence) {
                const std::string packet = "Vantiro Diagnostic|" + std::to_string(sequence) + "|Version 1|far||";
                for (int sender = 0; sender < kSenders; ++sender) {
                    m_sockets.deliver(5009, SPW_CIpAddress(10, 0, 2, static_cast<std::uint8_t>(sender)),
                                      packet + std::string(1, '\0'));
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    template <typename Condition>
    static void waitUntil(Condition condition) {
        EXPECT_TRUE(soon(condition));
    }
    void endStorm() {
        m_stormIsOver = true;
        for (std::thread& thread : m_storm) {
            thread.join();
        }
        m_storm.clear();
    }

    std::atomic<bool> m_stormIsOver{false};
    std::vector<std::thread> m_storm;
};

TEST_F(TestEngineThreadsTest, ListenersThatHearASenderAtOnceMakeOneRowAndOneSetOfProbes) {
    select(false, true, true, true);
    engine().start();
    for (int round = 0; round < 10; ++round) {
        const SPW_CString address = senderAddress(round);
        // A number that repeats counts one each time, and only the revealing probe is not counted.
        together(6, [&](int i) { engine().onDataReceived(kListenerKinds[i % 3], 5009, address, 0, kAnnouncement); });
        EXPECT_THAT(labels(), SizeIs(round + 1));
        int counted = 0;
        for (int protocol = kMulticast; protocol <= kTcpip; ++protocol) {
            counted += row(round).counts[protocol].total;
        }
        EXPECT_EQ(counted, 5);
    }
    engine().stop();
    const std::vector<std::string> log = endAndReadLog();
    for (int round = 0; round < 10; ++round) {
        const std::string address = senderAddress(round).toAnsi();
        for (const std::string& line :
             {"New device discovered: address " + address + " name: far", "Created VTR_CUdpConnector to " + address,
              "Created VTR_CTcpipConnector to " + address, "Created VTR_CPinger to " + address}) {
            EXPECT_EQ(std::count(log.begin(), log.end(), line), 1) << line;
        }
    }
}

TEST_F(TestEngineThreadsTest, DiscoveriesDuringStartStopResetAndAddPeerCrashNothing) {
    select(false, true, true, false);
    engine();
    beginStorm();
    for (int round = 0; round < 6; ++round) {
        engine().start();
        engine().addPeer(peer(u"10.0.3.1", u"manually added"));
        engine().resetStatistics();
        (void)engine().title();
        (void)labels();
        engine().logReport();
        if (round % 2 == 0) {
            engine().stop();
        }
    }
    engine().stop();
    endStorm();
    EXPECT_THAT(labels(), SizeIs(testing::Ge(6u)));
    EXPECT_FALSE(engine().isRunning());
    EXPECT_THAT(endAndReadLog(), Not(Contains(StartsWith("StopSending failed returned "))));
}

TEST_F(TestEngineThreadsTest, WhatIsDiscoveredWhileATestStopsSendsNothingAfterwards) {
    select(false, true, false, false);
    engine();
    beginStorm();
    for (int round = 0; round < 4; ++round) {
        engine().start();
        engine().stop();
        const int sent = m_sockets.calls(ScriptedSocket::kSendTo);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));  // three periods
        EXPECT_EQ(m_sockets.calls(ScriptedSocket::kSendTo), sent);
    }
}

TEST_F(TestEngineThreadsTest, EverybodyHeardInATestIsInItsRows) {
    select(false, true, false, false);
    engine();
    beginStorm();
    engine().start();
    waitUntil([this] { return labels().size() >= kSenders; });
    engine().stop();
    endStorm();
    EXPECT_THAT(labels(), SizeIs(kSenders));
    const std::vector<std::string> log = endAndReadLog();
    for (int sender = 0; sender < kSenders; ++sender) {
        EXPECT_THAT(log, Contains(std::string("Created VTR_CUdpConnector to ") + senderAddress(sender).toAnsi()));
    }
}

TEST_F(TestEngineThreadsTest, TheEngineMayGoWhileItsListenersHearStrangers) {
    select(false, true, true, true);
    beginDatagrams();
    for (int round = 0; round < 6; ++round) {
        engine().start();
        waitUntil([this] { return !labels().empty(); });
        if (round % 3 == 0) {
            engine().stop();
        } else if (round % 3 == 1) {
            engine().start();
        }
        m_engine.reset();
        EXPECT_EQ(m_sockets.openSockets(), 0);
    }
}

TEST_F(TestEngineThreadsTest, ThreadsMayDriveTheEngineAtOnce) {
    select(false, true, false, false);
    engine();
    together(4, [&](int i) {
        for (int round = 0; round < 3; ++round) {
            if (i == 0) {
                engine().start();
            } else if (i == 1) {
                engine().stop();
            } else if (i == 2) {
                engine().addPeer(peer(u"10.0.3.1", u"manually added"));
            } else {
                engine().resetStatistics();
                engine().logReport();
            }
        }
    });
    engine().start();
    EXPECT_THAT(labels(), SizeIs(3));
}

TEST_F(TestEngineThreadsTest, LocalInfoMayBeAskedForWhileTestsStartAndStop) {
    select(false, true, false, false);
    engine();
    std::atomic<bool> isOver{false};
    std::thread asking([&] {
        while (!isOver) {
            const std::string text = engine().localInfo().toAnsi();
            EXPECT_THAT(text, StartsWith("**System Settings**\r\n"));
            EXPECT_THAT(text, testing::EndsWith("**End of IP Settings**\r\n"));
        }
    });
    for (int round = 0; round < 5; ++round) {
        engine().start();
        engine().stop();
    }
    isOver = true;
    asking.join();
}

TEST_F(TestEngineThreadsTest, TheLastUpdateOfARowIsItsPresentState) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    together(4, [&](int i) {
        for (int n = 1; n <= 300; ++n) {
            if (i == 3) {
                engine().resetStatistics();
            } else {
                // Every second probe is lost, so that the quality moves all the time.
                engine().onDataReceived(kListenerKinds[i], 5009, u"10.0.0.7", 2 * n, kAnnouncement);
            }
        }
    });
    const PeerRowValues values = row(0);
    EXPECT_EQ(m_ui.latestQuality("10.0.0.7 (printer)"), values.quality);
    for (int protocol = kMulticast; protocol <= kTcpip; ++protocol) {
        std::ostringstream counts;
        counts << " " << values.counts[protocol].received << "/" << values.counts[protocol].total << " ";
        EXPECT_THAT(m_ui.latest("10.0.0.7 (printer)", protocol), testing::HasSubstr(counts.str()));
    }
}

// A user interface that looks around in the engine whenever it is told something.
class AskingUi : public UiSink {
public:
    void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t, std::int32_t total) override {
        SPW_CArray<PeerRowValues> rows;
        engine->snapshot(rows);
        for (int i = 0; i < rows.numberOfElements(); ++i) {
            // Nothing can have been counted since.
            if (rows[i].label() == label && (rows[i].quality != quality || rows[i].counts[protocol].total != total)) {
                ++contradictions;
            }
        }
        SPW_CArray<StartProblem> problems;
        engine->startProblems(problems);
        (void)engine->title();
        (void)engine->isRunning();
        (void)engine->testNumber();
        ++updates;
    }

    TestEngine* engine = nullptr;
    std::atomic<int> contradictions{0};
    std::atomic<int> updates{0};
};

TEST_F(TestEngineThreadsTest, TheSinkMayAskTheEngineAndSeesWhatItIsTold) {
    select(false, true, false, false);
    AskingUi ui;
    m_engine = std::make_unique<TestEngine>(&ui, true);
    ui.engine = m_engine.get();
    beginDatagrams();
    for (int round = 1; round <= 3; ++round) {
        engine().start();
        engine().addPeer(peer(u"10.0.3.1", u"manually added"));
        waitUntil([&] { return ui.updates >= 50 * round; });
        engine().resetStatistics();
        engine().stop();
    }
    endStorm();
    m_engine.reset();
    EXPECT_GE(ui.updates, 150);
    EXPECT_EQ(ui.contradictions, 0);
}

// A user interface that takes its time over the first update, while the engine goes on counting as far as it may.
class SlowUi : public UiSink {
public:
    void updatePeerRow(const SPW_CString&, int, int, std::int32_t, std::int32_t total) override {
        totals.push_back(total);
        if (total != 1) {
            return;
        }
        isInside = true;
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
        SPW_CArray<PeerRowValues> rows;
        do {
            engine->snapshot(rows);
            totalMeanwhile = rows.numberOfElements() == 1 ? rows[0].counts[kUdp].total : -1;
        } while (totalMeanwhile == 1 && std::chrono::steady_clock::now() < end);
    }

    TestEngine* engine = nullptr;
    std::vector<std::int32_t> totals;  // one update at a time, or the law is broken
    std::int32_t totalMeanwhile = 0;
    std::atomic<bool> isInside{false};
};

TEST_F(TestEngineThreadsTest, WhatIsCountedNextIsNotCountedBeforeTheSinkHasHeardOfTheLast) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    SlowUi ui;
    m_engine = std::make_unique<TestEngine>(&ui, true);
    ui.engine = m_engine.get();
    engine().start();
    ui.totals.clear();
    std::thread second([&] {
        waitUntil([&] { return ui.isInside.load(); });
        receive(kUdpListener, u"10.0.0.7", 2);
    });
    receive(kUdpListener, u"10.0.0.7", 1);
    second.join();
    EXPECT_EQ(ui.totalMeanwhile, 1);
    EXPECT_THAT(ui.totals, testing::ElementsAre(1, 2));
    m_engine.reset();
}

TEST_F(TestEngineThreadsTest, AResetLosesNothingThatIsCountedAfterIt) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    constexpr int kProbes = 2000;
    std::atomic<int> told{0};
    together(2, [&](int i) {
        if (i == 0) {
            for (int n = 0; n < kProbes; ++n) {
                receive(kUdpListener, u"10.0.0.7", 0);  // a repeat: counts one each time
                ++told;
            }
        } else {
            while (told < kProbes / 2) {
                std::this_thread::yield();
            }
            engine().resetStatistics();
        }
    });
    // The updates tell the story: up to the zeros and from one again, without a gap on either side.
    int expected = 0;
    int counted = 0;
    for (const std::string& update : m_ui.take()) {
        if (update.rfind("10.0.0.7 (printer) 1 ", 0) != 0) {
            continue;
        }
        const int received = std::stoi(update.substr(21));
        expected = received == 0 ? 0 : expected + 1;
        ASSERT_EQ(received, expected);
        counted += received == 0 ? 0 : 1;
    }
    EXPECT_EQ(counted, kProbes);
    EXPECT_EQ(row(0).counts[kUdp].total, expected);
}

TEST_F(TestEngineThreadsTest, WithoutAPatienceAProbesLineThatFindsNoRoomInAPeriodIsQuotedInAnotherThatWaits) {
    select(false, false, false, false);
    m_registry.setSetting(u"log events", u"yes");
    m_registry.setSetting(u"log patience", u"0");
    const std::string line = "E :udp connector sent seq # 3 to 10.0.0.7";
    std::string last;
    // Ten periods are enough for the prober to give up on its line and to wait with the other one; but on a busy
    // machine it may not even have begun by then.
    for (const int periods : {10, 100, 500}) {
        StoppableClock clock(*SPW_CClock::instance);
        const ScopedInstance<SPW_CClock> installed(clock);
        engine().start();
        clock.stop(true);
        EXPECT_EQ(engine().logEvent(u"the line that the writer cannot finish", -1), 0u);
        clock.waitUntilSomebodyWaits();
        while (engine().logEvent(u"filler", 0) == 0) {
        }
        std::thread prober([this] { engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u""); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20) * periods);
        clock.stop(false);
        prober.join();
        last = lastOf(endAndReadLog());
        if (last != line) {
            break;
        }
    }
    EXPECT_EQ(last, "LOG ERROR: Failed to log " + line + " fast enough");
}

TEST_F(TestEngineThreadsTest, WithoutAPatienceAProbesLineThatFindsRoomWithinItsPeriodIsLogged) {
    select(false, false, false, false);
    m_registry.setSetting(u"log events", u"yes");
    m_registry.setSetting(u"log patience", u"0");
    m_registry.setSetting(u"frequency qty", u"30000");
    StoppableClock clock(*SPW_CClock::instance);
    const ScopedInstance<SPW_CClock> installed(clock);
    engine().start();
    clock.stop(true);
    EXPECT_EQ(engine().logEvent(u"the line that the writer cannot finish", -1), 0u);
    clock.waitUntilSomebodyWaits();
    while (engine().logEvent(u"filler", 0) == 0) {
    }
    std::thread prober([this] { engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u""); });
    awaitOthersAsleep();  // the prober, in its wait for room
    clock.stop(false);
    prober.join();
    EXPECT_EQ(endAndReadLog().back(), "E :udp connector sent seq # 3 to 10.0.0.7");
}

// While the log stands still.
class StandstillTest : public TestEngineThreadsTest {
protected:
    // Neither the controller nor the end gives the log up, however busy the machine is.
    StandstillTest() { m_registry.setSetting(u"log patience", u"3600000"); }
    // Starts a test without probes and stops its log.
    void startAndStopTheLog() {
        select(false, false, false, false);
        m_registry.setSetting(u"log events", u"yes");
        engine().start();
        stopTheLog();
    }
    void stopTheLog() {
        m_clock.stop(true);
        EXPECT_EQ(engine().logEvent(u"the line that the writer cannot finish", -1), 0u);
        m_clock.waitUntilSomebodyWaits();
        while (engine().logEvent(u"filler", 0) == 0) {
        }
    }
    std::vector<std::string> endAndReadLogBehindFillers() {
        m_clock.stop(false);
        std::vector<std::string> log = endAndReadLog();
        const auto filler = std::find(log.rbegin(), log.rend(), "filler");
        log.erase(log.begin(), filler.base());
        return log;
    }

    StoppableClock m_clock{*SPW_CClock::instance};
    const ScopedInstance<SPW_CClock> m_installed{m_clock};
};

TEST_F(StandstillTest, AProbesThreadNeverWaitsForTheLog) {
    m_registry.setSetting(u"frequency qty", u"3600000");  // the wait would outlast the test
    startAndStopTheLog();
    engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u"");
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"failed 10065");
    receive(kUdpListener, u"10.0.0.7", 4, u"Version 2|printer|");
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    EXPECT_THAT(endAndReadLogBehindFillers(),
                ElementsAre("E :udp connector sent seq # 3 to 10.0.0.7", StartsWith("SOCKET ERROR: "),
                            "E :udp listener received seq # 4 from 10.0.0.7",
                            "New device discovered: address 10.0.0.7 name: printer"));
}

TEST_F(StandstillTest, ADiscoveryWithItsProbesWaitsForNothing) {
    select(false, true, true, true);
    engine().start();
    stopTheLog();
    receive(kUdpListener, u"10.0.0.7", 4, u"Version 2|printer|");
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    engine().stopProbing();
    const std::vector<std::string> log = endAndReadLogBehindFillers();
    for (const char* line :
         {"New device discovered: address 10.0.0.7 name: printer", "Created VTR_CUdpConnector to 10.0.0.7",
          "Created VTR_CTcpipConnector to 10.0.0.7", "Created VTR_CPinger to 10.0.0.7"}) {
        EXPECT_THAT(log, Contains(line));
    }
}

TEST_F(StandstillTest, AProbesLineThatWaitsLongerThanItsPeriodIsQuoted) {
    m_registry.setSetting(u"frequency qty", u"0");
    startAndStopTheLog();
    engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u"");
    EXPECT_THAT(endAndReadLogBehindFillers(),
                ElementsAre("LOG ERROR: Failed to log E :udp connector sent seq # 3 to 10.0.0.7 fast enough"));
}

TEST_F(StandstillTest, TestsStopAndStartAndTheirLinesFollow) {
    startAndStopTheLog();
    engine().stop();
    engine().start();
    engine().stop();
    const std::vector<std::string> log = endAndReadLogBehindFillers();
    EXPECT_EQ(log.front(), " ---- Test 1 complete ---");
    EXPECT_THAT(log, Contains(" ---- Test 2 starting ---"));
    EXPECT_EQ(log.back(), " ---- Test 2 complete ---");
}

TEST_F(StandstillTest, WhatIsProducedIsWrittenOrCounted) {
    startAndStopTheLog();
    constexpr int kProbes = 20000;
    for (int i = 0; i < kProbes; ++i) {
        engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", i, u"");
    }
    const std::vector<std::string> log = endAndReadLogBehindFillers();
    const int lines = static_cast<int>(log.size()) - 1;  // the count is the last one
    EXPECT_GT(lines, 100);
    EXPECT_EQ(lastOf(log), "LOG ERROR: " + std::to_string(kProbes - lines) + " lines lost");
}

TEST_F(TestEngineThreadsTest, AHundredLinesWaitForTheLogAndNotOneMore) {
    StoppableClock clock(*SPW_CClock::instance);
    const ScopedInstance<SPW_CClock> installed(clock);
    engine();
    clock.stop(true);
    EXPECT_EQ(engine().logEvent(u"the line that the writer cannot finish", -1), 0u);
    clock.waitUntilSomebodyWaits();
    int waiting = 0;
    while (engine().logEvent(u"filler", 0) == 0) {
        ++waiting;
    }
    EXPECT_EQ(waiting, 100);
    clock.stop(false);
    EXPECT_EQ(endAndReadLog().size(), 101u);
}

TEST_F(TestEngineThreadsTest, ManyThreadsLogAtOnceAndNoLineIsLostOrMixed) {
    select(false, false, false, false);
    engine();
    together(4, [&](int i) {
        for (int n = 0; n < 200; ++n) {
            const SPW_CString line = SPW_CString(u"line ") + i + u"-" + n;
            EXPECT_EQ(engine().logEvent(line, -1), 0u);
        }
    });
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(log.size(), 800u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_THAT(log, Contains("line " + std::to_string(i) + "-199"));
    }
}

}  // namespace
