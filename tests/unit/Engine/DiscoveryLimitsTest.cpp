// What a flood of senders, or a time of silence, does to discovered peers; at a time that the test alone moves.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>
#include <utility>

#include "EngineFixture.h"
#include "Patience.h"
#include "SocketForwarder.h"
#include "StillClock.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Lt;
using testing::Not;
using testing::SizeIs;

namespace {

// Keeps the labels of the rows that went.
class GivenUpUi : public RecordingUi {
public:
    void rowGivenUp(const PeerRowValues& row) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_givenUp.emplace_back(row.label().toAnsi());
    }
    std::vector<std::string> takeGivenUp() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_givenUp, {});
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_givenUp;
};

// Keeps datagrams to some addresses inside the call until the test lets them go.
class HeldDatagrams : public SocketForwarder {
public:
    void hold(const SPW_CIpAddress& address) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_held.push_back(address);
    }
    void letGo(const SPW_CIpAddress& address) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_held.erase(std::remove(m_held.begin(), m_held.end(), address), m_held.end());
        m_changed.notify_all();
    }
    bool waitForHeld(int count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_count == count; });
    }
    int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
               int size) override {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            ++m_count;
            m_changed.notify_all();
            m_changed.wait(lock, [&] { return std::find(m_held.begin(), m_held.end(), address) == m_held.end(); });
            --m_count;
        }
        return SocketForwarder::sendTo(socket, address, port, bytes, size);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<SPW_CIpAddress> m_held;
    int m_count = 0;  // of calls that are inside
};

// Does something, once, in the middle of the next close of a socket.
class SocketsThatAct : public SocketForwarder {
public:
    void actOnClose(std::function<void()> act) { m_act = std::move(act); }
    int close(SPW_Socket socket) override {
        const std::function<void()> act = std::exchange(m_act, nullptr);
        if (act) {
            act();
        }
        return SocketForwarder::close(socket);
    }

private:
    std::function<void()> m_act;
};

class DiscoveryLimitsTest : public EngineFixture {
protected:
    DiscoveryLimitsTest() {
        select(false, true, false, false);
        m_engine = std::make_unique<TestEngine>(&m_limitsUi, true);
    }
    ~DiscoveryLimitsTest() override { m_engine.reset(); }

    void limit(const char16_t* setting, int value) { m_registry.setSetting(setting, SPW_CString(value)); }
    void startTest() { engine().start(); }
    void hear(int sender, int sequence = 1) {
        const SPW_CString address = addressOf(sender);
        engine().onDataReceived(kUdpListener, 5009, address, sequence, u"v|");
    }
    void hearAll(int first, int last) {
        for (int sender = first; sender <= last; ++sender) {
            hear(sender);
        }
    }
    static SPW_CString addressOf(int sender) {
        return SPW_CString(u"10.1.") + sender / 250 + u"." + (sender % 250 + 1);
    }
    static std::string label(int sender) { return addressOf(sender).toAnsi(); }
    static SPW_CIpAddress ipAddressOf(int sender) {
        return {10, 1, static_cast<std::uint8_t>(sender / 250), static_cast<std::uint8_t>(sender % 250 + 1)};
    }
    // Passes so many seconds at once and waits until the engine's thread for time has noticed. The engine asks for its
    // networks then if only neighbours are discovered.
    void passNoticedSeconds(unsigned seconds) {
        const int before = m_network.adapterScript.fillings;
        m_clock.advanceMs(seconds * 1000);
        ASSERT_TRUE(soon([&] { return m_network.adapterScript.fillings > before; }));
    }
    void discoverOnlyNeighbours() {
        m_registry.setSetting(u"discover only neighbours", u"yes");
        m_network.adapterList.emplace_back();
        m_network.adapterList.back().addresses = {{"10.1.0.250", "255.255.0.0"}};
    }
    // The probes to that peer that have left so far.
    int probesTo(int sender) { return static_cast<int>(announcementsTo(ipAddressOf(sender)).size()); }
    // The listener's, and one of each row that has its probes.
    void waitForSockets(int count) {
        EXPECT_TRUE(soon([&] { return m_sockets.openSockets() == count; })) << m_sockets.openSockets();
    }
    // Passes seconds until the engine's thread for time has brought it about.
    template <typename Condition>
    void passSecondsUntil(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            m_clock.advanceMs(1000);
            ++m_seconds;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_TRUE(condition());
    }
    std::vector<std::string> discoveryLines() {
        std::vector<std::string> found;
        for (const std::string& line : endAndReadControlLines()) {
            if (line.find("discovered") != std::string::npos) {
                found.push_back(line);
            }
        }
        return found;
    }

