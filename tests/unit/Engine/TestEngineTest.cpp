#include "TestEngine.h"

#include <chrono>
#include <iterator>
#include <thread>

#include "ClockForwarder.h"
#include "EngineFixture.h"
#include "RecordingReporter.h"
#include "RegistrySysForwarder.h"
#include "SPW_CSysError.h"
#include "ScriptedSystemInfo.h"
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

class TestEngineTest : public EngineFixture {};

// ---- Construction and logging

TEST_F(TestEngineTest, ItBeginsStoppedWithTestNumberOne) {
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 1);
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(TestEngineTest, BuildingItBeginsTheLogAfresh) {
    m_folder.write("log.txt", "an earlier run");
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
    EXPECT_THAT(m_folder.read("log.txt"), Not(HasSubstr("an earlier run")));
}

TEST_F(TestEngineTest, TheLogsHeaderNamesDescriptionProgramAndVersion) {
    m_registry.setSetting(u"description", u"the description");
    engine();
    m_engine.reset();
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    const std::string text = m_folder.read("log.txt");
    EXPECT_THAT(text, HasSubstr("the description"));
    EXPECT_THAT(text, HasSubstr(settings.applicationPath.toAnsi()));
    EXPECT_THAT(text, HasSubstr(settings.version.toAnsi()));
}

TEST_F(TestEngineTest, WithLoggingOffNothingIsWrittenOrDeleted) {
    m_folder.write("log.txt", "an earlier run");
    engine(false).start();
    EXPECT_EQ(engine().logEvent(u"a line", 0), 0u);
    EXPECT_THAT(problems(), IsEmpty());
    engine().stop();
    m_engine.reset();
    EXPECT_EQ(m_folder.read("log.txt"), "an earlier run");
}

TEST_F(TestEngineTest, ALogThatCannotBeOpenedShowsAndTheTestRunsAllTheSame) {
    m_registry.setSetting(u"log filename", m_folder.path("missing/log.txt"));
    const std::string problem =
        std::string("cannot open the log file ") + m_folder.path("missing/log.txt").toAnsi() + ": Path not found";
    EXPECT_THAT(problems(), ElementsAre(problem));
    engine().start();
    EXPECT_TRUE(engine().isRunning());
    EXPECT_THAT(problems(), ElementsAre(problem));
    engine().stop();
}

TEST_F(TestEngineTest, ALogThatCouldNotBeOpenedIsTriedAgainByTheNameThatTheSettingsGiveThen) {
    m_registry.setSetting(u"log filename", m_folder.path("missing/log.txt"));
    engine().retryLog();
    EXPECT_THAT(problems(), Not(IsEmpty()));
    m_registry.setSetting(u"log filename", m_folder.path("log.txt"));
    engine().retryLog();
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
}

TEST_F(TestEngineTest, ALogThatIsOpenIsNotTriedAgain) {
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    m_registry.setSetting(u"log filename", m_folder.path("another.txt"));
    engine().retryLog();
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
}

TEST_F(TestEngineTest, ADeviceWithoutAnAddressIsTold) {
    select(false, true, true, true);
    m_sockets.setAddresses({});
    engine().start();
    EXPECT_THAT(problems(),
                ElementsAre("no network interface has an address by which other devices could reach this one"));
}

TEST_F(TestEngineTest, ItTakesAndGivesBackTheSocketLibrary) {
    engine();
    EXPECT_EQ(m_sockets.startups(), 1);
    engine().start();
    m_engine.reset();
    EXPECT_EQ(m_sockets.startups(), 0);
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

// ---- Who this device is

TEST_F(TestEngineTest, TheTitleIsEveryAddressThenTheName) {
    m_sockets.setHostName(u"pocket1");
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (pocket1)"));
}

TEST_F(TestEngineTest, AddressesThatSayNothingAreLeftOut) {
    m_sockets.setAddresses({SPW_CIpAddress(0, 0, 0, 0), SPW_CIpAddress(10, 0, 0, 5), SPW_CIpAddress(127, 0, 0, 1),
                            SPW_CIpAddress(192, 168, 55, 101), SPW_CIpAddress(127, 0, 1, 1),
                            SPW_CIpAddress(192, 168, 55, 102)});
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.5 127.0.1.1 192.168.55.102  (device)"));
}

TEST_F(TestEngineTest, WithoutAddressesTheTitleIsTheNameInParentheses) {
    m_sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(192, 168, 55, 101)});
    EXPECT_EQ(engine().title(), SPW_CString(u" (device)"));
}

TEST_F(TestEngineTest, AHostNameThatCannotBeHadLeavesTheTitleEmpty) {
    m_sockets.failNext(ScriptedSocket::kHostName, 11001);
    EXPECT_EQ(engine().title(), SPW_CString(u" ()"));
}

