// What can happen to a log where an open file may be removed.

#include "SPW_CLogFile.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "RecordingReporter.h"
#include "TemporaryFolder.h"

namespace {

TEST(LogFilePosixTest, LogThatCannotBeReopenedAnswersTheFilesCode) {
    const TemporaryFolder folder;
    RecordingReporter reporter;
    SPW_CLogFile log;
    folder.makeFolder("sub");
    ASSERT_EQ(log.open(folder.path("sub/log.txt"), u"", u"", u"", 1, 1, true), 0u);
    std::filesystem::remove_all(folder.native() / "sub");
    SPW_CString line;
    line.fill(u'x', 1024);
    EXPECT_EQ(log.writeLine(line, false), 3u);
    EXPECT_FALSE(log.isOpen());
    EXPECT_THAT(reporter.takeReports(),
                testing::ElementsAre(IsReport("SPW_CFile", "openCreateNew", 3, "Open file failed")));
}

}  // namespace
