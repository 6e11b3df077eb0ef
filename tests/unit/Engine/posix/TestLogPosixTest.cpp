// What Linux has that is neither a file nor a folder, as the test log.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "RegistryFolder.h"
#include "TemporaryFolder.h"
#include "TestLog.h"

namespace {

TEST(TestLogPosixTest, ADeviceIsWrittenToAndStays) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("/dev/null", folder.native() / "log.txt");
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_EQ(log.openResult(), 0u);
    EXPECT_EQ(log.log(u"nowhere", TestLog::kNoLimit), 0u);
    log.close();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.native() / "log.txt"));
}

TEST(TestLogPosixTest, APipeThatNobodyReadsShowsInTheResultAndKeepsNobodyWaiting) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.native() / "log.txt").c_str(), 0600), 0);
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_NE(log.openResult(), 0u);
    EXPECT_EQ(log.log(u"nowhere", TestLog::kNoLimit), 0u);
    log.close();
    EXPECT_TRUE(std::filesystem::is_fifo(folder.native() / "log.txt"));
}

TEST(TestLogPosixTest, ALinkStaysAndLeadsToTheNewLog) {
    const TemporaryFolder folder;
    folder.makeFolder("logs");
    folder.write("logs/log.txt", "an earlier run");
    std::filesystem::create_symlink("logs/log.txt", folder.native() / "log.txt");
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_EQ(log.openResult(), 0u);
    EXPECT_EQ(log.log(u"a line", TestLog::kNoLimit), 0u);
    log.close();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.native() / "log.txt"));
    EXPECT_EQ(folder.read("logs/log.txt").find("an earlier run"), std::string::npos);
    EXPECT_NE(folder.read("logs/log.txt").find(" a line\r\n"), std::string::npos);
}

TEST(TestLogPosixTest, ALinkToNothingYetIsALogToo) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("new.txt", folder.native() / "log.txt");
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_EQ(log.openResult(), 0u);
    log.close();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.native() / "log.txt"));
    EXPECT_TRUE(folder.exists("new.txt"));
}

// Such as one that the superuser has left in the user's folder.
TEST(TestLogPosixTest, AFileThatMayOnlyBeReadIsReplaced) {
    const TemporaryFolder folder;
    folder.write("log.txt", "an earlier run");
    ASSERT_EQ(chmod((folder.native() / "log.txt").c_str(), 0444), 0);
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    EXPECT_EQ(log.openResult(), 0u);
    log.close();
    EXPECT_EQ(folder.read("log.txt").find("an earlier run"), std::string::npos);
}

TEST(TestLogPosixTest, ALogThatAnotherProgramEmptiesGoesOnWithoutAHole) {
    const TemporaryFolder folder;
    TestLog log;
    log.open(folder.path("log.txt"), u"", u"", u"");
    std::filesystem::resize_file(folder.native() / "log.txt", 0);
    EXPECT_EQ(log.log(u"a line", TestLog::kNoLimit), 0u);
    log.close();
    EXPECT_EQ(folder.read("log.txt").substr(8), " a line\r\n");
}

// The log holds what the registry holds.
class LogRightsTest : public testing::Test {
protected:
    void setHive(const char* name, mode_t mode) const {
        m_registry.write(name, "Windows Registry Editor Version 5.00\n");
        ASSERT_EQ(chmod((m_registry.native() / name).c_str(), mode), 0);
    }
    mode_t logMode() const {
        struct stat status {};
        EXPECT_EQ(stat((m_folder.native() / "log.txt").c_str(), &status), 0);
        return status.st_mode & 07777;
    }
    void open() { m_log.open(m_folder.path("log.txt"), u"d", u"a", u"v"); }

    const RegistryFolder m_registry;
    const TemporaryFolder m_folder;
    TestLog m_log;
};

TEST_F(LogRightsTest, WhereAHiveIsItsOwnersAloneTheLogIsToo) {
    for (const char* hive : {"HKEY_CURRENT_USER.reg", "HKEY_LOCAL_MACHINE.reg"}) {
        setHive("HKEY_CURRENT_USER.reg", 0644);
        setHive("HKEY_LOCAL_MACHINE.reg", 0644);
        setHive(hive, 0600);
        open();
        EXPECT_EQ(logMode(), 0600u) << hive;
        m_log.close();
    }
}

TEST_F(LogRightsTest, WhereHivesAreReadByAllOrMissingTheLogHasTheUsualRights) {
    const mode_t before = umask(022);
    open();
    EXPECT_EQ(logMode(), 0644u);
    m_log.close();
    setHive("HKEY_CURRENT_USER.reg", 0644);
    open();
    umask(before);
    EXPECT_EQ(logMode(), 0644u);
}

TEST_F(LogRightsTest, AGroupThatMayReadTheHiveMayReadTheLog) {
    const mode_t before = umask(022);
    setHive("HKEY_CURRENT_USER.reg", 0640);
    open();
    umask(before);
    EXPECT_EQ(logMode(), 0640u);
}

TEST_F(LogRightsTest, AHiveThatIsProtectedLaterCountsFromThen) {
    setHive("HKEY_CURRENT_USER.reg", 0644);
    open();
    setHive("HKEY_CURRENT_USER.reg", 0600);
    m_log.limitRights();
    EXPECT_EQ(logMode(), 0600u);
}

TEST_F(LogRightsTest, AMissingLogIsNotMadeByLimitingItsRights) {
    setHive("HKEY_CURRENT_USER.reg", 0600);
    open();
    std::filesystem::remove(m_folder.native() / "log.txt");
    m_log.limitRights();
    EXPECT_FALSE(m_folder.exists("log.txt"));
}

}  // namespace