TEST_F(TestEngineTest, TheDisplayNameIsChosenByTheSetting) {
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
    m_registry.setText(u"Software\\Vantiro Networks\\Vantiro\\TLP", u"Friendly Name", u"cart 3");
    const struct {
        const char16_t* source;
        const char16_t* title;
    } cases[] = {{u"Host Name", u"10.0.0.1  (device)"},    {u"HOST NAME", u"10.0.0.1  (device)"},
                 {u"quillon name", u"10.0.0.1  (cart 3)"}, {u"Quillon Name", u"10.0.0.1  (cart 3)"},
                 {u"Login Name", u"10.0.0.1  (Ada)"},      {u"owner name", u"10.0.0.1  (Ada)"},
                 {u"something", u"10.0.0.1  (device)"},    {u"", u"10.0.0.1  (device)"}};
    for (const auto& c : cases) {
        m_registry.setSetting(u"display name", c.source);
        EXPECT_EQ(engine().title(), SPW_CString(c.title)) << SPW_CString(c.source).toAnsi();
        m_engine.reset();
    }
}

TEST_F(TestEngineTest, AMissingNameFallsBackToTheHostName) {
    for (const char16_t* source : {u"Quillon Name", u"Login Name", u"Owner Name"}) {
        m_registry.setSetting(u"display name", source);
        EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (device)"));
        m_engine.reset();
    }
}

TEST_F(TestEngineTest, AStartLooksAgainWhoThisDeviceIs) {
    select(false, false, false, false);
    engine();
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 99)});
    m_sockets.setHostName(u"renamed");
    engine().start();
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.99  (renamed)"));
}

TEST_F(TestEngineTest, AStartChoosesTheDisplayNameByTheSettingsOfThisStart) {
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
    select(false, false, false, false);
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (device)"));
    m_registry.setSetting(u"display name", u"Owner Name");
    engine().start();
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (Ada)"));
}

