#include "TestLog.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>

#include "OtherThreads.h"
#include "RecordingReporter.h"
#include "ScopedInstance.h"
#include "StoppableClock.h"
#include "StringPrinting.h"
#include "TemporaryFolder.h"

namespace {

const SPW_CString kAddress(u"10.0.0.7");

TEST(TestLogTest, ASentLineNamesTheComponentTheNumberAndTheTarget) {
    EXPECT_EQ(TestLog::sentLine(kTcpipConnector, 0, kAddress, nullptr),
              SPW_CString(u"E :tcpip connector sent seq # 0 to 10.0.0.7"));
    EXPECT_EQ(TestLog::sentLine(kUdpConnector, 12, kAddress, nullptr),
              SPW_CString(u"E :udp connector sent seq # 12 to 10.0.0.7"));
    EXPECT_EQ(TestLog::sentLine(kMulticastConnector, -3, u"228.227.226.225", nullptr),
              SPW_CString(u"E :multicast connector sent seq # -3 to 228.227.226.225"));
    EXPECT_EQ(TestLog::sentLine(kPinger, 2147483647, kAddress, nullptr),
              SPW_CString(u"E :pinger sent seq # 2147483647 to 10.0.0.7"));
}

TEST(TestLogTest, AReceivedLineNamesTheComponentTheNumberAndTheSender) {
    EXPECT_EQ(TestLog::receivedLine(kTcpipListener, 5, kAddress, nullptr),
              SPW_CString(u"E :tcpip listener received seq # 5 from 10.0.0.7"));
    EXPECT_EQ(TestLog::receivedLine(kUdpListener, 6, kAddress, nullptr),
              SPW_CString(u"E :udp listener received seq # 6 from 10.0.0.7"));
    EXPECT_EQ(TestLog::receivedLine(kMulticastListener, 7, kAddress, nullptr),
              SPW_CString(u"E :multicast listener received seq # 7 from 10.0.0.7"));
    EXPECT_EQ(TestLog::receivedLine(kPinger, 8, kAddress, nullptr),
              SPW_CString(u"E :pinger received seq # 8 from 10.0.0.7"));
}

TEST(TestLogTest, TheDataFollowTheAddressWithoutABlank) {
    const SPW_CString data(u"Version 1.0.0.0|pocket1||");
    EXPECT_EQ(TestLog::sentLine(kUdpConnector, 1, kAddress, &data),
              SPW_CString(u"E :udp connector sent seq # 1 to 10.0.0.7Data sent: Version 1.0.0.0|pocket1||"));
    EXPECT_EQ(TestLog::receivedLine(kUdpListener, 1, kAddress, &data),
              SPW_CString(u"E :udp listener received seq # 1 from 10.0.0.7Data received: Version 1.0.0.0|pocket1||"));
}

TEST(TestLogTest, SocketErrorsOfTheThreeOnceOnlyKindsSaySo) {
    EXPECT_EQ(TestLog::socketErrorLine(kTcpipConnector, kAddress, u"connect failed 10061"),
              SPW_CString(u"SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid "
                          u"filling the logfile) on tcpip connector ( 10.0.0.7 ) :connect failed 10061"));
    EXPECT_EQ(TestLog::socketErrorLine(kUdpConnector, kAddress, u"send failed 10065"),
              SPW_CString(u"SOCKET ERROR: (logged only once until successfull udp send to this address to avoid "
                          u"filling the logfile) on udp connector ( 10.0.0.7 ) :send failed 10065"));
    EXPECT_EQ(TestLog::socketErrorLine(kPinger, kAddress, u"IcmpSendEcho failed 11010"),
              SPW_CString(u"SOCKET ERROR: (logged only once until successfull ping to this address to avoid filling "
                          u"the logfile) on pinger ( 10.0.0.7 ) :IcmpSendEcho failed 11010"));
}

TEST(TestLogTest, OtherSocketErrorsArePlain) {
    EXPECT_EQ(TestLog::socketErrorLine(kTcpipListener, u"", u"select failed"),
              SPW_CString(u"SOCKET ERROR: on tcpip listener (  ) :select failed"));
    EXPECT_EQ(TestLog::socketErrorLine(kUdpListener, u"", u"recvfrom failed"),
              SPW_CString(u"SOCKET ERROR: on udp listener (  ) :recvfrom failed"));
    EXPECT_EQ(TestLog::socketErrorLine(kMulticastConnector, u"228.227.226.225", u"send failed 10051"),
              SPW_CString(u"SOCKET ERROR: on multicast connector ( 228.227.226.225 ) :send failed 10051"));
    EXPECT_EQ(TestLog::socketErrorLine(kMulticastListener, u"228.227.226.225", u"select failed"),
              SPW_CString(u"SOCKET ERROR: on multicast listener ( 228.227.226.225 ) :select failed"));
}

TEST(TestLogTest, ALineThatFoundNoRoomIsQuotedWhole) {
    EXPECT_EQ(TestLog::lostLine(u"E :pinger sent seq # 1 to 10.0.0.7"),
              SPW_CString(u"LOG ERROR: Failed to log E :pinger sent seq # 1 to 10.0.0.7 fast enough"));
}

TEST(TestLogTest, LostLinesAreTold) {
    EXPECT_EQ(TestLog::lossLine(1), SPW_CString(u"LOG ERROR: 1 lines lost"));
    EXPECT_EQ(TestLog::lossLine(4294967295u), SPW_CString(u"LOG ERROR: 4294967295 lines lost"));
}

TEST(TestLogTest, UntilItIsOpenedLoggingIsOffAndEveryLineIsTaken) {
    TestLog log;
    EXPECT_FALSE(log.isOn());
    EXPECT_EQ(log.log(u"nowhere", 0), 0u);
    log.logOfProbe(u"nowhere", 0);
    log.logOfControl(u"nowhere");
    EXPECT_EQ(log.openResult(), 0u);
}

TEST(TestLogTest, OpeningBeginsANewFile) {
    const TemporaryFolder folder;
    folder.write("log.txt", "what an earlier run left");
    TestLog log;
    log.open(folder.path("log.txt"), u"a description", u"/usr/bin/linkometry", u"Version 1.0.0.0");
    EXPECT_EQ(log.openResult(), 0u);
    EXPECT_EQ(log.path(), folder.path("log.txt"));
    EXPECT_EQ(log.log(u"the only line", TestLog::kNoLimit), 0u);
    log.close();
    const std::string text = folder.read("log.txt");
    EXPECT_EQ(text.find("what an earlier run left"), std::string::npos);
    EXPECT_NE(text.find("a description"), std::string::npos);
    EXPECT_NE(text.find(" the only line\r\n"), std::string::npos);
}

TEST(TestLogTest, ALogThatIsInUseIsNotTouchedAndShowsInTheResult) {
    const TemporaryFolder folder;
    RecordingReporter reporter;
    TestLog log;
    log.open(folder.path("log.txt"), u"the first", u"a", u"v");
    EXPECT_EQ(log.log(u"a line", TestLog::kNoLimit), 0u);
    TestLog other;
    other.open(folder.path("log.txt"), u"the second", u"a", u"v");
    EXPECT_EQ(other.openResult(), 32u);
    EXPECT_FALSE(other.isOn());
    EXPECT_EQ(other.log(u"nowhere", TestLog::kNoLimit), 0u);
    EXPECT_EQ(reporter.takeReports().size(), 0u);
    EXPECT_EQ(log.log(u"another line", TestLog::kNoLimit), 0u);
    log.close();
    const std::string text = folder.read("log.txt");
    EXPECT_NE(text.find("the first"), std::string::npos);
    EXPECT_EQ(text.find("the second"), std::string::npos);
    EXPECT_NE(text.find(" a line\r\n"), std::string::npos);
    EXPECT_NE(text.find(" another line\r\n"), std::string::npos);

    other.open(folder.path("log.txt"), u"the second", u"a", u"v");
    EXPECT_EQ(other.openResult(), 0u);
    other.close();
    EXPECT_EQ(folder.read("log.txt").find("the first"), std::string::npos);
}

// Windows does not let it be deleted then.
TEST(TestLogTest, ALogThatSomebodyReadsIsWrittenAllTheSame) {
    const TemporaryFolder folder;
    const RecordingReporter quiet;
    folder.write("log.txt", "what an earlier run left");
    const std::ifstream reader(folder.native() / "log.txt");
    ASSERT_TRUE(reader.is_open());
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_EQ(log.openResult(), 0u);
    EXPECT_EQ(log.log(u"a line", TestLog::kNoLimit), 0u);
    log.close();
    EXPECT_NE(folder.read("log.txt").find(" a line\r\n"), std::string::npos);
}

TEST(TestLogTest, AFolderThatDoesNotExistShowsInTheResult) {
    const TemporaryFolder folder;
    TestLog log;
    log.open(folder.path("missing/log.txt"), u"", u"", u"");
    EXPECT_NE(log.openResult(), 0u);
    EXPECT_EQ(log.log(u"nowhere", TestLog::kNoLimit), 0u);
}

// A log whose writer hangs in the middle of a line.
class HangingLogTest : public testing::Test {
protected:
    HangingLogTest() {
        m_log.open(m_folder.path("log.txt"), u"", u"", u"");
        EXPECT_EQ(m_log.openResult(), 0u);
        m_clock.stop(true);
        EXPECT_EQ(m_log.log(u"the line that the writer cannot finish", TestLog::kNoLimit), 0u);
        m_clock.waitUntilSomebodyWaits();
    }
    bool isInTheFile(const std::string& line) const {
        return m_folder.read("log.txt").find(" " + line + "\r\n") != std::string::npos;
    }

