#include "VTR_CPinger.h"

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "DrivenProbe.h"
#include "OtherThreads.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedIcmp.h"
#include "ScriptedSocket.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr std::int32_t kPeriodMs = 1000;
const SPW_CIpAddress kPeer(10, 0, 0, 2);

class PingerTest : public testing::Test {
protected:
    typedef DrivenPinger<VTR_CPinger> Driven;

    // The request that a pinger with that data size sends.
    ScriptedIcmp::Request requestOf(std::int32_t dataSize) {
        Driven pinger(&sink, u"10.0.0.2", kPeriodMs, dataSize);
        pinger.pingStep();
        return icmp.requests().back();
    }
    std::vector<std::string> eventsOf(const char16_t* address, std::int32_t dataSize) {
        Driven pinger(&sink, address, kPeriodMs, dataSize);
        pinger.pingStep();
        return sink.take();
    }

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> socketsInstalled{sockets};
    ScriptedIcmp icmp;
    ScopedInstance<SPW_CIcmp> icmpInstalled{icmp};
    RecordingSink sink;
};

}  // namespace

// --- Pings

TEST_F(PingerTest, AnsweredRequestIsReportedAsSentAndReceivedWithTheSameSequence) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.pingStep();
    pinger.pingStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 6 0 10.0.0.2 #0: ", "received 6 0 10.0.0.2 #0: ",
                                         "sent 6 0 10.0.0.2 #1: ", "received 6 0 10.0.0.2 #1: "));
}

TEST_F(PingerTest, HowTheReplyCameIsToldBetweenTheSentRequestAndTheReceivedReply) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    icmp.setReply(1234, 57);
    pinger.pingStep();
    icmp.setReply(0xFFFFFFFF, 0);
    pinger.pingStep();
    const std::vector<ReplyMeasurement> measurements = sink.takeMeasurements();
    ASSERT_EQ(measurements.size(), 2u);
    EXPECT_EQ(measurements[0].address, "10.0.0.2");
    EXPECT_EQ(measurements[0].roundTripUs, 1234u);
    EXPECT_EQ(measurements[0].timeToLive, 57u);
    EXPECT_EQ(measurements[0].reportsBefore, 1u);
    EXPECT_EQ(measurements[1].roundTripUs, 0xFFFFFFFFu);
    EXPECT_EQ(measurements[1].timeToLive, 0u);
    EXPECT_EQ(measurements[1].reportsBefore, 3u);
}

TEST_F(PingerTest, WithoutAReplyNothingIsToldOfIt) {
    icmp.setReply(1234, 57);
    icmp.failEcho(kIcmpHostUnreachable);
    icmp.failOpen(kSysAccessDenied);
    EXPECT_THAT(eventsOf(u"10.0.0.2", 32), SizeIs(2));
    EXPECT_THAT(eventsOf(u"10.0.0.2", 32), SizeIs(2));
    EXPECT_THAT(eventsOf(u"nobody", 32), SizeIs(2));
    EXPECT_EQ(sink.takeMeasurements().size(), 0u);
}

TEST_F(PingerTest, RequestHasDataSizeReplyBufferAndPeriodAsTimeOut) {
    const ScriptedIcmp::Request request = requestOf(32);
    EXPECT_EQ(request.address, kPeer);
    // What a request carries shows nothing of the program's memory.
    EXPECT_EQ(request.bytes, std::string(32, '\0'));
    EXPECT_EQ(request.replySize, 32u * 28u);
    EXPECT_EQ(request.timeoutMs, 1000u);
}

TEST_F(PingerTest, RequestCarriesTheLowSixteenBitsOfTheDataSize) {
    EXPECT_EQ(requestOf(65536 + 7).bytes.size(), 7u);
    EXPECT_EQ(requestOf(65536 + 7).replySize, (65536u + 7u) * 28u);
    EXPECT_EQ(requestOf(65535).bytes.size(), 65535u);
    EXPECT_EQ(requestOf(65536).bytes.size(), 0u);
}