    StillClock m_clock;
    GivenUpUi m_limitsUi;
    unsigned m_seconds = 0;  // that passSecondsUntil() has let pass
};

}  // namespace

// ---- How many

TEST_F(DiscoveryLimitsTest, AFullTableGivesUpTheOldestThatHasNeverAnswered) {
    limit(u"most discovered peers", 3);
    startTest();
    hearAll(1, 3);
    hear(1, 2);  // counted, and thereby an answer
    hear(4);
    EXPECT_THAT(labels(), ElementsAre(label(1), label(3), label(4)));
    EXPECT_THAT(m_limitsUi.takeGivenUp(), ElementsAre(label(2)));
    passSecondsUntil([&] { return probesTo(4) > 0; });
    waitForSockets(4);
}

TEST_F(DiscoveryLimitsTest, AFullTableOfPeersThatAnswerTakesNobodyIn) {
    limit(u"most discovered peers", 3);
    startTest();
    hearAll(1, 3);
    for (int sender = 1; sender <= 3; ++sender) {
        hear(sender, 2);
    }
    hear(4);
    EXPECT_THAT(labels(), ElementsAre(label(1), label(2), label(3)));
    EXPECT_THAT(m_limitsUi.takeGivenUp(), IsEmpty());
}

TEST_F(DiscoveryLimitsTest, NamedAndAddedPeersAreNotCountedAndNeverGivenUp) {
    limit(u"most discovered peers", 1);
    m_registry.setNamedPeer(u"printer", u"10.9.0.1");
    engine().addPeer(peer(u"10.9.0.2", u"added"));
    startTest();
    hear(1);
    hear(2);
    EXPECT_THAT(labels(), ElementsAre("10.9.0.2 (added)", "10.9.0.1 (printer)", label(2)));
}

TEST_F(DiscoveryLimitsTest, AGivenUpPeersNumberDoesNotComeAgainAndItIsDiscoveredAgainWhenItIsHeard) {
    limit(u"most discovered peers", 1);
    startTest();
    hear(1);
    hear(2);
    passSecondsUntil([&] { return probesTo(2) > 0; });
    passSecondsUntil([&] {
        hear(1);
        return labels() == std::vector<std::string>{label(1)};
    });
    EXPECT_GT(row(0).number, 2);
}

