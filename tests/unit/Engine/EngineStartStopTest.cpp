#include <thread>

#include "ClockForwarder.h"
#include "EngineFixture.h"
#include "RecordingReporter.h"
#include "RegistrySysForwarder.h"
#include "SPW_CSysError.h"
#include "SettingsStorage.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr SPW_CIpAddress kPeer(10, 0, 0, 7);
constexpr SPW_CIpAddress kGroup(228, 227, 226, 225);

class EngineStartStopTest : public EngineFixture {};

TEST_F(EngineStartStopTest, WithNothingSelectedATestStillLogsItsBeginningAndEnd) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    EXPECT_TRUE(engine().isRunning());
    engine().stop();
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kOpenUdp), 0);
    const std::vector<std::string> log = endAndReadLog();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[0], " ---- Test 1 starting ---");
    EXPECT_THAT(log[1], StartsWith("S Name: 10.0.0.7 (printer) "));
    EXPECT_EQ(log[2], " ---- Test 1 complete ---");
}

TEST_F(EngineStartStopTest, BetweenTheHalvesOfAStopTheResultStandsAndNothingIsLoggedAboutIt) {
    select(false, true, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    engine().stopProbing();
    EXPECT_EQ(m_sockets.openSockets(), 0);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    EXPECT_EQ(engine().testNumber(), 1);
    EXPECT_EQ(engine().logEvent(u"the result is printed here", TestLog::kNoLimit), 0u);
    engine().completeTest();
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 2);
    const std::vector<std::string> log = endAndReadLog();
    ASSERT_GE(log.size(), 3u);
    EXPECT_THAT(std::vector<std::string>(log.end() - 3, log.end()),
                ElementsAre("the result is printed here", StartsWith("S Name: 10.0.0.7 (printer) "),
                            " ---- Test 1 complete ---"));
}

TEST_F(EngineStartStopTest, TestsAreNumberedThroughTheEnginesLife) {
    select(false, false, false, false);
    for (int number = 1; number <= 3; ++number) {
        EXPECT_EQ(engine().testNumber(), number);
        engine().start();
        EXPECT_EQ(engine().testNumber(), number);
        engine().stop();
    }
    EXPECT_THAT(endAndReadLog(),
                ElementsAre(" ---- Test 1 starting ---", " ---- Test 1 complete ---", " ---- Test 2 starting ---",
                            " ---- Test 2 complete ---", " ---- Test 3 starting ---", " ---- Test 3 complete ---"));
}

TEST_F(EngineStartStopTest, KnownAddressesAreThoseThatWereAddedNamedOrDiscovered) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    // The named one has no row yet, and is to get one.
    EXPECT_THAT(knownAddresses(), ElementsAre("10.0.0.7", "10.0.0.8"));
    engine().start();
    receive(kMulticastListener, u"10.0.0.9", 1);
    EXPECT_THAT(knownAddresses(), ElementsAre("10.0.0.7", "10.0.0.8", "10.0.0.9"));
    engine().stop();
    EXPECT_THAT(knownAddresses(), ElementsAre("10.0.0.7", "10.0.0.8", "10.0.0.9"));
}

TEST_F(EngineStartStopTest, NamedPeersThatTheSettingsLeaveOutAreNotKnown) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    EXPECT_THAT(knownAddresses(), IsEmpty());
}

TEST_F(EngineStartStopTest, AStartCreatesAddedPeersThenNamedOnesThenTheListeners) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)", "10.0.0.8 (printer)"));
    const std::vector<std::string> log = endAndReadControlLines();
    // Adding the peer while stopped has made its probes already; they are made anew at the start.
    EXPECT_THAT(log, ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                                 "Created VTR_CPinger to 10.0.0.7", " ---- Test 1 starting ---",
                                 "Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                                 "Created VTR_CPinger to 10.0.0.7", "Created VTR_CUdpConnector to 10.0.0.8",
                                 "Created VTR_CTcpipConnector to 10.0.0.8", "Created VTR_CPinger to 10.0.0.8",
                                 "Created VTR_CMulticastConnector", "Created VTR_CMulticastListener",
                                 "Created VTR_CUdpListener", "Created VTR_CTcpipListener"));
}

