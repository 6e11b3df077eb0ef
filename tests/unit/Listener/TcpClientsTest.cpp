#include "TcpClients.h"

#include <gtest/gtest.h>

// Who gives way to whom. The sockets are numbers alone.

namespace {

constexpr std::uint64_t kMs = 10000;
constexpr std::uint64_t kStart = 1000000 * kMs;
constexpr int kPlaces = TcpClients::kMostWatched;

class TcpClientsTest : public testing::Test {
protected:
    // A client of an address of its own, accepted so long after the start.
    void accept(int number, std::uint64_t afterMs = 0) {
        acceptFrom(SPW_CIpAddress(10, 0, 1, static_cast<std::uint8_t>(number)), afterMs);
    }
    void acceptFrom(const SPW_CIpAddress& address, std::uint64_t afterMs = 0) {
        TcpClient client;
        client.socket = static_cast<SPW_Socket>(clients.number() + 1);
        client.address = address;
        client.accepted100ns = kStart + afterMs * kMs;
        clients.add(client);
    }
    // All places taken, and a newcomer who waits.
    void fill(std::uint64_t newcomerAfterMs = 0) {
        for (int i = 0; i < kPlaces; ++i) {
            accept(i);
        }
        accept(200, newcomerAfterMs);
    }
    void allProbe(std::uint64_t afterMs) {
        for (int i = 0; i < kPlaces; ++i) {
            clients.noteChunk(i, true, kStart + afterMs * kMs);
        }
    }
    void hear(int index) { heard.add(clients.at(index).socket); }
    int givesWay(bool isSpeaking, std::uint64_t afterMs) {
        return clients.findGivingWay(kPlaces, isSpeaking, heard, kStart + afterMs * kMs);
    }

    ListenerLimits limits;
    TcpClients clients{limits};
    SPW_CSocketSet heard;
};

}  // namespace

// --- Who sends

TEST_F(TcpClientsTest, WhoSendsNeverGivesWay) {
    fill();
    allProbe(5000);
    EXPECT_EQ(givesWay(true, 14999), TcpClients::kNone);
    EXPECT_EQ(givesWay(true, 15000), 0);
}

TEST_F(TcpClientsTest, WhoSendsNeverGivesWayToItsOwnAddressEither) {
    for (int i = 0; i <= kPlaces; ++i) {
        acceptFrom(SPW_CIpAddress(10, 0, 1, 1), static_cast<std::uint64_t>(i));
    }
    allProbe(5000);
    EXPECT_EQ(givesWay(true, 14999), TcpClients::kNone);
}

TEST_F(TcpClientsTest, WhoSendsWithALongPeriodMayBeSilentForThreeOfThem) {
    limits.periodMs = 60000;
    TcpClients slow(limits);
    for (int i = 0; i <= kPlaces; ++i) {
        TcpClient client;
        client.socket = static_cast<SPW_Socket>(i + 1);
        client.address = SPW_CIpAddress(10, 0, 1, static_cast<std::uint8_t>(i));
        client.accepted100ns = kStart;
        client.lastProbe100ns = i < kPlaces ? kStart : 0;
        slow.add(client);
    }
    EXPECT_EQ(slow.findGivingWay(kPlaces, true, heard, kStart + 179999 * kMs), TcpClients::kNone);
    EXPECT_EQ(slow.findGivingWay(kPlaces, true, heard, kStart + 180000 * kMs), 0);
}

TEST_F(TcpClientsTest, ProbesWithOtherThingsBetweenThemAreProbes) {
    fill();
    allProbe(5000);
    clients.noteChunk(7, false, kStart + 6000 * kMs);
    EXPECT_EQ(givesWay(true, 14999), TcpClients::kNone);
}

TEST_F(TcpClientsTest, WhoHasSomethingToReadIsSparedUntilItIsRead) {
    fill();
    hear(0);
    EXPECT_EQ(givesWay(true, 20000), 1);
}

TEST_F(TcpClientsTest, EndlessNoiseSparesNobody) {
    fill();
    clients.noteChunk(0, false, kStart);
    hear(0);
    EXPECT_EQ(givesWay(true, 0), 0);
}