TEST_F(TestEngineTest, TheTitleIsShowable) {
    m_sockets.setHostName(u"po\x1B[2Jcket");
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (po?[2Jcket)"));
}

// ---- Start and stop

TEST_F(TestEngineTest, WithNothingSelectedATestStillLogsItsBeginningAndEnd) {
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

TEST_F(TestEngineTest, BetweenTheHalvesOfAStopTheResultStandsAndNothingIsLoggedAboutIt) {
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

TEST_F(TestEngineTest, TestsAreNumberedThroughTheEnginesLife) {
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

TEST_F(TestEngineTest, KnownAddressesAreThoseThatWereAddedNamedOrDiscovered) {
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

TEST_F(TestEngineTest, NamedPeersThatTheSettingsLeaveOutAreNotKnown) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    EXPECT_THAT(knownAddresses(), IsEmpty());
}

TEST_F(TestEngineTest, AStartCreatesAddedPeersThenNamedOnesThenTheListeners) {
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

TEST_F(TestEngineTest, ManyProbesAreNotStartedAllInOneMoment) {
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

TEST_F(TestEngineTest, EachSelectionMakesItsOwnProbes) {
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

TEST_F(TestEngineTest, NamedPeersMayBeLeftOutOfThePeerSet) {
    select(false, true, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)"));
}

TEST_F(TestEngineTest, EditsOfTheSettingsCountAtTheNextStart) {
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

TEST_F(TestEngineTest, NamedPeersThatCannotBeReadAreThoseOfTheStartBefore) {
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

TEST_F(TestEngineTest, ThePeersProbesAnnounceWhatWasKnownBeforeTheStart) {
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

TEST_F(TestEngineTest, AnOverheadBelowZeroAddsNothing) {
    select(true, false, false, false);
    m_registry.setSetting(u"overhead bytes", u"-5");
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    engine().stop();
    EXPECT_THAT(announcementsTo(kGroup), Each(testing::EndsWith("|device")));
}

TEST_F(TestEngineTest, AnOverheadBeyondEveryPacketIsCut) {
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

TEST_F(TestEngineTest, AStartTellsEveryRowToTheSinkAsZeros) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"a", u"10.0.0.7");
    m_registry.setNamedPeer(u"b", u"10.0.0.8");
    engine().start();
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (a) 0 0/0 0", "10.0.0.7 (a) 1 0/0 0", "10.0.0.7 (a) 2 0/0 0",
                                         "10.0.0.7 (a) 3 0/0 0", "10.0.0.8 (b) 0 0/0 0", "10.0.0.8 (b) 1 0/0 0",
                                         "10.0.0.8 (b) 2 0/0 0", "10.0.0.8 (b) 3 0/0 0"));
}

TEST_F(TestEngineTest, AStartInARunningTestStartsAllOver) {
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

TEST_F(TestEngineTest, StatisticsStayAfterTheStop) {
    select(false, false, false, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    receive(kUdpListener, u"10.0.0.7", 1);
    engine().stop();
    EXPECT_EQ(row(0).counts[kUdp].total, 1);
    engine().start();
    EXPECT_EQ(row(0).counts[kUdp].total, 0);
}

TEST_F(TestEngineTest, APortInUseIsLoggedAndToldAndTheRestRuns) {
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

TEST_F(TestEngineTest, StoppingWhatIsStoppedLogsEveryRefusal) {
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

TEST_F(TestEngineTest, AStopBeforeTheFirstStartEndsATestThatHadNothing) {
    engine().stop();
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 2);
    select(false, false, false, false);
    engine().start();
    EXPECT_THAT(endAndReadLog(), ElementsAre(" ---- Test 1 complete ---", " ---- Test 2 starting ---"));
}

TEST_F(TestEngineTest, APingerWithoutAConnectorAtItsIndexLogsNoText) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    select(false, false, false, true);
    engine().start();
    engine().stop();
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Contains("StopPinging failed returned "));
}

TEST_F(TestEngineTest, APingersTextIsThatOfTheConnectorAtItsOwnIndex) {
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

TEST_F(TestEngineTest, ItMayBeDestroyedWhileATestRuns) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    receive(kUdpListener, u"10.0.0.8", 1);
    m_engine.reset();
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

TEST_F(TestEngineTest, WhatStillArrivesWhileItGoesIsNotCounted) {
    select(false, true, false, true);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    m_icmp.setHeld(true);
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

// ---- The configuration report

class ReportTest : public EngineFixture {
protected:
    ReportTest() {
        m_system.os.platform = kOsWindowsCe;
        m_system.os.major = 3;
        m_system.os.build = 11171;
        m_network.network.domainName = "example.net";
        m_network.adapterList.resize(1);
        m_network.adapterList[0].name = "eth0";
        m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    }

    ScriptedSystemInfo m_system;
    ScopedInstance<SPW_CSystemInfo> m_systemInstalled{m_system};
};

TEST_F(ReportTest, AStartLogsItBetweenItsOwnLineAndTheFirstProbe) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.8", u"manually added"));
    engine().start();
    engine().stop();
    const std::vector<std::string> log = endAndReadWholeLog();
    const auto starting = std::find(log.begin(), log.end(), " ---- Test 1 starting ---");
    const auto last = std::find(starting, log.end(), kReportsLastLine);
    ASSERT_LT(std::distance(last, log.end()), std::distance(starting, log.end()));
    ASSERT_GT(std::distance(last, log.end()), 1);
    EXPECT_EQ(*(last + 1), "Created VTR_CUdpConnector to 10.0.0.8");

    const std::vector<std::string> report(starting + 1, last + 1);
    ASSERT_GE(report.size(), 8u);
    EXPECT_THAT(std::vector<std::string>(report.begin(), report.begin() + 8),
                ElementsAre("**System Settings**", "Microsoft Pocket PC version 3.0  Build 11171", "Owner: Ada",
                            "**End of System Settings**", "**IP Settings**", "   Local Host Name: device",
                            "   Local IP Address: 10.0.0.1", "**Other System IP Settings**"));
    std::vector<std::string> heads;
    std::copy_if(report.begin(), report.end(), std::back_inserter(heads),
                 [](const std::string& line) { return line.rfind("**", 0) == 0; });
    EXPECT_THAT(heads,
                ElementsAre("**System Settings**", "**End of System Settings**", "**IP Settings**",
                            "**Other System IP Settings**", "**End of Other System IP Settings**",
                            "**Adapter IP Settings**", "**End of Adapter IP Settings**", "**End of IP Settings**",
                            "**Application Settings**", "**End of Application Settings**",
                            "**Vantiro Registry Settings**", "**End of Vantiro Registry Settings**"));
    EXPECT_THAT(report, IsSupersetOf({"   Domain Name: example.net", "   Name: eth0"}));
}

TEST_F(ReportTest, EveryStartShowsWhatIsTrueThen) {
    select(false, false, false, false);
    engine().start();
    engine().stop();
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Grace");
    m_registry.setSetting(u"description", u"the second run");
    m_sockets.setHostName(u"renamed");
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 2), SPW_CIpAddress(10, 1, 0, 2)});
    m_network.network.domainName = "example.org";
    engine().start();
    engine().stop();
    const std::vector<std::string> log = endAndReadWholeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), kReportsFirstLine), 2);
    const auto second = std::find(log.begin(), log.end(), " ---- Test 2 starting ---");
    const std::vector<std::string> before(log.begin(), second);
    const std::vector<std::string> after(second, log.end());
    EXPECT_THAT(before, IsSupersetOf({"Owner: Ada", "   Local Host Name: device", "   Domain Name: example.net"}));
    EXPECT_THAT(after, IsSupersetOf({"Owner: Grace", "   Local Host Name: renamed", "   Local IP Address: 10.0.0.2",
                                     "   Local IP Address: 10.1.0.2", "   Domain Name: example.org"}));
    EXPECT_THAT(before, Not(Contains(HasSubstr("the second run"))));
    EXPECT_THAT(after, Contains(HasSubstr("the second run")));
}

TEST_F(ReportTest, ItWaitsForTheLogAndLosesNoLine) {
    constexpr int kValues = 3 * static_cast<int>(TestLog::kQueuedLines);
    select(false, false, false, false);
    // All at once: a registry that is a file would write it anew for each value.
    std::string hive = "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Other]\n";
    for (int i = 0; i < kValues; ++i) {
        hive += "\"value " + std::to_string(i) + "\"=\"x\"\n";
    }
    m_registry.add("HKEY_CURRENT_USER", hive);
    engine().start();
    const std::vector<std::string> log = endAndReadWholeLog();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& line) { return line.find("value ") != std::string::npos; }),
              kValues);
}