// The second peer makes room while the ticker waits for the end of the first one's probe.
TEST_F(DiscoveryLimitsTest, AGivenUpPeersLastWordsAreNotLoggedHoweverLongItsProbeTakesToEnd) {
    limit(u"most discovered peers", 2);
    discoverOnlyNeighbours();
    HeldDatagrams sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    startTest();
    sockets.hold(ipAddressOf(1));
    sockets.hold(ipAddressOf(2));
    hearAll(1, 2);
    ASSERT_TRUE(sockets.waitForHeld(2));
    hear(3);
    passNoticedSeconds(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    hear(4);
    sockets.letGo(ipAddressOf(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    sockets.letGo(ipAddressOf(2));
    passSecondsUntil([&] { return probesTo(3) > 0 && probesTo(4) > 0; });
    EXPECT_THAT(labels(), ElementsAre(label(3), label(4)));
    engine().stop();
    EXPECT_THAT(endAndReadLog(), Not(Contains(HasSubstr("SOCKET ERROR"))));
}

TEST_F(DiscoveryLimitsTest, WithoutALimitEverybodyHasARow) {
    for (const char16_t* setting : {u"most discovered peers", u"discoveries a second", u"discovery burst"}) {
        limit(setting, 0);
    }
    startTest();
    hearAll(1, 300);
    EXPECT_THAT(labels(), SizeIs(300));
}

TEST_F(DiscoveryLimitsTest, AResetMeetsEveryRowThatIsLeft) {
    limit(u"most discovered peers", 3);
    startTest();
    hearAll(1, 5);
    m_limitsUi.take();
    engine().resetStatistics();
    EXPECT_THAT(m_limitsUi.take(), SizeIs(3 * kProtocols));
}

// ---- How fast

TEST_F(DiscoveryLimitsTest, AFloodIsAdmittedAsABurstAndThenSoManyASecond) {
    limit(u"discoveries a second", 5);
    limit(u"discovery burst", 20);
    startTest();
    hearAll(1, 200);
    EXPECT_THAT(labels(), SizeIs(20));
    passSecondsUntil([&] {
        hearAll(1, 200);
        return labels().size() > 20;
    });
    EXPECT_THAT(labels(), SizeIs(Lt(21U + 5U * m_seconds)));
}

// Without probes, since a thousand threads that look at a scripted clock take their time.
TEST_F(DiscoveryLimitsTest, AThousandDevicesThatAppearWithinAMinuteAreAllFound) {
    select(false, false, false, false);
    discoverOnlyNeighbours();
    startTest();
    for (int sender = 0; sender < 1020; ++sender) {
        hear(sender);
        if (sender % 17 == 16) {
            passNoticedSeconds(1);
        }
    }
    EXPECT_THAT(labels(), SizeIs(1020));
    EXPECT_THAT(m_limitsUi.takeGivenUp(), IsEmpty());
}

// The pace ends with the ticker, and the listeners hear on until they are stopped.
TEST_F(DiscoveryLimitsTest, NobodyIsAdmittedAnyMoreWhileATestStops) {
    limit(u"discoveries a second", 1000);
    limit(u"discovery burst", 1000);
    SocketsThatAct sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    startTest();
    hear(1);
    sockets.actOnClose([&] {
        hearAll(2, 50);
        hear(1, 2);
    });
    engine().stop();
    EXPECT_THAT(labels(), ElementsAre(label(1)));
    EXPECT_EQ(row(0).counts[kUdp].total, 1) << "known ones are counted to the end";
    EXPECT_THAT(discoveryLines(), SizeIs(1));
}

TEST_F(DiscoveryLimitsTest, ADeviceThatWasLeftOutIsFoundByALaterProbe) {
    limit(u"discoveries a second", 1);
    limit(u"discovery burst", 1);
    startTest();
    hear(1);
    hear(2);
    EXPECT_THAT(labels(), ElementsAre(label(1)));
    passSecondsUntil([&] {
        hear(2, 2);
        return labels().size() == 2;
    });
}

// ---- Their lines

TEST_F(DiscoveryLimitsTest, TenDiscoveriesOfASecondHaveTheirLineAndTheOthersOneTogether) {
    startTest();
    hearAll(1, 40);
    passSecondsUntil([&] { return probesTo(40) > 0; });
    engine().stop();
    const std::vector<std::string> lines = endAndReadControlLines();
    for (int sender = 1; sender <= 40; ++sender) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "New device discovered: address " + label(sender)),
                  sender <= 10 ? 1 : 0);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "Created VTR_CUdpConnector to " + label(sender)),
                  sender <= DiscoveryPace::kAtOnceASecond ? 1 : 0);
    }
    EXPECT_THAT(lines, Contains("30 more devices discovered"));
}

TEST_F(DiscoveryLimitsTest, WhatHasNoLineWhenTheTestStopsIsToldThen) {
    startTest();
    hearAll(1, 12);
    engine().stop();
    const std::vector<std::string> lines = discoveryLines();
    EXPECT_THAT(lines, SizeIs(11));
    EXPECT_EQ(lastOf(lines), "2 more devices discovered");
}

TEST_F(DiscoveryLimitsTest, WithoutALimitOfLinesEachDiscoveryHasItsOwnAtOnce) {
    limit(u"discovery lines a second", 0);
    startTest();
    hearAll(1, 30);
    EXPECT_THAT(discoveryLines(), AllOf(SizeIs(30), Not(Contains(HasSubstr("more")))));
}

// ---- How long

TEST_F(DiscoveryLimitsTest, ASilentDiscoveredPeerLosesItsProbesAndKeepsItsRow) {
    limit(u"rest after silent seconds", 3);
    m_registry.setNamedPeer(u"printer", u"10.9.0.1");
    startTest();
    hear(1);
    hear(1, 2);
    waitForSockets(3);
    passSecondsUntil([&] { return m_sockets.openSockets() == 2; });
    EXPECT_THAT(labels(), ElementsAre("10.9.0.1 (printer)", label(1)));
    EXPECT_EQ(row(1).counts[kUdp].total, 1);
    EXPECT_THAT(endAndReadControlLines(), Contains("Silent devices that are not probed until they are heard: 1"));
}

TEST_F(DiscoveryLimitsTest, APeerThatRestsIsProbedAgainWhenItIsHeard) {
    limit(u"rest after silent seconds", 3);
    startTest();
    hear(1);
    waitForSockets(2);
    passSecondsUntil([&] { return m_sockets.openSockets() == 1; });
    const int before = probesTo(1);
    hear(1, 2);
    EXPECT_EQ(row(0).counts[kUdp].total, 1) << "the probe that wakes it is counted";
    int sequence = 2;
    passSecondsUntil([&] {
        hear(1, ++sequence);
        return probesTo(1) > before + 1;
    });
    EXPECT_EQ(row(0).counts[kUdp].lost, 0);
    EXPECT_THAT(labels(), ElementsAre(label(1)));
    EXPECT_THAT(endAndReadControlLines(), Contains("Devices that are heard and probed again: 1"));
}

