#include <gmock/gmock.h>

#include <string>

#include "ReportMode.h"
#include "ScriptedNetworkInfo.h"
#include "TemporaryFolder.h"
#include "TemporaryRegistry.h"

namespace {

class ReportModePosixTest : public testing::Test {
protected:
    TemporaryFolder m_folder;
    TemporaryRegistry m_registry;
    ScriptedNetworkInfo m_network;
};

TEST_F(ReportModePosixTest, AFullDiskCountsAsNotWritten) {
    EXPECT_FALSE(writeReport(u"/dev/full"));
}

TEST_F(ReportModePosixTest, NamesThatNoFileCanHaveCountAsNotWritten) {
    EXPECT_FALSE(writeReport(u""));
    EXPECT_FALSE(writeReport(m_folder.path())) << "a folder";
    EXPECT_FALSE(writeReport(m_folder.path(std::string(300, 'x'))));
    EXPECT_FALSE(writeReport(m_folder.path(std::string(10000, 'x'))));
    EXPECT_EQ(m_folder.numberOfEntries(), 0);
}

TEST_F(ReportModePosixTest, ALinkLeadsToItsFile) {
    m_folder.write("file", "old");
    std::filesystem::create_symlink(m_folder.native() / "file", m_folder.native() / "link");
    ASSERT_TRUE(writeReport(m_folder.path("link")));
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.native() / "link"));
    EXPECT_THAT(m_folder.read("file"), testing::StartsWith("**System Settings**\r\n"));
}

}  // namespace