// Notes how long the thread that made it sleeps.
class OwnSleepsClock : public ClockForwarder {
public:
    void sleepMs(std::uint32_t milliseconds) override {
        if (std::this_thread::get_id() == m_owner) {
            m_sleeps.push_back(milliseconds);
        }
        ClockForwarder::sleepMs(milliseconds);
    }
    std::vector<std::uint32_t> takeSleeps() { return std::exchange(m_sleeps, {}); }

private:
    const std::thread::id m_owner = std::this_thread::get_id();
    std::vector<std::uint32_t> m_sleeps;
    const ScopedInstance<SPW_CClock> m_installed{*this};
};

TEST_F(EngineStartStopTest, ManyProbesAreNotStartedAllInOneMoment) {
    OwnSleepsClock clock;
    select(false, true, false, false);
    for (int i = 1; i <= 8; ++i) {
        engine().addPeer(peer((SPW_CString(u"10.0.1.") + i).text(), u"near"));
    }
    engine().start();
    EXPECT_THAT(clock.takeSleeps(), IsEmpty());
    engine().stop();
    for (int i = 1; i <= 17; ++i) {
        engine().addPeer(peer((SPW_CString(u"10.0.2.") + i).text(), u"far"));
    }
    clock.takeSleeps();
    engine().start();
    EXPECT_THAT(clock.takeSleeps(), ElementsAre(2, 2, 2));
    m_engine.reset();
}

TEST_F(EngineStartStopTest, EachSelectionMakesItsOwnProbes) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    select(false, true, false, false);
    engine().start();
    EXPECT_THAT(
        endAndReadControlLines(),
        ElementsAre(" ---- Test 1 starting ---", "Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CUdpListener"));
    select(false, false, true, false);
    engine().start();
    EXPECT_THAT(endAndReadControlLines(),
                ElementsAre(" ---- Test 1 starting ---", "Created VTR_CTcpipConnector to 10.0.0.7",
                            "Created VTR_CTcpipListener"));
    select(false, false, false, true);
    engine().start();
    EXPECT_THAT(endAndReadControlLines(), ElementsAre(" ---- Test 1 starting ---", "Created VTR_CPinger to 10.0.0.7"));
    select(true, false, false, false);
    engine().start();
    EXPECT_THAT(endAndReadControlLines(), ElementsAre(" ---- Test 1 starting ---", "Created VTR_CMulticastConnector",
                                                      "Created VTR_CMulticastListener"));
}

TEST_F(EngineStartStopTest, NamedPeersMayBeLeftOutOfThePeerSet) {
    select(false, true, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)"));
}

TEST_F(EngineStartStopTest, EditsOfTheSettingsCountAtTheNextStart) {
    select(false, false, false, false);
    engine().start();
    engine().stop();
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    EXPECT_THAT(labels(), IsEmpty());
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
}

class DamagedRegistry : public RegistrySysForwarder {
public:
    SPW_Result createKey(SPW_Handle, const SPW_CString&, std::uint32_t, SPW_Handle&) override {
        return kSysRegistryCorrupt;
    }
    SPW_Result openKey(SPW_Handle, const SPW_CString&, std::uint32_t, SPW_Handle&) override {
        return kSysRegistryCorrupt;
    }
};

TEST_F(EngineStartStopTest, NamedPeersThatCannotBeReadAreThoseOfTheStartBefore) {
    select(false, false, false, false);
    // From before the engine's first thread to after its last: they all look for the reporter.
    const RecordingReporter quiet;
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    engine().stop();
    const DamagedRegistry damaged;
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    m_engine.reset();
}