TEST_F(PingerTest, TimeOutIsThePeriodAndNeverNegative) {
    for (const std::int32_t periodMs : {1, 0, -1000}) {
        Driven pinger(&sink, u"10.0.0.2", periodMs, 32);
        pinger.pingStep();
        EXPECT_EQ(icmp.requests().back().timeoutMs, periodMs > 0 ? 1u : 0u) << periodMs;
    }
}

TEST_F(PingerTest, UnansweredRequestIsReportedAsSentAndFailedAfterItsTimeOut) {
    icmp.setAnswers(kPeer, false);
    Driven pinger(&sink, u"10.0.0.2", kPeriodMs, 32);
    const std::uint64_t start = clock.now100ns();
    pinger.pingStep();
    EXPECT_THAT(sink.take(),
                ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 11010: IcmpSendEcho failed 11010"));
    // The next request is due one period after the decision for this one: as soon as its time-out has passed.
    EXPECT_EQ(clock.now100ns() - start, kPeriodMs * ScriptedClock::k100nsPerMs);
    pinger.pingStep();
    EXPECT_THAT(sink.take(),
                ElementsAre("sent 6 0 10.0.0.2 #1: ", "error 6 0 10.0.0.2 11010: IcmpSendEcho failed 11010"));
}

TEST_F(PingerTest, SleepsBetweenRequestsAsConnectorsDo) {
    Driven pinger(&sink, u"10.0.0.2", kPeriodMs, 32);
    pinger.pingStep();
    pinger.pingStep();
    pinger.switchOff();
    pinger.pingStep();
    EXPECT_THAT(clock.sleeps(), ElementsAre(100u, 1000u));
    EXPECT_EQ(icmp.requests().size(), 1u);
}

// --- Addresses

TEST_F(PingerTest, HostNameIsPingedAtItsFirstAddress) {
    sockets.addHost(u"peer", {SPW_CIpAddress(10, 0, 0, 9), kPeer});
    EXPECT_THAT(eventsOf(u"peer", 32), ElementsAre("sent 6 0 peer #0: ", "received 6 0 peer #0: "));
    EXPECT_EQ(icmp.requests().at(0).address, SPW_CIpAddress(10, 0, 0, 9));
}

TEST_F(PingerTest, HostNameWithOneAddressIsPingedThere) {
    sockets.addHost(u"peer", {kPeer});
    EXPECT_THAT(eventsOf(u"peer", 32), ElementsAre("sent 6 0 peer #0: ", "received 6 0 peer #0: "));
    EXPECT_EQ(icmp.requests().at(0).address, kPeer);
}

TEST_F(PingerTest, DottedQuadThatDoesNotResolveIsPingedAllTheSame) {
    sockets.failNext(ScriptedSocket::kResolve, kSockHostNotFound);
    EXPECT_THAT(eventsOf(u"10.0.0.2", 32), ElementsAre("sent 6 0 10.0.0.2 #0: ", "received 6 0 10.0.0.2 #0: "));
}

TEST_F(PingerTest, NameThatDoesNotResolveIsReported) {
    EXPECT_THAT(eventsOf(u"nobody", 32),
                ElementsAre("sent 6 0 nobody #0: ", "error 6 0 nobody 0: no ipaddress supplied"));
    EXPECT_THAT(eventsOf(u"", 32), ElementsAre("sent 6 0  #0: ", "error 6 0  0: no ipaddress supplied"));
    EXPECT_THAT(icmp.requests(), IsEmpty());
}

// --- Failures

TEST_F(PingerTest, ServiceThatCannotBeOpenedIsReported) {
    icmp.failOpen(kSysAccessDenied);
    EXPECT_THAT(eventsOf(u"10.0.0.2", 32),
                ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 5: Could not create ICMP handle 5"));
}

TEST_F(PingerTest, NoDataMakeEveryPingFailForWantOfAReplyBuffer) {
    EXPECT_THAT(eventsOf(u"10.0.0.2", 0),
                ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 122: IcmpSendEcho failed 122"));
    EXPECT_EQ(icmp.openServices(), 0);
}

TEST_F(PingerTest, SizeBeyondAllMemoryIsReported) {
    for (const std::int32_t dataSize : {-1, -2147483647 - 1, 2147483647, 153391690}) {
        EXPECT_THAT(eventsOf(u"10.0.0.2", dataSize),
                    ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 8: running short of memory"))
            << dataSize;
    }
    EXPECT_EQ(icmp.openServices(), 0);
}

TEST_F(PingerTest, EchoFailureIsReportedAndUsesUpANumber) {
    icmp.failEcho(kSockHostUnreachable);
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.pingStep();
    pinger.pingStep();
    EXPECT_THAT(sink.take(),
                ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 10065: IcmpSendEcho failed 10065",
                            "sent 6 0 10.0.0.2 #1: ", "received 6 0 10.0.0.2 #1: "));
}

TEST_F(PingerTest, AnEchoThatIsAbortedWithoutAStopIsAFailureAsAnyOther) {
    icmp.failEcho(kSysOperationAborted);
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.pingStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 995: IcmpSendEcho failed 995"));
}

TEST_F(PingerTest, ErrorIsEmptiedByTheReportOfItsStep) {
    icmp.failEcho(kSockHostUnreachable);
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.pingStep();
    EXPECT_TRUE(pinger.GetLastErrorText().isEmpty());
    EXPECT_EQ(pinger.GetLastErrorCode(), 0u);
}

// --- What a ping takes it gives back

TEST_F(PingerTest, LibraryIsHeldForTheDurationOfEachPingOnly) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(sockets.calls(ScriptedSocket::kStartup), 0);
    pinger.pingStep();
    icmp.failOpen(kSysAccessDenied);
    pinger.pingStep();
    EXPECT_EQ(sockets.calls(ScriptedSocket::kStartup), 2);
    EXPECT_EQ(sockets.startups(), 0);
}

TEST_F(PingerTest, ServiceIsClosedAfterEachPing) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.pingStep();
    icmp.failEcho(kSockHostUnreachable);
    pinger.pingStep();
    EXPECT_EQ(icmp.openServices(), 0);
}

// --- Start and stop

TEST_F(PingerTest, PingsOnItsOwnThreadUntilStopped) {
    VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(pinger.StartPinging(), 0u);
    EXPECT_TRUE(sink.waitFor(4));
    EXPECT_EQ(pinger.StopPinging(), 0u);
    const std::size_t requests = icmp.requests().size();
    EXPECT_EQ(sink.take().size(), 2 * requests);
    // The numbers go on after a restart, and there is no failed request.
    EXPECT_EQ(pinger.StartPinging(), 0u);
    EXPECT_TRUE(sink.waitFor(2));
    EXPECT_EQ(pinger.StopPinging(), 0u);
    EXPECT_THAT(sink.takeReports().at(0), IsSent(static_cast<int>(requests)));
}

TEST_F(PingerTest, StepThatMeetsTheEndNeitherSleepsNorPings) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.end();
    pinger.pingStep();
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(PingerTest, SecondStartIsRefused) {
    VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(pinger.StartPinging(), 0u);
    EXPECT_EQ(pinger.StartPinging(), kProbeAlreadyRunning);
    EXPECT_EQ(pinger.StopPinging(), 0u);
}

TEST_F(PingerTest, StopOfAnIdlePingerIsRefusedAndStoresNoText) {
    VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(pinger.StopPinging(), kProbeNotRunning);
    EXPECT_TRUE(pinger.GetLastErrorText().isEmpty());
    EXPECT_EQ(pinger.GetLastErrorCode(), 0u);
}

TEST_F(PingerTest, PastTheGreatestNumberComesTheLeastOne) {
    Driven pinger(&sink, u"10.0.0.2", 0, 32);
    pinger.setSequence(2147483647);
    pinger.pingStep();
    pinger.pingStep();
    EXPECT_THAT(sink.takeReports(), ElementsAre(IsSent(2147483647), IsReceived("10.0.0.2", 2147483647),
                                                IsSent(-2147483647 - 1), IsReceived("10.0.0.2", -2147483647 - 1)));
}

namespace {

// Keeps a pinger's thread in its report until the test lets it go.
class HoldingSink : public RecordingSink {
public:
    void onDataSent(ProbeKind kind, std::uint32_t port, const SPW_CString& target, std::int32_t sequence,
                    const SPW_CString& text) override {
        RecordingSink::onDataSent(kind, port, target, sequence, text);
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait_for(lock, kPatience, [this] { return m_isOpen; });
        m_isThrough = true;
    }
    void letGo() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isOpen = true;
        m_changed.notify_all();
    }
    bool isThrough() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_isThrough;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOpen = false;
    bool m_isThrough = false;
};

}  // namespace

