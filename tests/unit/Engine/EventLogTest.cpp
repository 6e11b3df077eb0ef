#include "EngineFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class EventLogTest : public EngineFixture {
protected:
    // Nothing but the test itself reports.
    void begin(const char16_t* logEvents, const char16_t* logDataPackets) {
        select(false, false, false, false);
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
        m_registry.setSetting(u"frequency qty", u"10000");
        m_registry.setSetting(u"log events", logEvents);
        m_registry.setSetting(u"log data packets", logDataPackets);
        engine().start();
    }
    void report() {
        engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 3, u"Version 1|device|");
        receive(kTcpipListener, u"10.0.0.7", 4, u"Version 2|printer|");
    }
    std::vector<std::string> endAndReadEvents() {
        std::vector<std::string> lines = endAndReadLog();
        EXPECT_THAT(lines, testing::Not(IsEmpty())) << "a log has at least the test's beginning";
        return lines.empty() ? lines : std::vector<std::string>(lines.begin() + 1, lines.end());
    }
};

TEST_F(EventLogTest, ByDefaultProbesLeaveNoLines) {
    begin(u"no", u"no");
    report();
    EXPECT_THAT(endAndReadEvents(), IsEmpty());
}

TEST_F(EventLogTest, LoggingDataPacketsAloneWritesNothing) {
    begin(u"no", u"yes");
    report();
    EXPECT_THAT(endAndReadEvents(), IsEmpty());
}

TEST_F(EventLogTest, EventsAreOneLineEach) {
    begin(u"yes", u"no");
    report();
    EXPECT_THAT(endAndReadEvents(), ElementsAre("E :udp connector sent seq # 3 to 10.0.0.7",
                                                "E :tcpip listener received seq # 4 from 10.0.0.7"));
}

TEST_F(EventLogTest, WithDataPacketsTheLineGoesOn) {
    begin(u"yes", u"yes");
    report();
    EXPECT_THAT(endAndReadEvents(),
                ElementsAre("E :udp connector sent seq # 3 to 10.0.0.7Data sent: Version 1|device|",
                            "E :tcpip listener received seq # 4 from 10.0.0.7Data received: Version 2|printer|"));
}

TEST_F(EventLogTest, ForeignDataForgeNoLine) {
    begin(u"yes", u"yes");
    receive(kTcpipListener, u"10.0.0.7", 4, u"a\r\n12:00:00 forged");
    EXPECT_THAT(endAndReadEvents(),
                ElementsAre("E :tcpip listener received seq # 4 from 10.0.0.7Data received: a??12:00:00 forged"));
}

TEST_F(EventLogTest, ASocketErrorIsLoggedOnceUntilASendSucceeds) {
    begin(u"no", u"no");
    const std::string line =
        "SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid filling the logfile) on "
        "tcpip connector ( 10.0.0.7 ) :connect failed 10061";
    for (int i = 0; i < 3; ++i) {
        engine().onSocketError(kTcpipConnector, 5009, u"10.0.0.7", 10061, u"connect failed 10061");
    }
    engine().onDataSent(kTcpipConnector, 5009, u"10.0.0.7", 1, u"");
    engine().onSocketError(kTcpipConnector, 5009, u"10.0.0.7", 10061, u"connect failed 10061");
    EXPECT_THAT(endAndReadEvents(), ElementsAre(line, line));
}

TEST_F(EventLogTest, AUdpSendMakesTheNextUdpErrorNewsAndNoOther) {
    begin(u"no", u"no");
    const auto fail = [this] {
        for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kPinger}) {
            engine().onSocketError(kind, 5009, u"10.0.0.7", 10065, u"failed 10065");
        }
    };
    fail();
    engine().onDataSent(kUdpConnector, 5009, u"10.0.0.7", 1, u"");
    fail();
    const std::vector<std::string> log = endAndReadEvents();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(
        log[3],
        "SOCKET ERROR: (logged only once until successfull udp send to this address to avoid filling the logfile) "
        "on udp connector ( 10.0.0.7 ) :failed 10065");
}

TEST_F(EventLogTest, APingErrorIsLoggedOnceUntilAReplyComes) {
    begin(u"no", u"no");
    const std::string line =
        "SOCKET ERROR: (logged only once until successfull ping to this address to avoid filling the logfile) on "
        "pinger ( 10.0.0.7 ) :IcmpSendEcho failed 11010";
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    engine().onDataSent(kPinger, 0, u"10.0.0.7", 1, u"");  // a request alone is no success
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    receive(kPinger, u"10.0.0.7", 2, u"");
    engine().onSocketError(kPinger, 0, u"10.0.0.7", 11010, u"IcmpSendEcho failed 11010");
    EXPECT_THAT(endAndReadEvents(), ElementsAre(line, line));
}

TEST_F(EventLogTest, AStartMakesEveryErrorNews) {
    begin(u"no", u"no");
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    engine().stop();
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    engine().start();
    engine().onSocketError(kUdpConnector, 5009, u"10.0.0.7", 10065, u"send failed 10065");
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "SOCKET ERROR: (logged only once until successfull udp send to this address to avoid filling "
                         "the logfile) on udp connector ( 10.0.0.7 ) :send failed 10065"),
              2);
}

TEST_F(EventLogTest, AFailureOfTheMulticastConnectorIsLoggedEveryTime) {
    begin(u"no", u"no");
    const std::string line = "SOCKET ERROR: on multicast connector ( 228.227.226.225 ) :send failed 10051";
    const std::vector<std::string> lines(100, line);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        engine().onSocketError(kMulticastConnector, 7550, u"228.227.226.225", 10051, u"send failed 10051");
    }
    EXPECT_THAT(endAndReadEvents(), testing::ElementsAreArray(lines));
}

TEST_F(EventLogTest, APeerThatIsDownLeavesOneLine) {
    select(false, false, true, false);
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kConnect, 4));
    const std::vector<std::string> log = endAndReadLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid "
                         "filling the logfile) on tcpip connector ( 10.0.0.7 ) :connect failed 10060"),
              1);
}

}  // namespace
