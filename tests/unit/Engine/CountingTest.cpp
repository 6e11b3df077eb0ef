#include "EngineFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class CountingTest : public EngineFixture {
protected:
    CountingTest() {
        select(false, false, false, false);
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
        engine().start();
        m_ui.take();
    }
};

TEST_F(CountingTest, NumbersOneTwoFiveAreThreeOfFive) {
    receive(kUdpListener, u"10.0.0.7", 1);
    receive(kUdpListener, u"10.0.0.7", 2);
    receive(kUdpListener, u"10.0.0.7", 5);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 1 1/1 100", "10.0.0.7 (printer) 1 2/2 100",
                                         "10.0.0.7 (printer) 1 3/5 60"));
    EXPECT_EQ(row(0).counts[kUdp].lost, 2);
    engine().stop();
    EXPECT_THAT(endAndReadLog(), Contains("S Name: 10.0.0.7 (printer)             Quality:  60% Multicast:     0 / 0   "
                                          "  Tcpip:     0 / 0     Udp:     5 / 7     Ping:     0 / 0    "));
}

TEST_F(CountingTest, EveryReceiverHasItsProtocol) {
    receive(kMulticastListener, u"10.0.0.7", 1);
    receive(kUdpListener, u"10.0.0.7", 1);
    receive(kTcpipListener, u"10.0.0.7", 1);
    receive(kPinger, u"10.0.0.7", 1);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 0 1/1 100", "10.0.0.7 (printer) 1 1/1 100",
                                         "10.0.0.7 (printer) 2 1/1 100", "10.0.0.7 (printer) 3 1/1 100"));
}

TEST_F(CountingTest, WhatASenderSaysItReceivedIsIgnored) {
    m_registry.setSetting(u"log events", u"yes");
    engine().start();
    m_ui.take();
    for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kMulticastConnector, ProbeKind{7}}) {
        receive(kind, u"10.0.0.7", 1);
        receive(kind, u"10.0.0.9", 1);
    }
    EXPECT_THAT(m_ui.take(), IsEmpty());
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (printer)"));
    EXPECT_THAT(endAndReadLog(), Not(Contains(HasSubstr("received seq"))));
}

TEST_F(CountingTest, ResetTellsZerosOfEveryProtocolInOrder) {
    receive(kUdpListener, u"10.0.0.7", 5);
    m_ui.take();
    engine().resetStatistics();
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 0 0/0 0", "10.0.0.7 (printer) 1 0/0 0",
                                         "10.0.0.7 (printer) 2 0/0 0", "10.0.0.7 (printer) 3 0/0 0"));
    receive(kUdpListener, u"10.0.0.7", 9);
    EXPECT_THAT(m_ui.take(), ElementsAre("10.0.0.7 (printer) 1 1/1 100")) << "as a first number";
}

TEST_F(CountingTest, TheLogButtonWritesOneLinePerRow) {
    receive(kMulticastListener, u"10.0.0.8", 1);
    engine().logReport();
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(
        std::count_if(log.begin(), log.end(), [](const std::string& line) { return line.rfind("S Name: ", 0) == 0; }),
        2);
}

}  // namespace
