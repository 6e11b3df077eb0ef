// What the engine does beside the counting: it feeds the rows' records, looks at them once a second and tells.

#include <atomic>

#include "EngineFixture.h"
#include "Patience.h"
#include "StillClock.h"

using testing::IsEmpty;
using testing::SizeIs;

namespace {

// A clock of the test's own. The engine's thread for time reads the wall clock once a second, before anything else; a
// second that has been read is thus the end of the one before it.
class TickedClock : public StillClock {
public:
    std::uint64_t wall100ns() override {
        ++m_readings;
        return StillClock::wall100ns();
    }
    std::uint32_t readings() const { return m_readings; }

private:
    std::atomic<std::uint32_t> m_readings{0};
};

// Keeps the states that rows were told to have, as texts "label state".
class StateUi : public RecordingUi {
public:
    void rowStateChanged(const PeerRowValues& row) override {
        const std::lock_guard<std::mutex> guard(m_statesMutex);
        m_states.push_back(row.label().toAnsi() + std::string(" ") +
                           std::to_string(static_cast<int>(row.summary.state)));
    }
    std::vector<std::string> states() {
        const std::lock_guard<std::mutex> guard(m_statesMutex);
        return m_states;
    }

private:
    std::mutex m_statesMutex;
    std::vector<std::string> m_states;
};

class EngineInsightTest : public EngineFixture {
protected:
    EngineInsightTest() {
        select(false, true, false, false);
        m_registry.setSetting(u"frequency qty", u"1");
        m_registry.setSetting(u"frequency units", u"seconds");
        m_engine = std::make_unique<TestEngine>(&m_stateUi, false);
    }
    ~EngineInsightTest() override { m_engine.reset(); }

    // A probe of this peer comes each second, unless it is said that none does.
    void passSeconds(int seconds, bool isHeard = true) {
        for (int i = 0; i < seconds; ++i) {
            if (isHeard) {
                receive(kUdpListener, u"10.0.0.2", m_sequence);
            }
            ++m_sequence;
            const std::uint32_t readings = m_clock.readings();
            m_clock.advanceMs(1000);
            ASSERT_TRUE(soon([&] { return m_clock.readings() > readings; }));
        }
    }
    PeerInsightValues insight() {
        PeerInsightValues values;
        EXPECT_TRUE(engine().insight(row(0).number, values));
        return values;
    }
    bool isSoon(KindState state) {
        return soon([&] { return insight().kinds[kUdp].state == state; });
    }
    std::vector<InsightEvent::Type> eventTypes() {
        SPW_CArray<InsightEvent> events;
        (void)engine().eventsAfter(0, events);
        std::vector<InsightEvent::Type> types;
        for (int i = 0; i < events.numberOfElements(); ++i) {
            types.push_back(events[i].type);
        }
        return types;
    }

    TickedClock m_clock;
    StateUi m_stateUi;
    std::int32_t m_sequence = 0;
};

}  // namespace

TEST_F(EngineInsightTest, APeerThatFallsSilentAndComesBackIsToldWithTheTimesOfBoth) {
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    passSeconds(5);
    const std::uint64_t lastHeard = m_clock.now100ns() - kOneSecond100ns;
    passSeconds(10, false);
    ASSERT_TRUE(isSoon(KindState::kSilent));
    EXPECT_EQ(insight().kinds[kUdp].since.monotonic100ns, lastHeard);
    EXPECT_EQ(row(0).summary.state, PeerState::kSilent);
    const std::uint64_t back = m_clock.now100ns();
    passSeconds(5);
    ASSERT_TRUE(isSoon(KindState::kOk));
    EXPECT_EQ(insight().kinds[kUdp].since.monotonic100ns, back);
    EXPECT_EQ(insight().outage[0].missed, 10u);
    EXPECT_THAT(m_stateUi.states(), testing::ElementsAre("10.0.0.2 (a) 2", "10.0.0.2 (a) 5", "10.0.0.2 (a) 2"));
}

TEST_F(EngineInsightTest, ADiscoveredPeerIsWatchedAndAnEvent) {
    engine().start();
    passSeconds(3);
    ASSERT_TRUE(isSoon(KindState::kOk));
    EXPECT_EQ(eventTypes().at(0), InsightEvent::kDiscovered);
}