TEST_F(ReportTest, InTheLogItIsFitToBeShown) {
    select(false, false, false, false);
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"A\x1B[2Jda");
    engine().start();
    EXPECT_THAT(endAndReadWholeLog(), Contains("Owner: A?[2Jda"));
}

TEST_F(ReportTest, WithLoggingOffNobodyIsAskedAndTheRegistryNotTouched) {
    select(false, false, false, false);
    engine(false).start();
    EXPECT_EQ(m_network.networkScript.sizeQueries, 0);
    EXPECT_EQ(m_network.adapterScript.sizeQueries, 0);
    EXPECT_TRUE(m_registry.isEmpty("HKEY_LOCAL_MACHINE"));
    m_engine.reset();

    engine(true).start();
    EXPECT_GT(m_network.networkScript.sizeQueries, 0);
    EXPECT_FALSE(m_registry.isEmpty("HKEY_LOCAL_MACHINE")) << "the maker's key";
}

TEST_F(ReportTest, LocalInfoIsTheSystemAndIpSettings) {
    for (const bool loggingOn : {false, true}) {
        const std::string text = engine(loggingOn).localInfo().toAnsi();
        EXPECT_THAT(text, StartsWith("**System Settings**\r\nMicrosoft Pocket PC version 3.0  Build 11171\r\n"
                                     "Owner: Ada\r\n**End of System Settings**\r\n**IP Settings**\r\n"
                                     "   Local Host Name: device\r\n   Local IP Address: 10.0.0.1\r\n"
                                     "**Other System IP Settings**\r\n"));
        EXPECT_THAT(text, HasSubstr("\r\n   Domain Name: example.net\r\n"));
        EXPECT_THAT(text, testing::EndsWith("**End of Other System IP Settings**\r\n**End of IP Settings**\r\n"));
        EXPECT_THAT(endAndReadWholeLog(), IsEmpty()) << "asking for it logs nothing";
    }
}

TEST_F(ReportTest, LocalInfoNamesTheDeviceOfTheLatestStart) {
    select(false, false, false, false);
    engine();
    m_sockets.setHostName(u"renamed");
    m_network.network.domainName = "example.org";
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Local Host Name: device\r\n"));
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Domain Name: example.org\r\n")) << "asked for anew";
    engine().start();
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Local Host Name: renamed\r\n"));
}

// ---- What the settings say reaches the probes

class SettingsInUseTest : public EngineFixture {
protected:
    SettingsInUseTest() { m_registry.setNamedPeer(u"printer", u"10.0.0.7"); }

    // The first of what was sent to that address.
    ScriptedSocket::Sent firstSentTo(const SPW_CIpAddress& address) {
        const std::vector<ScriptedSocket::Sent> sent = m_sockets.sent();
        const auto found = std::find_if(sent.begin(), sent.end(),
                                        [&](const ScriptedSocket::Sent& each) { return each.address == address; });
        return found == sent.end() ? ScriptedSocket::Sent() : *found;
    }
};

TEST_F(SettingsInUseTest, OnePortIsThatOfUdpAndTcp) {
    m_registry.setSetting(u"port", u"6001");
    select(false, true, true, false);
    m_sockets.listenAt(kPeer, 6001);
    engine().start();
    EXPECT_TRUE(m_sockets.deliver(6001, kPeer, "x"));
    EXPECT_NE(m_sockets.connectFrom(kPeer, 6001), kInvalidSocket);
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSend, 1));
    engine().stop();
    for (const ScriptedSocket::Sent& sent : m_sockets.sent()) {
        EXPECT_EQ(sent.port, 6001);
    }
}

TEST_F(SettingsInUseTest, TheGroupHasItsOwnAddressPortAndReach) {
    m_registry.setSetting(u"multicast group", u"228.1.2.3");
    m_registry.setSetting(u"multicast port", u"7600");
    m_registry.setSetting(u"multicast ttl", u"9");
    select(true, false, false, false);
    engine().start();
    EXPECT_TRUE(m_sockets.deliver(7600, kPeer, "x"));
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    const ScriptedSocket::Sent sent = firstSentTo(SPW_CIpAddress(228, 1, 2, 3));
    EXPECT_EQ(sent.port, 7600);
    EXPECT_EQ(m_sockets.multicastTtl(sent.socket), 9);
    ASSERT_THAT(m_sockets.memberships(), Not(IsEmpty()));
    for (const ScriptedSocket::Membership& membership : m_sockets.memberships()) {
        EXPECT_EQ(membership.group, SPW_CIpAddress(228, 1, 2, 3));
    }
}

