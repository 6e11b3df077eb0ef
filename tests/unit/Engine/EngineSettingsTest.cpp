#include <algorithm>
#include <array>
#include <cstddef>

#include "EngineFixture.h"
#include "Patience.h"
#include "StillClock.h"

using testing::Contains;
using testing::Each;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr SPW_CIpAddress kPeer(10, 0, 0, 7);
constexpr SPW_CIpAddress kGroup(228, 227, 226, 225);

// Counts the probes that are within a few milliseconds of their time: they sleep for the shortest time that there is.
class ClockThatKnowsTheImpatient : public StillClock {
public:
    void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) override {
        if (milliseconds == 0) {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_impatient.insert(&wake);
        }
        StillClock::sleepTowards(due100ns, milliseconds, wake);
    }
    std::size_t impatientThreads() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_impatient.size();
    }

private:
    std::mutex m_mutex;
    std::set<VTR_CEvent*> m_impatient;
};

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
    std::ptrdiff_t sentTo(const SPW_CIpAddress& address) {
        const std::vector<ScriptedSocket::Sent> sent = m_sockets.sent();
        return std::count_if(sent.begin(), sent.end(),
                             [&](const ScriptedSocket::Sent& each) { return each.address == address; });
    }
    // How many probes have left so far: multicast, UDP, TCP, ping.
    std::array<std::ptrdiff_t, 4> sentOfEachKind() {
        const std::ptrdiff_t tcp = m_sockets.calls(ScriptedSocket::kSend);
        return {sentTo(kGroup), sentTo(kPeer) - tcp, tcp, static_cast<std::ptrdiff_t>(m_icmp.requests().size())};
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
    select(true, true, true, true);
    m_sockets.listenAt(kPeer, 5009);
    ClockThatKnowsTheImpatient clock;
    engine().start();
    EXPECT_TRUE(soon([this] { return sentOfEachKind() == std::array<std::ptrdiff_t, 4>{1, 1, 1, 1}; }));
    clock.advanceMs(19999);
    EXPECT_TRUE(soon([&clock] { return clock.impatientThreads() == 4; })) << "each has looked at the new time";
    EXPECT_THAT(sentOfEachKind(), Each(1));
    clock.advanceMs(1);
    EXPECT_TRUE(soon([this] { return sentOfEachKind() == std::array<std::ptrdiff_t, 4>{2, 2, 2, 2}; }));
    m_engine.reset();
}

// Without a pause: the settings have a unit that nobody knows.
class NoPauseTest : public SettingsInUseTest {
protected:
    static constexpr const char* kNoPause =
        "the settings \"frequency qty\" and \"frequency units\" make no time above 0 (units are milliseconds, seconds, "
        "minutes, hours and days): probes leave without a pause";

    NoPauseTest() {
        m_registry.setSetting(u"frequency units", u"weeks");
        select(true, true, false, false);
    }
    // The probes' threads use the clock until their end.
    ~NoPauseTest() override { m_engine.reset(); }

    void awaitSentTo(const SPW_CIpAddress& address, std::ptrdiff_t count) {
        ASSERT_TRUE(soon([&] { return sentTo(address) >= count; }));
    }

    StillClock m_clock;
};

TEST_F(NoPauseTest, MulticastHasAMillisecondBetweenTwoProbesAllTheSame) {
    engine().start();
    awaitSentTo(kGroup, 1);
    awaitSentTo(kPeer, 200);
    EXPECT_EQ(sentTo(kGroup), 1) << "time stands still";
    m_clock.advanceMs(1);
    awaitSentTo(kGroup, 2);
    awaitSentTo(kPeer, sentTo(kPeer) + 200);
    EXPECT_EQ(sentTo(kGroup), 2);
}

TEST_F(NoPauseTest, MulticastFloodsWhereThatIsAllowed) {
    m_registry.setSetting(u"allow flooding", u"yes");
    engine().start();
    awaitSentTo(kGroup, 200);
}

TEST_F(NoPauseTest, IsToldBeforeTheFirstStartAndOnce) {
    EXPECT_THAT(problems(), Contains(kNoPause));
    engine().start();
    EXPECT_THAT(problems(), Not(Contains(kNoPause)));
    engine().stop();
    m_registry.setSetting(u"frequency units", u"milliseconds");
    engine().start();
    EXPECT_THAT(problems(), Not(Contains(kNoPause)));
    engine().stop();
    m_registry.setSetting(u"frequency qty", u"0");
    engine().start();
    EXPECT_THAT(problems(), Contains(kNoPause));
}

TEST_F(NoPauseTest, IsToldAtTheStartAlthoughARetryOfTheLogHasReadTheSettingsBefore) {
    m_registry.setSetting(u"frequency units", u"milliseconds");
    m_registry.setSetting(u"log filename", m_folder.path("missing/log.txt"));
    engine();
    m_registry.setSetting(u"frequency units", u"weeks");
    engine().retryLog();
    engine().start();
    EXPECT_THAT(problems(), Contains(kNoPause));
}

}  // namespace
