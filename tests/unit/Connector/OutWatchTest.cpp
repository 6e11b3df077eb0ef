#include "OutWatch.h"

#include <gmock/gmock.h>

#include "RecordingSink.h"
#include "SPW_CSysError.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint64_t k100nsPerMs = 10000;

class OutWatchTest : public testing::Test {
protected:
    // The platform is asked at that time, and tells this.
    void lookAt(std::uint64_t ms, const SPW_Unanswered& unanswered) {
        sockets.setUnanswered(unanswered);
        watch.look(connection, ms * k100nsPerMs);
    }
    SPW_Socket connect() {
        (void)sockets.listenAt(peer, 5009);
        const SPW_Socket socket = sockets.openTcp();
        EXPECT_EQ(sockets.connect(socket, peer, 5009), 0);
        return socket;
    }
    // How it got on since the last call.
    std::vector<std::string> states() {
        std::vector<std::string> lines = sink.takeOutStates();
        for (std::string& line : lines) {
            line.erase(0, std::string("0 10.0.0.2 ").size());
        }
        return lines;
    }

    const SPW_CIpAddress peer{10, 0, 0, 2};
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    const SPW_CString target = u"10.0.0.2";
    const SPW_Socket connection = connect();
    OutWatch watch{&sink, kTcpipConnector, target, 2000};
};

}  // namespace

TEST_F(OutWatchTest, TellsKindAndTargetOfAChange) {
    watch.beginConnecting();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 connecting"));
    const SPW_CString group = u"228.227.226.225";
    OutWatch other(&sink, kMulticastConnector, group, 1000);
    other.open();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("4 228.227.226.225 open"));
}

TEST_F(OutWatchTest, WhatStaysAsItIsIsToldOnce) {
    watch.open();
    watch.open();
    watch.fail(kSockRefused);
    watch.fail(kSockRefused);
    watch.fail(kSockNetUnreachable);
    watch.fail(kSockHostUnreachable);
    watch.fail(kSockHostUnreachable);
    EXPECT_THAT(states(), ElementsAre("open", "refused 10061", "failed 10051", "failed 10065"));
}

TEST_F(OutWatchTest, APeerThatCannotBeConnectedIsNotConnectingInBetween) {
    for (int i = 0; i < 3; ++i) {
        watch.beginConnecting();
        watch.fail(kSockTimedOut);
    }
    EXPECT_THAT(states(), ElementsAre("connecting", "timed out 10060"));
    watch.beginConnecting();
    watch.open();
    EXPECT_THAT(states(), ElementsAre("open"));
}

TEST_F(OutWatchTest, AfterAConnectionHasEndedItIsConnectingAgain) {
    watch.beginConnecting();
    watch.open();
    watch.fail(kSockReset);
    watch.beginConnecting();
    EXPECT_THAT(states(), ElementsAre("connecting", "open", "failed 10054", "connecting"));
}

TEST_F(OutWatchTest, ASocketThatThisSideHasClosedSaysNothing) {
    watch.beginConnecting();
    watch.fail(kSockNotSocket);
    watch.open();
    watch.fail(kSockNotSocket);
    watch.beginConnecting();
    watch.open();
    EXPECT_THAT(states(), ElementsAre("connecting", "open", "connecting", "open"));
}

// --- What the far end leaves without an answer

TEST_F(OutWatchTest, RepetitionsInAPeriodAndAHalfOfSilenceAreNoAnswer) {
    watch.open();
    lookAt(2000, {1, 1, 2999});
    EXPECT_THAT(states(), ElementsAre("open"));
    lookAt(4000, {1, 1, 3000});
    EXPECT_THAT(states(), ElementsAre("unanswered 1 packets, 1 time-outs, 3000 ms"));
}

TEST_F(OutWatchTest, ShortPeriodsAreGivenASecond) {
    OutWatch quick(&sink, kTcpipConnector, target, 10);
    quick.open();
    sockets.setUnanswered({90, 2, 999});
    quick.look(connection, 2000 * k100nsPerMs);
    EXPECT_THAT(states(), ElementsAre("open"));
    sockets.setUnanswered({90, 2, 1000});
    quick.look(connection, 3000 * k100nsPerMs);
    EXPECT_THAT(states(), ElementsAre("unanswered 90 packets, 2 time-outs, 1000 ms"));
}

TEST_F(OutWatchTest, SilenceWithoutRepetitionsIsNothingUnusual) {
    watch.open();
    // Nothing has been sent for long, or it is still on its way.
    lookAt(2000, {0, 0, 60000});
    lookAt(4000, {1, 0, 60000});
    lookAt(6000, {0, 3, 60000});
    EXPECT_THAT(states(), ElementsAre("open"));
}

TEST_F(OutWatchTest, OnlyAnAnswerToSomethingNewEndsIt) {
    watch.open();
    lookAt(2000, {1, 1, 3000});
    (void)states();
    // The far end asks whether this one is still there.
    lookAt(4000, {2, 4, 10});
    EXPECT_THAT(states(), IsEmpty());
    lookAt(6000, {2, 0, 10});
    EXPECT_THAT(states(), ElementsAre("open"));
}

TEST_F(OutWatchTest, TheEndOfTheConnectionEndsIt) {
    watch.open();
    lookAt(2000, {1, 1, 3000});
    watch.fail(kSockTimedOut);
    EXPECT_THAT(states(), ElementsAre("open", "unanswered 1 packets, 1 time-outs, 3000 ms", "timed out 10060"));
}

TEST_F(OutWatchTest, ThePlatformIsAskedOnceASecond) {
    for (std::uint64_t ms = 1000; ms < 4000; ms += 10) {
        lookAt(ms, {});
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kTellUnanswered), 3);
}

TEST_F(OutWatchTest, WhereThePlatformDoesNotTellNothingIsSaid) {
    watch.open();
    (void)states();
    watch.look(connection, 2000 * k100nsPerMs);
    EXPECT_THAT(states(), IsEmpty());
}
