#include <gmock/gmock.h>

#include <algorithm>

#include "SPW_CSysError.h"
#include "TcpListenerFixture.h"

// What a TCP listener does with connections that say nothing, and when more come than it watches.

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const SPW_CIpAddress kHonest(10, 0, 0, 2);

class TcpCrowdTest : public TcpListenerFixture {
protected:
    void SetUp() override { start(); }
    // Connections from addresses of their own.
    std::vector<SPW_Socket> connectMany(int count) {
        std::vector<SPW_Socket> clients;
        for (int i = 0; i < count; ++i) {
            clients.push_back(
                connect(SPW_CIpAddress(10, 1, static_cast<std::uint8_t>(i / 250), static_cast<std::uint8_t>(i % 250))));
        }
        return clients;
    }
    void departAfterProbe(SPW_Socket client) {
        settle([&] { send(client, probe(1)); });
        departAll({client});
    }
    void departAll(const std::vector<SPW_Socket>& clients) {
        for (const SPW_Socket client : clients) {
            settle([&] { sockets.close(client); });
        }
    }
    // Time passes, and the listener looks at its clients if it has a reason.
    void passMs(std::uint64_t milliseconds) {
        clock.advanceMs(milliseconds);
        settle([&] { sockets.expireSelects(); });
    }
    // Whether the listener's present wait has a limit.
    bool looksStill() { return sockets.latestSelectMs() != kSPWForever; }
    bool isClosed(SPW_Socket client) {
        SPW_CSocketSet set;
        set.add(client);
        return sockets.select(&set, nullptr, 0) == 1;
    }
    int numberClosed(const std::vector<SPW_Socket>& clients) {
        int closed = 0;
        for (const SPW_Socket client : clients) {
            closed += isClosed(client) ? 1 : 0;
        }
        return closed;
    }
};

const std::string kUnwatched = "connection is not watched while 63 older ones last (said only once)";

}  // namespace