TEST_F(SettingsInUseTest, TheOtherProductsPortIsTheGroupsWhereNoneIsSet) {
    m_registry.setText(u"Software\\Vantiro Networks\\Vantiro\\KORV", u"UDPPort", u"6000");
    select(true, false, false, false);
    engine().start();
    EXPECT_TRUE(m_sockets.deliver(6000, kPeer, "x"));
    EXPECT_EQ(m_registry.setting(u"multicast port"), SPW_CString(u"6000"));
}

TEST_F(SettingsInUseTest, TheOverheadLengthensAnnouncementsAndEchoes) {
    m_registry.setSetting(u"overhead bytes", u"500");
    select(true, false, false, true);
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    m_icmp.waitForRequests(1);
    EXPECT_EQ(m_icmp.requests()[0].bytes.size(), 500u);
    const std::string announcement = announcementsTo(kGroup).at(0);
    EXPECT_THAT(announcement, testing::EndsWith("|device" + std::string(500, '|')));
}

TEST_F(SettingsInUseTest, DiscoveredPeersAreProbedAsTheOthers) {
    constexpr SPW_CIpAddress kStranger(10, 0, 0, 8);
    m_registry.setSetting(u"port", u"6001");
    m_registry.setSetting(u"overhead bytes", u"500");
    m_registry.setSetting(u"frequency units", u"seconds");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    select(false, true, true, true);
    m_sockets.listenAt(kStranger, 6001);
    engine().start();
    receive(kUdpListener, u"10.0.0.8", 1);
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSend, 1)) << "to the port where the peer listens";
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_EQ(firstSentTo(kStranger).port, 6001);
    m_icmp.waitForRequests(1);
    EXPECT_EQ(m_icmp.requests()[0].bytes.size(), 500u);
    EXPECT_EQ(m_icmp.requests()[0].timeoutMs, 20000u);
}

TEST_F(SettingsInUseTest, ThePeriodIsThatOfEveryProbe) {
    m_registry.setSetting(u"frequency units", u"seconds");  // 20 of them
    select(true, true, false, true);
    engine().start();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LE(m_sockets.calls(ScriptedSocket::kSendTo), 2) << "one to the peer, one to the group";
    EXPECT_LE(m_icmp.requests().size(), 1u);
}

// ---- Adding peers

TEST_F(TestEngineTest, APeerAddedWhileATestRunsIsProbedAtOnce) {
    select(false, true, false, false);
    engine().start();
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)"));
    engine().stop();
    EXPECT_THAT(announcementsTo(kPeer), Each(HasSubstr("|device|")));
}

TEST_F(TestEngineTest, EveryProbeOfAPeerAddedWhileATestRunsStartsAtOnce) {
    select(false, true, true, true);
    m_sockets.listenAt(kPeer, 5009);
    engine().start();
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSend, 1));
    m_icmp.waitForRequests(1);
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Not(Contains(HasSubstr("failed returned"))));
}

TEST_F(TestEngineTest, APeerAddedWhileStoppedIsProbedFromTheNextStart) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kOpenUdp), 0);
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    engine().stop();
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)")) << "for all further tests";
}

TEST_F(TestEngineTest, TheRecordsFlagsChooseTheProbes) {
    engine().addPeer(PeerRecord{u"10.0.0.7", u"a", true, false, false});
    engine().addPeer(PeerRecord{u"10.0.0.8", u"b", false, true, false});
    engine().addPeer(PeerRecord{u"10.0.0.9", u"c", false, false, true});
    EXPECT_THAT(endAndReadControlLines(),
                ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.8",
                            "Created VTR_CPinger to 10.0.0.9"));
}

TEST_F(TestEngineTest, AtAStartAllThreeFlagsCountAsSet) {
    select(false, true, true, true);
    engine().addPeer(PeerRecord{u"10.0.0.7", u"a", false, false, false});
    engine().start();
    EXPECT_THAT(endAndReadControlLines(),
                IsSupersetOf({"Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                              "Created VTR_CPinger to 10.0.0.7"}));
}

TEST_F(TestEngineTest, TheSameAddressTwiceMakesTwoRowsAndTwoSetsOfProbes) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)", "10.0.0.7 (manually added)"));
    const std::vector<std::string> log = endAndReadControlLines();
    EXPECT_EQ(std::count(log.begin(), log.end(), "Created VTR_CUdpConnector to 10.0.0.7"), 2);
}

// ---- Counting

class CountingTest : public EngineFixture {
protected:
    CountingTest() {
        select(false, false, false, false);
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
        engine().start();
        m_ui.take();
    }
};

TEST_F(CountingTest, NumbersOneTwoFiveAreThreeOfFive) {
    receive(kUdpListener, u"10.0.0.7", 1);
    receive(kUdpListener, u"10.0.0.7", 2);
    receive(kUdpListener, u"10.0.0.7", 5);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 1 1/1 100", "10.0.0.7 (printer) 1 2/2 100",
                                         "10.0.0.7 (printer) 1 3/5 60"));
    EXPECT_EQ(row(0).counts[kUdp].lost, 2);
    engine().stop();
    EXPECT_THAT(endAndReadLog(), Contains("S Name: 10.0.0.7 (printer)             Quality:  60% Multicast:     0 / 0   "
                                          "  Tcpip:     0 / 0     Udp:     5 / 7     Ping:     0 / 0    "));
}

