#include "ReportMode.h"

#include <gmock/gmock.h>

#include <new>
#include <string>

#include "SPW_CFile.h"
#include "ScopedInstance.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSocket.h"
#include "ScriptedSystemInfo.h"
#include "SilentSink.h"
#include "TemporaryFolder.h"
#include "TemporaryRegistry.h"
#include "TestEngine.h"

namespace {

// The size of the blocks that operator new refuses. 0 refuses nothing.
std::size_t refusedSize = 0;

}  // namespace

// The engine is made with the operator that returns null if there is no memory.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return size == refusedSize ? nullptr : ::operator new(size);
}

namespace {

class ReportModeTest : public testing::Test {
protected:
    ReportModeTest() {
        m_system.os.platform = kOsLinux;
        m_system.os.major = 6;
        m_system.os.minor = 1;
        m_system.os.build = 55;
        m_system.os.servicePack = u"Debian GNU/Linux 12 (bookworm)";
        m_network.network.domainName = "example.net";
        m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Zoë 李");
        m_registry.setSetting(u"log filename", m_folder.path("log.txt"));
    }
    ~ReportModeTest() override { refusedSize = 0; }

    static SPW_CString localInfo() {
        SilentSink sink;
        return TestEngine(&sink, false).localInfo();
    }

    TemporaryFolder m_folder;
    TemporaryRegistry m_registry;
    ScriptedSocket m_sockets;
    ScopedInstance<SPW_CSocket> m_socketsInstalled{m_sockets};
    ScriptedNetworkInfo m_network;
    ScriptedSystemInfo m_system;
    ScopedInstance<SPW_CSystemInfo> m_systemInstalled{m_system};
};

TEST_F(ReportModeTest, TheFileIsTheLocalInfoTextByteForByte) {
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    const std::string report = m_folder.read("report.txt");
    EXPECT_EQ(report, localInfo().toAnsi());
    EXPECT_THAT(report, testing::StartsWith(SPW_CString(u"**System Settings**\r\n"
                                                        "Linux version 6.1 Debian GNU/Linux 12 (bookworm) Build 55\r\n"
                                                        "Owner: Zoë 李\r\n"
                                                        "**End of System Settings**\r\n"
                                                        "**IP Settings**\r\n"
                                                        "   Local Host Name: device\r\n"
                                                        "   Local IP Address: 10.0.0.1\r\n"
                                                        "**Other System IP Settings**\r\n")
                                                .toAnsi()))
        << "neither a mark in front nor another line end";
    EXPECT_THAT(report, testing::EndsWith("\r\n**End of IP Settings**\r\n")) << "no null behind";
}

TEST_F(ReportModeTest, AnExistingFileIsReplaced) {
    m_folder.write("report.txt", std::string(100000, 'x'));
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_EQ(m_folder.read("report.txt"), localInfo().toAnsi());
}

TEST_F(ReportModeTest, AFileThatSomebodyElseHasOpenForWritingIsWritten) {
    SPW_CFile other;
    ASSERT_EQ(other.openCreateShared(m_folder.path("report.txt")), 0u);
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_EQ(m_folder.read("report.txt"), localInfo().toAnsi());
}

TEST_F(ReportModeTest, NoLogIsMadeOrTouched) {
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_FALSE(m_folder.exists("log.txt"));
    m_folder.write("log.txt", "an earlier run");
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_EQ(m_folder.read("log.txt"), "an earlier run");
}

TEST_F(ReportModeTest, NothingIsLeftOpen) {
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_EQ(m_sockets.startups(), 0);
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

TEST_F(ReportModeTest, AFileInAMissingFolderIsNotWrittenAndNobodyIsAsked) {
    EXPECT_FALSE(writeReport(m_folder.path("missing/report.txt")));
    EXPECT_EQ(m_network.networkScript.sizeQueries, 0);
}

TEST_F(ReportModeTest, WithoutMemoryForTheEngineTheFileStaysEmpty) {
    m_folder.write("report.txt", "an earlier report");
    refusedSize = sizeof(TestEngine);
    EXPECT_FALSE(writeReport(m_folder.path("report.txt")));
    EXPECT_EQ(m_folder.read("report.txt"), "");
}

TEST_F(ReportModeTest, AReportOfAnyLengthIsWrittenWhole) {
    m_network.network.dnsServers.assign(3000, {"192.0.2.1", ""});
    ASSERT_TRUE(writeReport(m_folder.path("report.txt")));
    EXPECT_GT(m_folder.read("report.txt").size(), 60000u);
    EXPECT_THAT(m_folder.read("report.txt"), testing::EndsWith("\r\n**End of IP Settings**\r\n"));
}

}  // namespace
