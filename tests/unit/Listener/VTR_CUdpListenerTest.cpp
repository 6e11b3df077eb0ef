#include "VTR_CUdpListener.h"

#include <gmock/gmock.h>

#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"

using testing::ElementsAre;

namespace {

constexpr std::uint16_t kPort = 5009;
const SPW_CIpAddress kPeer(10, 0, 0, 2);

std::string probe(int sequence, const std::string& name) {
    return "Vantiro Diagnostic|" + std::to_string(sequence) + "|" + name + std::string(1, '\0');
}

class UdpListenerTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(listener.StartListening(), 0u); }
    // What was reported up to the probe that this sends.
    std::vector<std::string> eventsUpToProbe(int sequence) {
        EXPECT_TRUE(sockets.deliver(kPort, kPeer, probe(sequence, "last")));
        const std::string last = "received 3 5009 10.0.0.2 #" + std::to_string(sequence) + ": last";
        std::vector<std::string> events;
        do {
            if (!sink.waitFor(1)) {
                return {"no further report"};
            }
            for (std::string& event : sink.take()) {
                events.push_back(std::move(event));
            }
        } while (events.back() != last);
        events.pop_back();
        return events;
    }

    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    VTR_CUdpListener listener{&sink, kPort};
};

}  // namespace

TEST_F(UdpListenerTest, ProbeIsReportedWithItsSender) {
    sockets.deliver(kPort, kPeer, probe(7, "1.0|Hall||"));
    ASSERT_TRUE(sink.waitFor(1));
    EXPECT_THAT(sink.take(), ElementsAre("received 3 5009 10.0.0.2 #7: 1.0|Hall||"));
}

TEST_F(UdpListenerTest, ProbesAreReportedInOrder) {
    for (int sequence = 0; sequence < 3; ++sequence) {
        sockets.deliver(kPort, SPW_CIpAddress(10, 0, 0, static_cast<std::uint8_t>(10 + sequence)),
                        probe(sequence, "n"));
    }
    EXPECT_THAT(eventsUpToProbe(9), ElementsAre("received 3 5009 10.0.0.10 #0: n", "received 3 5009 10.0.0.11 #1: n",
                                                "received 3 5009 10.0.0.12 #2: n"));
}

TEST_F(UdpListenerTest, EmptyDatagramIsIgnored) {
    sockets.deliver(kPort, kPeer, "");
    EXPECT_THAT(eventsUpToProbe(1), ElementsAre());
}

TEST_F(UdpListenerTest, DatagramThatIsNoProbeIsDroppedWithoutATrace) {
    sockets.deliver(kPort, kPeer, "something else altogether, and quite long");
    sockets.deliver(kPort, kPeer, "Vantiro Diagnostic|5");
    EXPECT_THAT(eventsUpToProbe(1), ElementsAre());
}

TEST_F(UdpListenerTest, LongProbeIsReadAsFarAsTheBufferGoes) {
    sockets.deliver(kPort, kPeer, probe(7, std::string(2000, 'n')));
    EXPECT_THAT(eventsUpToProbe(1), ElementsAre("received 3 5009 10.0.0.2 #7: " + std::string(1000 - 21, 'n')));
}

TEST_F(UdpListenerTest, ShortProbeAfterALongOneShowsNothingOfIt) {
    sockets.deliver(kPort, kPeer, probe(7, "a long name"));
    sockets.deliver(kPort, kPeer, "Vantiro Diagnostic|8|b");
    EXPECT_THAT(eventsUpToProbe(1),
                ElementsAre("received 3 5009 10.0.0.2 #7: a long name", "received 3 5009 10.0.0.2 #8: b"));
}

TEST_F(UdpListenerTest, FailedReceiveIsReportedWithoutAnAddress) {
    sockets.failNext(ScriptedSocket::kReceiveFrom, kSockReset);
    EXPECT_THAT(eventsUpToProbe(1), ElementsAre("error 3 5009  10054: recvfrom failed"));
}

TEST_F(UdpListenerTest, InterruptedReceiveIsSilentAndAnyOtherCodeIsNot) {
    sockets.failNext(ScriptedSocket::kReceiveFrom, kSockInterrupted);
    sockets.failNext(ScriptedSocket::kReceiveFrom, kSockNotSocket);
    EXPECT_THAT(eventsUpToProbe(1), ElementsAre("error 3 5009  10038: recvfrom failed"));
}
