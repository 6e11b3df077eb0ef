// What Linux has that is neither a file nor a folder, as the test log.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

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

}  // namespace
