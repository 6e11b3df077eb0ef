#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "DescriptorOf.h"
#include "SPW_CError.h"
#include "TemporaryFolder.h"

namespace {

TEST(ErrorPosixTest, EchoOfATraceIsWrittenAtOnceWhereOutputIsNoTerminal) {
    SPW_CError error;
    error.setTraceFileMask(1);
    error.setConsoleEcho(true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(error.trace(1, SPW_CError::kNote, "Module", 1, "Class", "method", u"message"), 0u);
    const off_t written = ::lseek(STDOUT_FILENO, 0, SEEK_CUR);
    EXPECT_EQ(static_cast<std::size_t>(written), testing::internal::GetCapturedStdout().size());
    EXPECT_GT(written, 0);
}

TEST(ErrorPosixTest, FailureToCloseTheErrorLogIsAnswered) {
    const TemporaryFolder folder;
    SPW_CError error;
    ASSERT_EQ(error.openLogFile(folder.path("error.txt"), u"", 1), 0u);
    ASSERT_EQ(::close(descriptorOf(folder.native() / "error.txt")), 0);  // behind the log's back
    EXPECT_EQ(error.closeLogFile(), 6u);
    EXPECT_EQ(error.closeLogFile(), 464u);
}

}  // namespace
