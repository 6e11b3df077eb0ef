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

}  // namespace