TEST_F(CountingTest, EveryReceiverHasItsProtocol) {
    receive(kMulticastListener, u"10.0.0.7", 1);
    receive(kUdpListener, u"10.0.0.7", 1);
    receive(kTcpipListener, u"10.0.0.7", 1);
    receive(kPinger, u"10.0.0.7", 1);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 0 1/1 100", "10.0.0.7 (printer) 1 1/1 100",
                                         "10.0.0.7 (printer) 2 1/1 100", "10.0.0.7 (printer) 3 1/1 100"));
}

TEST_F(CountingTest, WhatASenderSaysItReceivedIsIgnored) {
    m_registry.setSetting(u"log events", u"yes");
    engine().start();
    m_ui.take();
    for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kMulticastConnector, ProbeKind{7}}) {
        receive(kind, u"10.0.0.7", 1);
        receive(kind, u"10.0.0.9", 1);
    }
    EXPECT_THAT(m_ui.take(), IsEmpty());
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    EXPECT_THAT(endAndReadLog(), Not(Contains(HasSubstr("received seq"))));
}

TEST_F(CountingTest, ResetTellsZerosOfEveryProtocolInOrder) {
    receive(kUdpListener, u"10.0.0.7", 5);
    m_ui.take();
    engine().resetStatistics();
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 0 0/0 0", "10.0.0.7 (printer) 1 0/0 0",
                                         "10.0.0.7 (printer) 2 0/0 0", "10.0.0.7 (printer) 3 0/0 0"));
    receive(kUdpListener, u"10.0.0.7", 9);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 1 1/1 100")) << "as a first number";
}

TEST_F(CountingTest, TheLogButtonWritesOneLinePerRow) {
    receive(kMulticastListener, u"10.0.0.8", 1);
    engine().logReport();
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(
        std::count_if(log.begin(), log.end(), [](const std::string& line) { return line.rfind("S Name: ", 0) == 0; }),
        2);
}

// ---- Discovery

class DiscoveryTest : public EngineFixture {
protected:
    DiscoveryTest() {
        select(false, true, false, false);
        engine().start();
        m_ui.take();
    }
};

TEST_F(DiscoveryTest, AnUnknownSenderGetsARowAndProbesAndIsNotCounted) {
    select(false, true, true, true);
    engine().start();
    m_icmp.setHeld(false);
    receive(kUdpListener, u"10.0.0.7", 4);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (far)"));
    EXPECT_EQ(row(0).name, SPW_CString(u"far"));
    EXPECT_EQ(row(0).counts[kUdp].total, 0) << "the probe that revealed it";
    receive(kUdpListener, u"10.0.0.7", 5);
    EXPECT_EQ(row(0).counts[kUdp].total, 1);
    m_icmp.waitForRequests(1);
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kConnect, 1));
    engine().stop();
    const std::vector<std::string> log = endAndReadControlLines();
    const auto first = std::find(log.begin(), log.end(), "New device discovered: address 10.0.0.7 name: far");
    ASSERT_GE(log.end() - first, 4);
    EXPECT_THAT(std::vector<std::string>(first + 1, first + 4),
                ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                            "Created VTR_CPinger to 10.0.0.7"));
}

TEST_F(DiscoveryTest, TheDiscoveredPeersProbesAnnounceThisTest) {
    receive(kUdpListener, u"10.0.0.7", 1);
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_THAT(announcementsTo(kPeer), Each(HasSubstr("|device|")));
}

TEST_F(DiscoveryTest, TheNameIsTheSecondFieldOfTheAnnouncement) {
    const struct {
        const char16_t* text;
        const char* label;
    } cases[] = {
        {u"Version 1.0.0.0|pocket1||||||||||", "(pocket1)"},
        {u"Version 1.0.0.0|pocket1", "(pocket1)"},
        {u"Version:pocket1|x", "(pocket1)"},
        {u"Version 1.0.0.0||||pocket1|", "(pocket1)"},
        {u"Version|a:b c|", "(a:b c)"},
        {u"|name|", "(name)"},
        {u":|name", "(name)"},
    };
    for (int i = 0; i < static_cast<int>(std::size(cases)); ++i) {
        const SPW_CString address = SPW_CString(u"10.0.1.") + i;
        receive(kUdpListener, address.text(), 1, cases[i].text);
        EXPECT_EQ(lastOf(labels()), std::string(address.toAnsi()) + " " + cases[i].label);
    }
}

// A device is started before it has its address, or gets another one while a test runs.
TEST_F(DiscoveryTest, TheDeviceIsNotItsOwnPeerAfterItsAddressHasChanged) {
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 55)});
    receive(kMulticastListener, u"10.0.0.55", 1);
    receive(kUdpListener, u"10.0.0.55", 2);
    EXPECT_THAT(labels(), IsEmpty());
    // The address of old, too, as long as the test runs that began with it.
    receive(kMulticastListener, u"10.0.0.1", 1);
    EXPECT_THAT(labels(), IsEmpty());
    receive(kMulticastListener, u"10.0.0.8", 1);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.8 (far)"));
}