TEST_F(TcpCrowdTest, ASilentConnectionGivesWayAtOnceToANewcomer) {
    const std::vector<SPW_Socket> silent = connectMany(63);
    clock.advanceMs(10000);
    const SPW_Socket newcomer = connect(kHonest);
    EXPECT_EQ(numberClosed(silent), 63) << "all of them have been silent for too long";
    send(newcomer, probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpCrowdTest, AConnectionThatNeverSendsAProbeIsClosedWithoutAWordThoughThereIsRoom) {
    const SPW_Socket silent = connect(SPW_CIpAddress(10, 1, 0, 1));
    const SPW_Socket noisy = connect(SPW_CIpAddress(10, 1, 0, 2));
    settle([&] { send(noisy, "no probe"); });
    passMs(9000);
    EXPECT_EQ(numberClosed({silent, noisy}), 0);
    passMs(2000);
    EXPECT_EQ(numberClosed({silent, noisy}), 2);
    EXPECT_EQ(sockets.openSockets(), 1);
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(TcpCrowdTest, AConnectionThatHasSentOneProbeMayBeSilentForEverWhileThereIsRoom) {
    const std::vector<SPW_Socket> clients = connectMany(63);
    for (const SPW_Socket client : clients) {
        settle([&] { send(client, probe(1)); });
    }
    passMs(3600 * 1000);
    EXPECT_FALSE(looksStill());
    EXPECT_EQ(numberClosed(clients), 0);
    sink.take();
    send(clients[7], probe(2));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.1.0.7 #2: n"));
}

TEST_F(TcpCrowdTest, ANewcomerThatSpeaksIsServedHalfASecondAfterASilentOneHasCome) {
    const std::vector<SPW_Socket> silent = connectMany(63);
    const SPW_Socket newcomer = connect(kHonest);
    send(newcomer, probe(1));
    passMs(499);
    EXPECT_THAT(sink.take(), ElementsAre("error 1 5009 10.0.0.2 10024: " + kUnwatched));
    passMs(100);
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
    EXPECT_EQ(numberClosed(silent), 1);
}

TEST_F(TcpCrowdTest, ANewcomerIsServedAmongAThousandSilentOnes) {
    const std::vector<SPW_Socket> silent = connectMany(1000);
    sink.take();
    const SPW_Socket newcomer = connect(kHonest);
    send(newcomer, probe(1));
    passMs(500);
    EXPECT_THAT(waitForEvents(1), Contains("received 1 5009 10.0.0.2 #1: n"));
    clock.advanceMs(9000);
    send(newcomer, probe(2));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #2: n"));
    passMs(500);
    EXPECT_EQ(numberClosed(silent), 1000);
    EXPECT_EQ(sockets.openSockets(), 2);
}

TEST_F(TcpCrowdTest, AThousandThatSendOnlyNoiseAreRunThroughAtOnce) {
    std::vector<SPW_Socket> noisy = connectMany(1000);
    for (const SPW_Socket client : noisy) {
        send(client, "An endless line ");
    }
    const SPW_Socket newcomer = connect(kHonest);
    send(newcomer, probe(1));
    passMs(100);
    while (sink.waitFor(1)) {
        const std::vector<std::string> events = sink.take();
        if (std::find(events.begin(), events.end(), "received 1 5009 10.0.0.2 #1: n") != events.end()) {
            break;
        }
        EXPECT_THAT(events, Not(Contains(testing::HasSubstr("received"))));
    }
    ASSERT_TRUE(sockets.waitUntilBlocked(ScriptedSocket::kSelect));
    EXPECT_GE(numberClosed(noisy), 1000 - 63);
}

TEST_F(TcpCrowdTest, WhoSendsIsNeverClosed) {
    const std::vector<SPW_Socket> honest = connectMany(63);
    for (int round = 0; round < 4; ++round) {
        for (const SPW_Socket client : honest) {
            settle([&] { send(client, probe(round)); });
        }
        connect(SPW_CIpAddress(10, 9, 9, 9));
        send(connect(kHonest), probe(round));
        passMs(9000);
    }
    EXPECT_EQ(numberClosed(honest), 0);
    EXPECT_THAT(sink.take(), Not(Contains(testing::HasSubstr("10.0.0.2 #"))));
}

TEST_F(TcpCrowdTest, AnHonestDeviceThatConnectsAnewTakesThePlaceOfItsOldConnection) {
    std::vector<SPW_Socket> clients = connectMany(62);
    const SPW_Socket old = connect(kHonest);
    clients.push_back(old);
    for (const SPW_Socket client : clients) {
        settle([&] { send(client, probe(1)); });
    }
    sink.take();
    clock.advanceMs(10000);
    send(connect(kHonest), probe(2));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #2: n"));
    EXPECT_TRUE(isClosed(old));
    EXPECT_EQ(numberClosed(clients), 1);
}

TEST_F(TcpCrowdTest, AConnectionThatDepartsWithoutAProbeIsClosedAfterItsTimeAndOneWithAProbeIsKept) {
    departAfterProbe(connect(kHonest));
    departAll(connectMany(62));
    passMs(9000);
    EXPECT_EQ(sockets.openSockets(), 64);
    passMs(2000);
    EXPECT_EQ(sockets.openSockets(), 2) << "the listening socket, and the honest device's half open connection";
}

TEST_F(TcpCrowdTest, InACrowdAConnectionThatDepartsWithoutAProbeIsClosedAtTheNextLook) {
    departAfterProbe(connect(kHonest));
    departAll(connectMany(64));
    EXPECT_EQ(sockets.openSockets(), 66);
    passMs(1000);
    EXPECT_EQ(sockets.openSockets(), 2);
    EXPECT_FALSE(looksStill());
}

TEST_F(TcpCrowdTest, TheListenerWaitsWithoutALimitAgainWhenNobodyIsLeftOfACrowd) {
    connectMany(70);
    EXPECT_TRUE(looksStill());
    passMs(10000);
    EXPECT_EQ(sockets.openSockets(), 1);
    EXPECT_FALSE(looksStill());
    send(connect(kHonest), probe(1));
    EXPECT_TRUE(sink.waitFor(2));
}

TEST_F(TcpCrowdTest, WithoutALimitNobodyGivesWay) {
    listener.reset();
    ListenerLimits limits;
    limits.silenceMs = 0;
    start(limits);
    const std::vector<SPW_Socket> silent = connectMany(63);
    const SPW_Socket newcomer = connect(kHonest);
    send(newcomer, probe(1));
    clock.advanceMs(3600 * 1000);
    settle([&] { send(silent[5], "x"); });
    EXPECT_THAT(sink.take(), ElementsAre("error 1 5009 10.0.0.2 10024: " + kUnwatched));
    EXPECT_EQ(numberClosed(silent), 0);
    EXPECT_FALSE(looksStill());
    settle([&] { sockets.close(silent[0]); });
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpCrowdTest, AStopInACrowdClosesAll) {
    connectMany(200);
    ASSERT_EQ(listener->StopListening(), 0u);
    EXPECT_EQ(sockets.openSockets(), 0);
}