// --- The order

TEST_F(TcpClientsTest, AnOlderConnectionOfTheSameAddressGivesWayFirst) {
    fill(20000);
    const int own = kPlaces + 1;
    clients.removeAt(kPlaces);
    acceptFrom(clients.at(40).address, 20000);
    EXPECT_EQ(clients.number(), own);
    EXPECT_EQ(givesWay(false, 20000), 40);
}

TEST_F(TcpClientsTest, ANewerConnectionOfTheSameAddressDoesNot) {
    for (int i = 0; i < kPlaces; ++i) {
        acceptFrom(SPW_CIpAddress(10, 0, 1, 1), 100);
    }
    acceptFrom(SPW_CIpAddress(10, 0, 1, 1), 0);
    EXPECT_EQ(givesWay(false, 1000), TcpClients::kNone);
}

TEST_F(TcpClientsTest, OfTheSilentTheOldestGivesWay) {
    fill();
    clients.noteChunk(0, true, kStart + 9000 * kMs);
    clients.noteChunk(1, true, kStart + 9000 * kMs);
    EXPECT_EQ(givesWay(false, 9999), TcpClients::kNone);
    EXPECT_EQ(givesWay(false, 10000), 2);
}

TEST_F(TcpClientsTest, TheSilentGiveWayBeforeThoseThatHaveMissedTheirFirstProbe) {
    fill();
    for (int i = 0; i < kPlaces; ++i) {
        clients.noteChunk(i, i == 50, kStart);
    }
    EXPECT_EQ(givesWay(true, 100), 0);
    clients.noteChunk(50, true, kStart + 1 * kMs);
    EXPECT_EQ(givesWay(true, 10000), 0);
    EXPECT_TRUE(clients.isSilent(clients.at(0), kStart + 10000 * kMs));
}

TEST_F(TcpClientsTest, ANewcomerThatSpeaksIsLetInAfterTheTimeForAFirstProbe) {
    fill(400);
    EXPECT_EQ(givesWay(true, 499), TcpClients::kNone);
    EXPECT_EQ(givesWay(true, 500), 0);
}

TEST_F(TcpClientsTest, ANewcomerThatIsSilentWaitsForTheTimeOfSilence) {
    fill(400);
    EXPECT_EQ(givesWay(false, 9999), TcpClients::kNone);
    EXPECT_EQ(givesWay(false, 10000), 0);
}

TEST_F(TcpClientsTest, ANewcomerThatIsSilentWaitsThoughItsOwnAddressHasPlaces) {
    for (int i = 0; i <= kPlaces; ++i) {
        acceptFrom(SPW_CIpAddress(10, 0, 1, 1));
    }
    EXPECT_EQ(givesWay(false, 9999), TcpClients::kNone);
    EXPECT_EQ(givesWay(true, 9999), 0);
}

TEST_F(TcpClientsTest, WhoHasSentSomethingElseGivesWayToWhoSpeaksAtOnce) {
    fill();
    clients.noteChunk(30, false, kStart);
    EXPECT_EQ(givesWay(true, 0), 30);
    EXPECT_EQ(givesWay(false, 0), TcpClients::kNone);
}

// --- Places

TEST_F(TcpClientsTest, OnlyTheFirstPlacesAreWatched) {
    fill();
    EXPECT_EQ(clients.numberWatched(), kPlaces);
    EXPECT_EQ(clients.watchedIndexOf(clients.at(kPlaces - 1).socket), kPlaces - 1);
    EXPECT_EQ(clients.watchedIndexOf(clients.at(kPlaces).socket), TcpClients::kNone);
}

TEST_F(TcpClientsTest, WhoGetsAPlaceIsTheLatestOfTheWatched) {
    fill();
    accept(201);
    const SPW_Socket newcomer = clients.at(kPlaces + 1).socket;
    const SPW_Socket waiting = clients.at(kPlaces).socket;
    clients.removeAt(0);
    clients.moveToWatched(kPlaces);
    EXPECT_EQ(clients.at(kPlaces - 1).socket, newcomer);
    EXPECT_EQ(clients.at(kPlaces).socket, waiting);
}
