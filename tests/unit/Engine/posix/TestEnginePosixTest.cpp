// The engine on a machine that has no thread left: nothing passes for what it is not, and a stop is as quick as ever.

#include <atomic>
#include <chrono>
#include <thread>

#include "../EngineFixture.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "RefusedThreads.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

class TestEnginePosixTest : public EngineFixture {
protected:
    // The engine's threads report until their end.
    ~TestEnginePosixTest() override { m_engine.reset(); }
    // Without threads, the log writer's excepted.
    void startWithoutThreads() {
        engine();
        const RefusedThreads refused;
        engine().start();
    }
    // The lines that tell of a start that failed.
    static std::vector<std::string> startFailures(const std::vector<std::string>& log) {
        std::vector<std::string> failures;
        std::copy_if(log.begin(), log.end(), std::back_inserter(failures), [](const std::string& line) {
            const std::size_t at = line.find("Start");
            return at != std::string::npos && line.find(" failed returned ", at) != std::string::npos;
        });
        return failures;
    }
    // The protocols whose probes the row says could not be made.
    std::set<int> notMade(int index) {
        const PeerRowValues values = row(index);
        std::set<int> protocols;
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            if (values.isNotMade[protocol]) {
                protocols.insert(protocol);
            }
        }
        return protocols;
    }

    RecordingReporter m_reporter;
};

}  // namespace

TEST_F(TestEnginePosixTest, AListenerWithoutAThreadIsAStartProblem) {
    select(true, true, true, false);
    startWithoutThreads();
    EXPECT_THAT(problems(), IsSupersetOf({StartsWith("cannot listen: multicast listener : thread failed 8 ("),
                                          StartsWith("cannot listen: udp listener : thread failed 8 ("),
                                          StartsWith("cannot listen: tcpip listener : thread failed 8 (")}));
    EXPECT_EQ(m_sockets.openSockets(), 0);
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Contains("StartListening failed returned tcpip listener : thread failed 8"));
}

TEST_F(TestEnginePosixTest, ProbesWithoutAThreadAreLoggedAndToldAndTheirRowSaysSo) {
    select(false, true, true, true);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    startWithoutThreads();
    EXPECT_THAT(notMade(0), ElementsAre(kUdp, kTcpip, kPing));
    EXPECT_THAT(m_ui.takeNotMade(),
                ElementsAre("10.0.0.7 (printer) 1", "10.0.0.7 (printer) 2", "10.0.0.7 (printer) 3"));
    EXPECT_THAT(problems(), Contains("some probes could not be made, because the system has no thread left for them; "
                                     "the log says which"));
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(),
                IsSupersetOf({"VTR_CUdpConnector to 10.0.0.7 could not be made: thread failed 8",
                              "VTR_CTcpipConnector to 10.0.0.7 could not be made: thread failed 8",
                              "VTR_CPinger to 10.0.0.7 could not be made: thread failed 8",
                              "StartSending failed returned thread failed 8",
                              // The text of the connector at the pinger's index.
                              "StartPinging failed returned thread failed 8"}));
}

TEST_F(TestEnginePosixTest, EveryProbeStandsForItselfWhenThreadsRunOut) {
    select(false, true, true, true);
    engine().start();
    {
        const RefusedThreads refused(1);
        engine().addPeer(peer(u"10.0.0.7", u"printer"));
    }
    EXPECT_THAT(notMade(0), ElementsAre(kTcpip, kPing));
    EXPECT_TRUE(m_sockets.waitForSentTo(SPW_CIpAddress(10, 0, 0, 7), 2));
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), AllOf(Not(Contains(StartsWith("UDP StartSending failed"))),
                                                Contains("TCPIP StartSending failed returned thread failed 8")));
}

TEST_F(TestEnginePosixTest, EachProbeOfAPeerThatIsAddedToARunningTestTellsThatItDidNotStart) {
    select(false, true, true, true);
    engine().start();
    {
        const RefusedThreads refused;
        engine().addPeer(peer(u"10.0.0.7", u"printer"));
    }
    engine().stop();
    EXPECT_THAT(startFailures(endAndReadControlLines()),
                ElementsAre("UDP StartSending failed returned thread failed 8",
                            "TCPIP StartSending failed returned thread failed 8",
                            // The text of the connector at the pinger's index.
                            "StartPinging failed returned thread failed 8"));
}

TEST_F(TestEnginePosixTest, TheProbesOfADiscoveredPeerThatCouldNotBeMadeAreLoggedAndItsRowSaysSo) {
    select(false, true, true, true);
    engine().start();
    {
        const RefusedThreads refused;
        receive(kUdpListener, u"10.0.0.9", 1);
    }
    EXPECT_THAT(labels(), ElementsAre("10.0.0.9 (far)"));
    EXPECT_THAT(notMade(0), ElementsAre(kUdp, kTcpip, kPing));
    receive(kUdpListener, u"10.0.0.9", 2);
    EXPECT_EQ(row(0).counts[kUdp].total, 1) << "what the peer sends is counted all the same";
    engine().stop();
    const std::vector<std::string> log = endAndReadControlLines();
    EXPECT_THAT(log, Contains("VTR_CPinger to 10.0.0.9 could not be made: thread failed 8"));
    EXPECT_THAT(startFailures(log), IsEmpty());
}