TEST_F(EngineStartStopTest, ThePeersProbesAnnounceWhatWasKnownBeforeTheStart) {
    select(true, true, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    const std::string announcement = std::string(settings.version.toAnsi()) + "|device||||||||||";

    engine().start();
    ASSERT_TRUE(m_sockets.waitForSentTo(kPeer, 1));
    ASSERT_TRUE(m_sockets.waitForSentTo(kGroup, 1));
    engine().stop();
    EXPECT_THAT(announcementsTo(kPeer), Each("")) << "the first start of an engine";
    EXPECT_THAT(announcementsTo(kGroup), Each(announcement));

    const std::size_t toPeerBefore = announcementsTo(kPeer).size();
    const std::size_t toGroupBefore = announcementsTo(kGroup).size();
    m_sockets.setHostName(u"renamed");
    engine().start();
    ASSERT_TRUE(m_sockets.waitForSentTo(kPeer, toPeerBefore + 1));
    ASSERT_TRUE(m_sockets.waitForSentTo(kGroup, toGroupBefore + 1));
    engine().stop();
    EXPECT_THAT(announcementsTo(kPeer), Contains(announcement)) << "still the name of the start before";
    EXPECT_THAT(announcementsTo(kPeer), Not(Contains(HasSubstr("renamed"))));
    EXPECT_THAT(announcementsTo(kGroup), Contains(HasSubstr("|renamed||||||||||")));
}

TEST_F(EngineStartStopTest, AnOverheadBelowZeroAddsNothing) {
    select(true, false, false, false);
    m_registry.setSetting(u"overhead bytes", u"-5");
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    engine().stop();
    EXPECT_THAT(announcementsTo(kGroup), Each(testing::EndsWith("|device")));
}

TEST_F(EngineStartStopTest, AnOverheadBeyondEveryPacketIsCut) {
    select(false, false, true, false);
    m_registry.setSetting(u"overhead bytes", u"2000000000");
    m_sockets.listenAt(kPeer, 5009);
    engine().start();
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSend, 1));
    engine().stop();
    const std::string announcement = announcementsTo(kPeer).at(0);
    EXPECT_TRUE(announcement == announcement.substr(0, announcement.find('|')) + "|device" + std::string(65536, '|'))
        << announcement.size();
}

TEST_F(EngineStartStopTest, AStartTellsEveryRowToTheSinkAsZeros) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"a", u"10.0.0.7");
    m_registry.setNamedPeer(u"b", u"10.0.0.8");
    engine().start();
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (a) 0 0/0 0", "10.0.0.7 (a) 1 0/0 0", "10.0.0.7 (a) 2 0/0 0",
                                         "10.0.0.7 (a) 3 0/0 0", "10.0.0.8 (b) 0 0/0 0", "10.0.0.8 (b) 1 0/0 0",
                                         "10.0.0.8 (b) 2 0/0 0", "10.0.0.8 (b) 3 0/0 0"));
}

TEST_F(EngineStartStopTest, AStartInARunningTestStartsAllOver) {
    select(false, true, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    receive(kUdpListener, u"10.0.0.8", 1);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)", "10.0.0.8 (far)"));
    engine().start();
    EXPECT_TRUE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 1);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    engine().stop();
    const std::vector<std::string> log = endAndReadControlLines();
    EXPECT_EQ(std::count(log.begin(), log.end(), " ---- Test 1 starting ---"), 2);
    EXPECT_THAT(log, Not(Contains(HasSubstr("failed returned"))));
}

TEST_F(EngineStartStopTest, StatisticsStayAfterTheStop) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    receive(kUdpListener, u"10.0.0.7", 1);
    engine().stop();
    EXPECT_EQ(row(0).counts[kUdp].total, 1);
    engine().start();
    EXPECT_EQ(row(0).counts[kUdp].total, 0);
}