TEST_F(DiscoveryLimitsTest, PeersThatRestAreTakenUpAtThePaceOfDiscoveries) {
    limit(u"rest after silent seconds", 3);
    limit(u"discoveries a second", 1);
    limit(u"discovery burst", 1);
    startTest();
    hear(1);
    passSecondsUntil([&] {
        hear(2);
        return labels().size() == 2;
    });
    waitForSockets(3);
    passSecondsUntil([&] { return m_sockets.openSockets() == 1; });
    const int before[] = {probesTo(1), probesTo(2)};
    hear(1, 2);
    hear(2, 2);
    m_clock.advanceMs(1000);
    EXPECT_TRUE(soon([&] { return probesTo(1) > before[0]; }));
    EXPECT_EQ(probesTo(2), before[1]) << "the pace has left it out";
    int sequence = 2;
    passSecondsUntil([&] {
        hear(2, ++sequence);
        return probesTo(2) > before[1];
    });
}

TEST_F(DiscoveryLimitsTest, SecondsThatTheTickerWasHeldUpAreSilentOnesToo) {
    limit(u"rest after silent seconds", 10);
    discoverOnlyNeighbours();
    startTest();
    hear(1);
    waitForSockets(2);
    passNoticedSeconds(1);
    passNoticedSeconds(9);
    waitForSockets(1);
}

TEST_F(DiscoveryLimitsTest, APeerThatIsHeardDoesNotRest) {
    limit(u"rest after silent seconds", 4);
    startTest();
    hear(1);
    for (int second = 0; second < 20; ++second) {
        hear(1, second);
        m_clock.advanceMs(1000);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Not(Contains(HasSubstr("Silent devices"))));
}

TEST_F(DiscoveryLimitsTest, NobodyRestsWithinAHundredPeriods) {
    limit(u"rest after silent seconds", 1);
    limit(u"frequency qty", 100);  // milliseconds: ten seconds
    startTest();
    hear(1);
    for (int second = 0; second < 8; ++second) {
        m_clock.advanceMs(1000);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    waitForSockets(2);
    passSecondsUntil([&] { return m_sockets.openSockets() == 1; });
}

TEST_F(DiscoveryLimitsTest, AFullTableOfPeersThatAnsweredGivesUpOneThatRests) {
    limit(u"rest after silent seconds", 3);
    limit(u"most discovered peers", 2);
    startTest();
    hear(1);
    hear(1, 2);
    hear(2);
    hear(2, 2);
    waitForSockets(3);
    passSecondsUntil([&] { return m_sockets.openSockets() == 1; });
    hear(3);
    EXPECT_THAT(labels(), ElementsAre(label(2), label(3)));
    EXPECT_THAT(m_limitsUi.takeGivenUp(), ElementsAre(label(1)));
}

// ---- From where

TEST_F(DiscoveryLimitsTest, OnlyNeighboursAreDiscoveredWhereThatIsSet) {
    m_registry.setSetting(u"discover only neighbours", u"yes");
    m_network.adapterList.emplace_back();
    m_network.adapterList.back().addresses = {{"10.1.0.250", "255.255.255.0"}};
    startTest();
    hear(1);    // 10.1.0.2
    hear(300);  // 10.1.1.51
    EXPECT_THAT(labels(), ElementsAre(label(1)));
}

// ---- All at once

TEST_F(DiscoveryLimitsTest, ListenersThatFightForTheLastRowsBreakNothing) {
    limit(u"most discovered peers", 5);
    limit(u"rest after silent seconds", 1);
    limit(u"discoveries a second", 1000);
    limit(u"discovery burst", 1000);
    limit(u"frequency qty", 1);
    select(false, true, true, true);
    startTest();
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] {
            for (int sender = i; !isOver; sender = (sender + 7) % 400) {
                hear(sender, sender);
                EXPECT_THAT(labels(), SizeIs(Lt(6U)));
            }
        });
    }
    for (int second = 0; second < 60; ++second) {
        m_clock.advanceMs(1000);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        engine().resetStatistics();
    }
    engine().stop();
    engine().start();
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    m_engine.reset();
    EXPECT_EQ(m_sockets.openSockets(), 0);
}