TEST_F(EngineInsightTest, ARowThatMakesRoomIsAnEvent) {
    m_registry.setSetting(u"most discovered peers", u"1");
    engine().start();
    receive(kUdpListener, u"10.0.0.2", 1);
    receive(kUdpListener, u"10.0.0.3", 1);
    EXPECT_THAT(eventTypes(),
                testing::ElementsAre(InsightEvent::kDiscovered, InsightEvent::kGivenUp, InsightEvent::kDiscovered));
    PeerInsightValues values;
    EXPECT_FALSE(engine().insight(1, values));
}

TEST_F(EngineInsightTest, ResetSetsFiguresToZeroAndKeepsTheState) {
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    passSeconds(5);
    ASSERT_TRUE(isSoon(KindState::kOk));
    engine().resetStatistics();
    EXPECT_EQ(insight().kinds[kUdp].received, 0u);
    EXPECT_EQ(insight().kinds[kUdp].state, KindState::kOk);
    EXPECT_THAT(eventTypes(), SizeIs(2));
}

TEST_F(EngineInsightTest, AStopFreezesAndAStartBeginsAnew) {
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    passSeconds(5);
    ASSERT_TRUE(isSoon(KindState::kOk));
    EXPECT_FALSE(insight().isFrozen);
    engine().stop();
    m_clock.advanceMs(60000);
    EXPECT_TRUE(insight().isFrozen);
    EXPECT_EQ(insight().kinds[kUdp].state, KindState::kOk);
    engine().start();
    EXPECT_THAT(eventTypes(), IsEmpty());
    EXPECT_EQ(insight().kinds[kUdp].state, KindState::kWaiting);
}

TEST_F(EngineInsightTest, NothingIsExpectedOfASecondRowWithTheSameAddress) {
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().addPeer(peer(u"10.0.0.2", u"b"));
    engine().start();
    passSeconds(8);
    EXPECT_EQ(row(0).summary.state, PeerState::kReachable);
    EXPECT_EQ(row(1).summary.state, PeerState::kNone);
}

TEST_F(EngineInsightTest, MulticastIsNotExpectedOfAPeerThatIsAddedToBePingedAlone) {
    select(true, true, true, true);
    engine().start();
    engine().addPeer(PeerRecord{u"10.0.0.2", u"router", false, false, true});
    engine().addPeer(PeerRecord{u"10.0.0.3", u"device", true, false, false});
    PeerInsightValues values;
    ASSERT_TRUE(engine().insight(row(0).number, values));
    EXPECT_EQ(values.kinds[kPing].state, KindState::kWaiting);
    EXPECT_EQ(values.kinds[kMulticast].state, KindState::kNone);
    EXPECT_EQ(values.kinds[kUdp].state, KindState::kNone);
    ASSERT_TRUE(engine().insight(row(1).number, values));
    EXPECT_EQ(values.kinds[kMulticast].state, KindState::kWaiting);
    EXPECT_EQ(values.kinds[kTcpip].state, KindState::kNone);
    EXPECT_EQ(values.kinds[kPing].state, KindState::kNone);
}

TEST_F(EngineInsightTest, AKindWhoseListenerCannotListenHasNoState) {
    select(false, true, true, false);
    m_sockets.failNext(ScriptedSocket::kListen, kSockAddressInUse);
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    EXPECT_EQ(insight().kinds[kTcpip].state, KindState::kNone);
    EXPECT_EQ(insight().kinds[kUdp].state, KindState::kWaiting);
}

TEST_F(EngineInsightTest, ARepliesTimeReachesTheRowsSummary) {
    select(false, false, false, true);
    m_icmp.setReply(2500, 62);
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    ASSERT_TRUE(soon([&] { return row(0).summary.roundTrips > 0; }));
    EXPECT_EQ(row(0).summary.lastRoundTrip100ns, 25000u);
}

TEST_F(EngineInsightTest, AConnectionThatIsRefusedIsTheWayOutOfItsRow) {
    select(false, false, true, false);
    m_sockets.failNext(ScriptedSocket::kConnect, kSockRefused);
    engine().addPeer(peer(u"10.0.0.2", u"a"));
    engine().start();
    ASSERT_TRUE(soon([&] { return insight().kinds[kTcpip].out.state == SendState::kRefused; }));
    EXPECT_EQ(insight().kinds[kTcpip].out.lastError, kSockRefused);
}