TEST_F(PingerTest, AStopWaitsForThePingInProgressAndItsReports) {
    HoldingSink holding;
    VTR_CPinger pinger(&holding, u"10.0.0.2", 60000, 32);
    ASSERT_EQ(pinger.StartPinging(), 0u);
    ASSERT_TRUE(holding.waitFor(1));
    std::thread letsGo([&] {
        awaitOthersAsleep();  // the stop, in its wait for the ping
        holding.letGo();
    });
    EXPECT_EQ(pinger.StopPinging(), 0u);
    EXPECT_TRUE(holding.isThrough());
    EXPECT_THAT(holding.take(), ElementsAre("sent 6 0 10.0.0.2 #0: ", "received 6 0 10.0.0.2 #0: "));
    letsGo.join();
}

TEST_F(PingerTest, StopEndsThePingInProgressWhichCountsNeitherAsSentNorAsLost) {
    icmp.setHeld(true);
    VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(pinger.StartPinging(), 0u);
    icmp.waitForRequests(1);
    EXPECT_EQ(pinger.StopPinging(), 0u);
    EXPECT_THAT(sink.take(), IsEmpty());
    EXPECT_TRUE(pinger.GetLastErrorText().isEmpty());
    EXPECT_EQ(icmp.openServices(), 0);
    // The next one has the number of the one that was ended.
    icmp.setHeld(false);
    EXPECT_EQ(pinger.StartPinging(), 0u);
    EXPECT_TRUE(sink.waitFor(2));
    EXPECT_EQ(pinger.StopPinging(), 0u);
    EXPECT_THAT(sink.takeReports().at(0), IsSent(0));
}

