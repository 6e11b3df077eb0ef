#include <chrono>
#include <iterator>
#include <thread>

#include "EngineFixture.h"
#include "Patience.h"
#include "StillClock.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr SPW_CIpAddress kPeer(10, 0, 0, 7);

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
    EXPECT_TRUE(soon([this] { return row(0).counts[kUdp].total != 0; }));
    EXPECT_EQ(row(0).label(), SPW_CString(u"10.0.0.7 (far)"));
    EXPECT_EQ(row(0).counts[kUdp].total, 1);
}

// Discovery at a time that the test alone moves.
class DiscoveryInTimeTest : public EngineFixture {
protected:
    void TearDown() override { m_engine.reset(); }

    StillClock m_clock;
};

// A device whose address has changed hears itself with every probe that it sends to the group.
TEST_F(DiscoveryInTimeTest, ThePlatformIsAskedOnceASecondAboutAnAddressOfTheDevicesOwn) {
    select(false, true, false, false);
    engine().start();
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 55)});
    const int before = m_sockets.calls(ScriptedSocket::kResolve);
    const auto asked = [&] { return m_sockets.calls(ScriptedSocket::kResolve) - before; };
    const auto hearItself = [&] { receive(kMulticastListener, u"10.0.0.55", 1); };
    for (int i = 0; i < 20; ++i) {
        hearItself();
    }
    EXPECT_EQ(asked(), 1);
    m_clock.advanceMs(1000);
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (asked() < 2 && std::chrono::steady_clock::now() < end) {
        hearItself();
        std::this_thread::yield();
    }
    for (int i = 0; i < 20; ++i) {
        hearItself();
    }
    EXPECT_EQ(asked(), 2);
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(DiscoveryInTimeTest, WhileNoTestRunsThePlatformIsAskedEveryTime) {
    select(false, true, false, false);
    engine().start();
    engine().stop();
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 55)});
    const int before = m_sockets.calls(ScriptedSocket::kResolve);
    receive(kMulticastListener, u"10.0.0.55", 1);
    receive(kMulticastListener, u"10.0.0.55", 2);
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kResolve) - before, 2);
}

}  // namespace