// One second's end may be among them.
TEST_F(TestEnginePosixTest, AFloodThatMeetsTheLimitOfThreadsHasNoMoreLinesThanAnother) {
    constexpr int kSenders = 200;
    select(false, true, false, false);
    engine().start();
    {
        const RefusedThreads refused;
        for (int i = 0; i < kSenders; ++i) {
            engine().onDataReceived(kUdpListener, 5009, SPW_CString(u"10.0.2.") + i, 1, kAnnouncement);
        }
        EXPECT_TRUE(soon([this] { return notMade(kSenders - 1).count(kUdp) != 0; }));
    }
    EXPECT_EQ(notMade(kSenders / 2).count(kUdp), 1u) << "the row tells it without a line";
    engine().stop();
    const std::vector<std::string> log = endAndReadControlLines();
    const auto lines = std::count_if(log.begin(), log.end(), [](const std::string& line) {
        return line.find("could not be made") != std::string::npos;
    });
    EXPECT_GT(lines, 0);
    EXPECT_LE(lines, 2 * DiscoveryPace::kAtOnceASecond);
}

// The pinger of an added peer quotes a connector, which may be one that a discovery has just failed to start.
TEST_F(TestEnginePosixTest, PeersMayBeAddedAndDiscoveredWhileThreadsAreRefused) {
    constexpr int kEach = 20;
    select(false, true, false, true);
    engine().start();
    std::atomic<bool> isRefused{false};
    std::thread discovering([&] {
        while (!isRefused) {
            std::this_thread::yield();
        }
        for (int i = 0; i < kEach; ++i) {
            engine().onDataReceived(kUdpListener, 5009, SPW_CString(u"10.0.2.") + i, 1, kAnnouncement);
        }
    });
    {
        const RefusedThreads refused;
        isRefused = true;
        for (int i = 0; i < kEach; ++i) {
            engine().addPeer(peer((SPW_CString(u"10.0.3.") + i).text(), u"printer"));
        }
        discovering.join();
    }
    EXPECT_THAT(labels(), SizeIs(2 * kEach));
    engine().stop();
    EXPECT_THAT(startFailures(endAndReadControlLines()),
                Contains("StartPinging failed returned thread failed 8").Times(kEach));
}

TEST_F(TestEnginePosixTest, AStartThatFindsThreadsAgainLacksNothing) {
    select(true, true, true, true);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    startWithoutThreads();
    engine().stop();
    engine().start();
    EXPECT_THAT(problems(), Not(Contains(StartsWith("cannot listen"))));
    EXPECT_THAT(problems(), Not(Contains(StartsWith("some probes"))));
    EXPECT_THAT(notMade(0), IsEmpty());
    EXPECT_TRUE(m_sockets.waitForSentTo(SPW_CIpAddress(10, 0, 0, 7), 1));
}

// The first peer that a listener hears is discovered and gets probes at once. The test must be able to send by then.
TEST_F(TestEnginePosixTest, ConnectorsAndPingersStartBeforeListeners) {
    select(true, true, true, true);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    startWithoutThreads();
    engine().stop();
    std::vector<std::string> starts;
    for (const std::string& line : endAndReadControlLines()) {
        if (line.rfind("Start", 0) == 0) {
            starts.push_back(line.substr(0, line.find(' ')));
        }
    }
    EXPECT_THAT(starts, ElementsAre("StartSending", "StartSending", "StartSending", "StartPinging", "StartListening",
                                    "StartListening", "StartListening"));
}

namespace {

// A test of many probes, each of which has sent its first one and sleeps.
class TestEngineStopTest : public TestEnginePosixTest {
protected:
    static constexpr int kPeers = 60;
    // A sleep may last a second. A stop that waited for one after another would take more than a minute.
    static constexpr std::chrono::seconds kAFewSteps{8};

    TestEngineStopTest() {
        select(true, true, false, true);
        m_registry.setSetting(u"frequency units", u"minutes");
        for (int i = 1; i <= kPeers; ++i) {
            const SPW_CString number(i);
            m_registry.setNamedPeer((u"peer" + number).text(), (u"10.0.1." + number).text());
        }
        engine().start();
        EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, kPeers + 1)) << "and one to the group";
        m_icmp.waitForRequests(kPeers);
    }
    template <typename Action>
    static void expectSoon(Action action) {
        const auto begin = std::chrono::steady_clock::now();
        action();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, kAFewSteps);
    }
};

}  // namespace

TEST_F(TestEngineStopTest, ThousandsStopInAboutOneStepAlthoughThereIsNoThreadForIt) {
    const RefusedThreads refused;
    expectSoon([this] { engine().stop(); });
    EXPECT_THAT(endAndReadControlLines(), Not(Contains(testing::HasSubstr("failed returned"))));
}

TEST_F(TestEngineStopTest, ARunningTestEndsWithTheEngineInAboutOneStep) {
    const RefusedThreads refused;
    expectSoon([this] { m_engine.reset(); });
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

TEST_F(TestEngineStopTest, ARunningTestStartsOverInAFewSteps) {
    expectSoon([this] { engine().start(); });
    EXPECT_TRUE(engine().isRunning());
}