TEST_F(DiscoveryTest, ThePlatformIsAskedForTheDevicesAddressesOnlyWhereAPeerWouldBeAdded) {
    receive(kUdpListener, u"10.0.0.8", 1);
    const int asked = m_sockets.calls(ScriptedSocket::kResolve);
    for (int i = 2; i < 20; ++i) {
        receive(kUdpListener, u"10.0.0.8", i);
        receive(kMulticastListener, u"10.0.0.1", i);
    }
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kResolve), asked);
}

TEST_F(DiscoveryTest, WithoutASecondFieldTheLabelIsTheBareAddress) {
    const char16_t* const cases[] = {u"", u"no separator", u"Version|", u"Version||||", u"Version:", u"|", u"||||"};
    for (int i = 0; i < static_cast<int>(std::size(cases)); ++i) {
        const SPW_CString address = SPW_CString(u"10.0.1.") + i;
        receive(kUdpListener, address.text(), 1, cases[i]);
        EXPECT_EQ(lastOf(labels()), address.toAnsi());
    }
    EXPECT_THAT(endAndReadControlLines(), Contains("New device discovered: address 10.0.1.0"));
}

TEST_F(DiscoveryTest, ThisDevicesOwnAddressesAreNoPeers) {
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 1), SPW_CIpAddress(10, 0, 9, 1)});
    engine().start();
    receive(kMulticastListener, u"10.0.0.1", 1);
    receive(kMulticastListener, u"10.0.9.1", 1);
    EXPECT_THAT(labels(), IsEmpty());
    EXPECT_THAT(endAndReadControlLines(), Not(Contains(HasSubstr("discovered"))));
}

TEST_F(DiscoveryTest, StrangersMayBeLeftOutOfThePeerSet) {
    m_registry.setSetting(u"peer set includes anyone-in-reach", u"no");
    engine().start();
    receive(kMulticastListener, u"10.0.0.7", 1);
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(DiscoveryTest, TheNextStartForgetsTheDiscoveredPeers) {
    receive(kMulticastListener, u"10.0.0.7", 1);
    engine().stop();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (far)"));
    engine().start();
    EXPECT_THAT(labels(), IsEmpty());
    receive(kMulticastListener, u"10.0.0.7", 2);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (far)"));
}

TEST_F(DiscoveryTest, WhileNoTestRunsADiscoveryStartsNothing) {
    engine().stop();
    const int opened = m_sockets.calls(ScriptedSocket::kOpenUdp);
    receive(kUdpListener, u"10.0.0.7", 1);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (far)"));
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Contains("StopSending failed returned Not currently sending"));
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kOpenUdp), opened);
}

TEST_F(DiscoveryTest, AForeignNameForgesNoLogLineAndNoLabel) {
    receive(kUdpListener, u"10.0.0.7", 1, u"Version 1|a\r\n12:00:00 forged\u202E|");
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (a??12:00:00 forged?)"));
    EXPECT_THAT(endAndReadControlLines(),
                Contains("New device discovered: address 10.0.0.7 name: a??12:00:00 forged?"));
}

TEST_F(DiscoveryTest, APercentSignInANameIsNoFormat) {
    receive(kUdpListener, u"10.0.0.7", 1, u"Version 1|%s%d%n|");
    engine().stop();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (%s%d%n)"));
    EXPECT_THAT(endAndReadControlLines(), Contains("New device discovered: address 10.0.0.7 name: %s%d%n"));
}

TEST_F(DiscoveryTest, AProbeOverTheNetworkIsHeardAndCounted) {
    ASSERT_TRUE(m_sockets.deliver(5009, kPeer, std::string("Vantiro Diagnostic|1|Version 1|far||\0", 37)));
    ASSERT_TRUE(m_sockets.deliver(5009, kPeer, std::string("Vantiro Diagnostic|2|Version 1|far||\0", 37)));
    for (int i = 0; i < 3000 && row(0).counts[kUdp].total == 0; ++i) {
        SPW_CClock::instance->sleepMs(10);
    }
    EXPECT_EQ(row(0).label(), SPW_CString(u"10.0.0.7 (far)"));
    EXPECT_EQ(row(0).counts[kUdp].total, 1);
}

// ---- Events in the log

class EventLogTest : public EngineFixture {
protected:
    // Nothing but the test itself reports.
    void begin(const char16_t* logEvents, const char16_t* logDataPackets) {
        select(false, false, false, false);
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
        m_registry.setSetting(u"frequency qty", u"10000");
        m_registry.setSetting(u"log events", logEvents);
        m_registry.setSetting(u"log data packets", logDataPackets);
        engine().start();
    }
    void report() {
        engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u"Version 1|device|");
        receive(kTcpipListener, u"10.0.0.7", 4, u"Version 2|printer|");
    }
    std::vector<std::string> endAndReadEvents() {
        std::vector<std::string> lines = endAndReadLog();
        EXPECT_THAT(lines, testing::Not(IsEmpty())) << "a log has at least the test's beginning";
        return lines.empty() ? lines : std::vector<std::string>(lines.begin() + 1, lines.end());
    }
};