TEST_F(PingerTest, DestructionEndsThePingInProgress) {
    icmp.setHeld(true);
    {
        VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
        EXPECT_EQ(pinger.StartPinging(), 0u);
        icmp.waitForRequests(1);
    }
    EXPECT_THAT(sink.take(), IsEmpty());
    EXPECT_EQ(icmp.openServices(), 0);
}

TEST_F(PingerTest, StopThatComesJustBeforeTheEchoEndsItToo) {
    // Opens a service only when the test says so.
    class OpensLate : public ScriptedIcmp {
    public:
        SPW_Handle open() override {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_isOpening = true;
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return m_mayOpen; });
            return ScriptedIcmp::open();
        }
        void waitUntilOpening() {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_isOpening; });
        }
        void letOpen() {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_mayOpen = true;
            m_changed.notify_all();
        }

    private:
        std::mutex m_mutex;
        std::condition_variable m_changed;
        bool m_isOpening = false;
        bool m_mayOpen = false;
    };
    OpensLate late;
    const ScopedInstance<SPW_CIcmp> installed(late);
    late.setHeld(true);
    VTR_CPinger pinger(&sink, u"10.0.0.2", 0, 32);
    EXPECT_EQ(pinger.StartPinging(), 0u);
    late.waitUntilOpening();
    pinger.askToStop();
    late.letOpen();
    EXPECT_EQ(pinger.StopPinging(), 0u);
    EXPECT_THAT(sink.take(), IsEmpty());
    EXPECT_THAT(late.requests(), IsEmpty());
}