    const TemporaryFolder m_folder;
    StoppableClock m_clock{*SPW_CClock::instance};
    const ScopedInstance<SPW_CClock> m_installed{m_clock};
    TestLog m_log;
};

TEST_F(HangingLogTest, NobodyWaitsAsLongAsLinesFindRoom) {
    m_log.setPatience(3600 * 1000);
    for (int i = 0; i < 500; ++i) {
        m_log.logOfProbe(u"a probe's line", TestLog::kNoLimit);
        m_log.logOfControl(u"the controller's line");
    }
    EXPECT_EQ(m_log.progress().untold, 0u);
    EXPECT_EQ(m_log.progress().missing(), 1001u);
    m_clock.stop(false);
    m_log.close();
    EXPECT_TRUE(isInTheFile("the controller's line"));
}

TEST_F(HangingLogTest, WithoutAPatienceTheCloseWaitsForTheWriter) {
    m_log.setPatience(TestLog::kNoPatience);
    m_log.logOfControl(u"the last line");
    std::thread closer([this] { m_log.close(); });
    awaitOthersAsleep();
    EXPECT_FALSE(isInTheFile("the last line"));
    m_clock.stop(false);
    closer.join();
    EXPECT_TRUE(isInTheFile("the last line"));
}

class OnceOnlyErrorsTest : public testing::TestWithParam<ProbeKind> {
protected:
    OnceOnlyErrors m_errors;
};

typedef OnceOnlyErrorsTest ListedKindTest;
INSTANTIATE_TEST_SUITE_P(Kinds, ListedKindTest, testing::Values(kTcpipConnector, kUdpConnector, kPinger));

TEST_P(ListedKindTest, AnErrorIsAdmittedOnceAnAddress) {
    EXPECT_TRUE(m_errors.admit(GetParam(), kAddress));
    EXPECT_FALSE(m_errors.admit(GetParam(), kAddress));
    EXPECT_TRUE(m_errors.admit(GetParam(), u"10.0.0.8"));
    EXPECT_FALSE(m_errors.admit(GetParam(), u"10.0.0.8"));
}

TEST_P(ListedKindTest, ASuccessMakesTheNextErrorNews) {
    EXPECT_TRUE(m_errors.admit(GetParam(), u"10.0.0.6"));
    EXPECT_TRUE(m_errors.admit(GetParam(), kAddress));
    EXPECT_TRUE(m_errors.admit(GetParam(), u"10.0.0.8"));
    m_errors.forget(GetParam(), kAddress);
    EXPECT_FALSE(m_errors.admit(GetParam(), u"10.0.0.6"));
    EXPECT_FALSE(m_errors.admit(GetParam(), u"10.0.0.8"));
    EXPECT_TRUE(m_errors.admit(GetParam(), kAddress));
}

TEST_P(ListedKindTest, EmptyingMakesEveryErrorNews) {
    EXPECT_TRUE(m_errors.admit(GetParam(), kAddress));
    m_errors.clear();
    EXPECT_TRUE(m_errors.admit(GetParam(), kAddress));
}

TEST_F(OnceOnlyErrorsTest, TheKindsAreKeptApart) {
    EXPECT_TRUE(m_errors.admit(kTcpipConnector, kAddress));
    EXPECT_TRUE(m_errors.admit(kUdpConnector, kAddress));
    EXPECT_TRUE(m_errors.admit(kPinger, kAddress));
    m_errors.forget(kUdpConnector, kAddress);
    EXPECT_FALSE(m_errors.admit(kTcpipConnector, kAddress));
    EXPECT_FALSE(m_errors.admit(kPinger, kAddress));
}

TEST_F(OnceOnlyErrorsTest, ErrorsOfOtherKindsAlwaysPass) {
    for (const ProbeKind kind : {kTcpipListener, kUdpListener, kMulticastConnector, kMulticastListener}) {
        EXPECT_TRUE(m_errors.admit(kind, kAddress));
        EXPECT_TRUE(m_errors.admit(kind, kAddress));
    }
}

}  // namespace