TEST_F(EventLogTest, ByDefaultProbesLeaveNoLines) {
    begin(u"no", u"no");
    report();
    EXPECT_THAT(endAndReadEvents(), IsEmpty());
}

TEST_F(EventLogTest, LoggingDataPacketsAloneWritesNothing) {
    begin(u"no", u"yes");
    report();
    EXPECT_THAT(endAndReadEvents(), IsEmpty());
}

TEST_F(EventLogTest, EventsAreOneLineEach) {
    begin(u"yes", u"no");
    report();
    EXPECT_THAT(endAndReadEvents(), ElementsAre("E :udp connector sent seq # 3 to 10.0.0.7",
                                                "E :tcpip listener received seq # 4 from 10.0.0.7"));
}

TEST_F(EventLogTest, WithDataPacketsTheLineGoesOn) {
    begin(u"yes", u"yes");
    report();
    EXPECT_THAT(endAndReadEvents(),
                ElementsAre("E :udp connector sent seq # 3 to 10.0.0.7Data sent: Version 1|device|",
                            "E :tcpip listener received seq # 4 from 10.0.0.7Data received: Version 2|printer|"));
}

TEST_F(EventLogTest, ForeignDataForgeNoLine) {
    begin(u"yes", u"yes");
    receive(kTcpipListener, u"10.0.0.7", 4, u"a\r\n12:00:00 forged");
    EXPECT_THAT(endAndReadEvents(),
                ElementsAre("E :tcpip listener received seq # 4 from 10.0.0.7Data received: a??12:00:00 forged"));
}

TEST_F(EventLogTest, ASocketErrorIsLoggedOnceUntilASendSucceeds) {
    begin(u"no", u"no");
    const std::string line =
        "SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid filling the logfile) on "
        "tcpip connector ( 10.0.0.7 ) :connect failed 10061";
    for (int i = 0; i < 3; ++i) {
        engine().onSocketError(kTcpipConnector, 5009, u"10.0.0.7", 10061, u"connect failed 10061");
    }
    engine().onDataSent(kTcpipConnector, 5009, u"10.0.0.7", 1, u"");
    engine().onSocketError(kTcpipConnector, 5009, u"10.0.0.7", 10061, u"connect failed 10061");
    EXPECT_THAT(endAndReadEvents(), ElementsAre(line, line));
}

TEST_F(EventLogTest, AUdpSendMakesTheNextUdpErrorNewsAndNoOther) {
    begin(u"no", u"no");
    const auto fail = [this] {
        for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kPinger}) {
            engine().onSocketError(kind, 5009, u"10.0.0.7", 10065, u"failed 10065");
        }
    };
    fail();
    engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 1, u"");
    fail();
    const std::vector<std::string> log = endAndReadEvents();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(
        log[3],
        "SOCKET ERROR: (logged only once until successfull udp send to this address to avoid filling the logfile) "
        "on udp connector ( 10.0.0.7 ) :failed 10065");
}

TEST_F(EventLogTest, APingErrorIsLoggedOnceUntilAReplyComes) {
    begin(u"no", u"no");
    const std::string line =
        "SOCKET ERROR: (logged only once until successfull ping to this address to avoid filling the logfile) on "
        "pinger ( 10.0.0.7 ) :IcmpSendEcho failed 11010";
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    engine().onDataSent(kPinger, 0, u"10.0.0.7", 1, u"");  // a request alone is no success
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    receive(kPinger, u"10.0.0.7", 2, u"");
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    EXPECT_THAT(endAndReadEvents(), ElementsAre(line, line));
}

TEST_F(EventLogTest, AStartMakesEveryErrorNews) {
    begin(u"no", u"no");
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    engine().stop();
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    engine().start();
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "SOCKET ERROR: (logged only once until successfull udp send to this address to avoid filling "
                         "the logfile) on udp connector ( 10.0.0.7 ) :send failed 10065"),
              2);
}

TEST_F(EventLogTest, AFailureOfTheMulticastConnectorIsLoggedEveryTime) {
    begin(u"no", u"no");
    const std::string line = "SOCKET ERROR: on multicast connector ( 228.227.226.225 ) :send failed 10051";
    engine().onSocketError(kMulticastConnector, 7550, u"228.227.226.225", 10051, u"send failed 10051");
    engine().onSocketError(kMulticastConnector, 7550, u"228.227.226.225", 10051, u"send failed 10051");
    EXPECT_THAT(endAndReadEvents(), ElementsAre(line, line));
}

TEST_F(EventLogTest, APeerThatIsDownLeavesOneLine) {
    select(false, false, true, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kConnect, 4));
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid "
                         "filling the logfile) on tcpip connector ( 10.0.0.7 ) :connect failed 10060"),
              1);
}

}  // namespace
