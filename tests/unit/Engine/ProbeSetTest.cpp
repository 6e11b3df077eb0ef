#include "ProbeSet.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedIcmp.h"
#include "ScriptedSocket.h"
#include "VTR_CMulticastConnector.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CPinger.h"
#include "VTR_CTcpipConnector.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpConnector.h"
#include "VTR_CUdpListener.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr std::size_t kProbeSizes[] = {
    sizeof(VTR_CUdpConnector),       sizeof(VTR_CTcpipConnector),    sizeof(VTR_CPinger),
    sizeof(VTR_CMulticastConnector), sizeof(VTR_CMulticastListener), sizeof(VTR_CUdpListener),
    sizeof(VTR_CTcpipListener)};
// While it is set, there is no memory for a probe.
std::atomic<bool> isMemoryShort{false};

}  // namespace

// Probes are made with the operator that returns null if there is no memory.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    const bool isProbe = std::find(std::begin(kProbeSizes), std::end(kProbeSizes), size) != std::end(kProbeSizes);
    return isMemoryShort && isProbe ? nullptr : ::operator new(size);
}

namespace {

// Keeps what the set tells, in order; a test may look on while it is told.
class RecordingOwner : public ProbeSet::Owner {
public:
    void onProbeLine(const SPW_CString& line) override {
        const std::string text(line.toAnsi());
        if (m_onLine) {
            m_onLine(text);
        }
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_lines.push_back(text);
    }
    void onProbeNotMade(const ProbeNotMade& probe) override { onProbeLine(probe.what + u" not made: " + probe.why); }
    void onListenerNotStarted(Protocol, const SPW_CString& errorText) override {
        onProbeLine(SPW_CString(u"told: ") + errorText);
    }

    void setOnLine(std::function<void(const std::string&)> onLine) { m_onLine = std::move(onLine); }
    // What was told since the last call.
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_lines, {});
    }

private:
    std::function<void(const std::string&)> m_onLine;
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

// A set on a network in memory. Every address answers pings. A period is longer than any test.
class ProbeSetTest : public testing::Test {
protected:
    ProbeSetTest() {
        plan.udp = plan.tcp = plan.ping = true;
        plan.port = 5009;
        plan.periodMs = 3600000;
        plan.overheadBytes = 32;
        plan.announcement = u"Version 1|me";
        plan.multicastGroup = u"228.227.226.225";
        plan.multicastPort = 7550;
        plan.multicastTtl = 1;
        peer.address = u"10.0.0.7";
        peer.row = 1;
    }

    // Stops what startSending() and startListening() have started.
    void stop() {
        set.stopListening();
        set.close();
        set.stopSending();
    }

    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> socketsInstalled{sockets};
    ScriptedIcmp icmp;
    ScopedInstance<SPW_CIcmp> icmpInstalled{icmp};
    RecordingSink sink;
    RecordingOwner owner;
    ProbePlan plan;
    ProbedPeer peer;
    ProbeSet set{sink, owner};
};

}  // namespace

// ---- Making

TEST_F(ProbeSetTest, APeerGetsAProbeOfEachKindInOneOrder) {
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.take(),
                ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                            "Created VTR_CPinger to 10.0.0.7"));
}

TEST_F(ProbeSetTest, OnlyWhatPlanAndPeerBothWantIsMade) {
    plan.udp = false;
    peer.tcp = false;
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.take(), ElementsAre("Created VTR_CPinger to 10.0.0.7"));
    peer.tcp = true;
    plan.ping = false;
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.take(), ElementsAre("Created VTR_CTcpipConnector to 10.0.0.7"));
}

TEST_F(ProbeSetTest, TheGroupsConnectorComesBeforeTheListeners) {
    plan.multicast = true;
    set.makeGroupProbes(plan);
    EXPECT_THAT(owner.take(), ElementsAre("Created VTR_CMulticastConnector", "Created VTR_CMulticastListener",
                                          "Created VTR_CUdpListener", "Created VTR_CTcpipListener"));
}

TEST_F(ProbeSetTest, WithoutATestProbesAreMadeButNotStarted) {
    for (const ProbedPeer::Manner manner : {ProbedPeer::kAdded, ProbedPeer::kDiscovered}) {
        peer.manner = manner;
        set.makePeerProbes(peer, plan);
    }
    owner.take();
    set.stopSending();
    EXPECT_THAT(owner.take(), Contains("StopSending failed returned Not currently sending").Times(4));
    EXPECT_THAT(icmp.requests(), IsEmpty());
}

TEST_F(ProbeSetTest, AnAddedPeersProbeIsAnnouncedBeforeItStarts) {
    plan.udp = plan.tcp = false;
    peer.isTestRunning = true;
    owner.setOnLine([this](const std::string&) { EXPECT_THAT(icmp.requests(), IsEmpty()); });
    set.makePeerProbes(peer, plan);
    icmp.waitForRequests(1);
    EXPECT_THAT(owner.take(), ElementsAre("Created VTR_CPinger to 10.0.0.7"));
}

TEST_F(ProbeSetTest, ADiscoveredPeersProbeIsAnnouncedAfterItHasStarted) {
    plan.udp = plan.tcp = false;
    peer.isTestRunning = true;
    peer.manner = ProbedPeer::kDiscovered;
    owner.setOnLine([this](const std::string&) { icmp.waitForRequests(1); });
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.take(), ElementsAre("Created VTR_CPinger to 10.0.0.7"));
}