TEST_F(EngineStartStopTest, APortInUseIsLoggedAndToldAndTheRestRuns) {
    const SPW_Socket other = m_sockets.openUdp();
    ASSERT_EQ(m_sockets.bind(other, 5009), 0);
    engine().start();
    EXPECT_THAT(problems(), ElementsAre("cannot listen: udp listener : bind failed 10048 (The address is in use; is "
                                        "another linkometry running?)"));
    EXPECT_TRUE(engine().isRunning());
    engine().stop();

    (void)m_sockets.close(other);
    engine().start();
    EXPECT_THAT(problems(), IsEmpty());
    const std::vector<std::string> log = endAndReadControlLines();
    EXPECT_THAT(log, IsSupersetOf({"StartListening failed returned udp listener : bind failed 10048",
                                   "StopListening failed returned udp listener : Not currently listening"}));
}

TEST_F(EngineStartStopTest, StoppingWhatIsStoppedLogsEveryRefusal) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    select(false, true, false, true);
    engine().start();
    engine().stop();
    engine().stop();
    const std::vector<std::string> log = endAndReadControlLines();
    // The pinger's line bears the text of the connector at its index.
    ASSERT_GE(log.size(), 5u);
    EXPECT_THAT(std::vector<std::string>(log.end() - 5, log.end() - 2),
                ElementsAre("StopListening failed returned udp listener : Not currently listening",
                            "StopSending failed returned Not currently sending",
                            "StopPinging failed returned Not currently sending"));
}

TEST_F(EngineStartStopTest, AStopBeforeTheFirstStartEndsATestThatHadNothing) {
    engine().stop();
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 2);
    select(false, false, false, false);
    engine().start();
    EXPECT_THAT(endAndReadLog(), ElementsAre(" ---- Test 1 complete ---", " ---- Test 2 starting ---"));
}

TEST_F(EngineStartStopTest, APingerWithoutAConnectorAtItsIndexLogsNoText) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    select(false, false, false, true);
    engine().start();
    engine().stop();
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Contains("StopPinging failed returned "));
}

TEST_F(EngineStartStopTest, APingersTextIsThatOfTheConnectorAtItsOwnIndex) {
    select(false, true, false, true);
    engine().start();
    engine().addPeer(PeerRecord{u"10.0.0.7", u"a", true, false, true});
    engine().addPeer(PeerRecord{u"10.0.0.8", u"b", false, false, true});
    engine().stop();
    engine().stop();
    std::vector<std::string> lines = endAndReadControlLines();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& line) { return line.rfind("StopPinging ", 0) != 0; }),
                lines.end());
    EXPECT_THAT(lines,
                ElementsAre("StopPinging failed returned Not currently sending", "StopPinging failed returned "));
}

TEST_F(EngineStartStopTest, ItMayBeDestroyedWhileATestRuns) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    receive(kUdpListener, u"10.0.0.8", 1);
    m_engine.reset();
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

TEST_F(EngineStartStopTest, WhatStillArrivesWhileItGoesIsNotCounted) {
    select(false, true, false, true);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    m_icmp.setHeld(true);
    m_icmp.ignoreCancels();
    engine().start();
    m_icmp.waitForRequests(1);
    TestEngine* const going = &engine();
    // Waits for the pinger, whose request has no end yet; the sockets are gone by then.
    std::thread owner([this] { m_engine.reset(); });
    while (m_sockets.openSockets() > 0) {
        std::this_thread::yield();
    }
    m_ui.take();
    going->TestEngine::onDataReceived(kUdpListener, 5009, u"10.0.0.7", 1, kAnnouncement);
    going->TestEngine::onDataReceived(kUdpListener, 5009, u"10.0.0.8", 1, kAnnouncement);
    EXPECT_THAT(m_ui.take(), IsEmpty());
    m_icmp.setHeld(false);
    owner.join();
    EXPECT_THAT(m_folder.read("log.txt"), Not(HasSubstr("discovered")));
}

}  // namespace