TEST_F(ProbeSetTest, AProbeWithoutMemoryIsToldAndLeftOut) {
    plan.multicast = true;
    peer.isTestRunning = true;
    isMemoryShort = true;
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(
        owner.take(),
        ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "VTR_CUdpConnector to 10.0.0.7 not made: memory failed 8",
                    "Created VTR_CTcpipConnector to 10.0.0.7",
                    "VTR_CTcpipConnector to 10.0.0.7 not made: memory failed 8", "Created VTR_CPinger to 10.0.0.7",
                    "VTR_CPinger to 10.0.0.7 not made: memory failed 8"));
    peer.manner = ProbedPeer::kDiscovered;
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.take(), SizeIs(6));
    set.makeGroupProbes(plan);
    EXPECT_THAT(owner.take(),
                ElementsAre("Created VTR_CMulticastConnector", "VTR_CMulticastConnector not made: memory failed 8",
                            "told: multicast listener : memory failed 8", "Created VTR_CMulticastListener",
                            "told: udp listener : memory failed 8", "Created VTR_CUdpListener",
                            "told: tcpip listener : memory failed 8", "Created VTR_CTcpipListener"));
    isMemoryShort = false;
    set.startSending();
    set.startListening();
    stop();
    set.destroyAll();
    EXPECT_THAT(owner.take(), IsEmpty());
}

// ---- Starting and stopping

TEST_F(ProbeSetTest, ConnectorsAreStartedBeforePingersAndAPingersTextIsThatOfTheConnectorAtItsIndex) {
    plan.tcp = false;
    set.makePeerProbes(peer, plan);
    set.close();
    set.startSending();
    owner.take();
    set.startSending();  // refused by each, and a connector leaves no text then
    EXPECT_THAT(owner.take(), ElementsAre("StartSending failed returned ", "StartPinging failed returned "));
    set.stopSending();
    EXPECT_THAT(owner.take(), IsEmpty());
    set.stopSending();
    EXPECT_THAT(owner.take(), ElementsAre("StopSending failed returned Not currently sending",
                                          "StopPinging failed returned Not currently sending"));
}

TEST_F(ProbeSetTest, AListenerWithoutItsPortIsToldAndTheOthersListen) {
    ASSERT_EQ(sockets.bind(sockets.openUdp(), 5009), 0);
    set.makeGroupProbes(plan);
    owner.take();
    set.startListening();
    EXPECT_THAT(owner.take(), ElementsAre(StartsWith("told: udp listener : "),
                                          StartsWith("StartListening failed returned udp listener : ")));
    stop();
    EXPECT_THAT(owner.take(), ElementsAre(StartsWith("StopListening failed returned udp listener : ")));
}

TEST_F(ProbeSetTest, WhatIsDestroyedIsForgotten) {
    set.makePeerProbes(peer, plan);
    set.makeGroupProbes(plan);
    set.startSending();
    owner.take();
    set.destroyAll();
    set.startSending();
    set.startListening();
    stop();
    EXPECT_THAT(owner.take(), IsEmpty());
}

// ---- Retiring

class RetiredProbesTest : public ProbeSetTest {
protected:
    RetiredProbesTest() {
        plan.udp = plan.tcp = false;
        for (const std::int32_t row : {1, 2, 3}) {
            peer.row = row;
            peer.address = SPW_CString(u"10.0.0.") + row;
            set.makePeerProbes(peer, plan);
        }
        owner.take();
    }
    static SPW_CArray<std::int32_t> rows(std::initializer_list<std::int32_t> numbers) {
        SPW_CArray<std::int32_t> array;
        for (const std::int32_t number : numbers) {
            array.append(number);
        }
        return array;
    }
    // How many probes there are that are not started.
    int idleProbes() {
        set.stopSending();
        return static_cast<int>(owner.take().size());
    }
};

TEST_F(RetiredProbesTest, TheOthersStay) {
    set.retire(rows({1, 3}));
    EXPECT_EQ(idleProbes(), 1);
    set.retire(rows({2}));
    EXPECT_EQ(idleProbes(), 0);
}

TEST_F(RetiredProbesTest, ARowWithoutProbesHasNoneToRetire) {
    set.retire(rows({4, 5}));
    EXPECT_EQ(idleProbes(), 3);
}

TEST_F(RetiredProbesTest, AProbeEndsAtOnceThoughItsPingIsStillOut) {
    peer.row = 4;
    peer.address = u"10.0.0.4";
    peer.isTestRunning = true;
    icmp.setHeld(true);
    set.makePeerProbes(peer, plan);
    icmp.waitForRequests(1);
    set.retire(rows({4}));
    set.destroyRetired();
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(RetiredProbesTest, TheEndOfTheSetDestroysWhatIsRetired) {
    set.retire(rows({1, 2, 3}));
    set.destroyAll();
    EXPECT_EQ(idleProbes(), 0);
}

// ---- Guests

TEST_F(ProbeSetTest, AClosedSetRefusesGuestsUntilItIsOpened) {
    EXPECT_FALSE(set.isClosed());
    set.close();
    EXPECT_TRUE(set.isClosed());
    EXPECT_FALSE(set.enter());
    set.open();
    EXPECT_TRUE(set.enter());
    set.leave();
}

TEST_F(ProbeSetTest, ADestructionClosesIt) {
    set.destroyAll();
    EXPECT_FALSE(set.enter());
}

TEST_F(ProbeSetTest, CloseWaitsForTheGuestsInside) {
    ASSERT_TRUE(set.enter());
    ASSERT_TRUE(set.enter());
    std::atomic<bool> isAlone{false};
    std::thread closer([&] {
        set.close();
        isAlone = true;
    });
    while (!set.isClosed()) {
        std::this_thread::yield();
    }
    set.makePeerProbes(peer, plan);
    set.leave();
    EXPECT_FALSE(isAlone);
    set.leave();
    closer.join();
    set.stopSending();
    EXPECT_THAT(owner.take(), Contains("StopPinging failed returned Not currently sending"));
}
