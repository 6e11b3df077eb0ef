// What can happen to a log where an open file may be removed.

#include "SPW_CLogFile.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "CallFaults.h"
#include "DescriptorOf.h"
#include "FileSizeLimit.h"
#include "RecordingReporter.h"
#include "ScriptedClock.h"
#include "TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

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

class FullLogTest : public testing::Test {
protected:
    FullLogTest() { EXPECT_EQ(log.open(folder.path("log.txt"), u"", u"", u"", 0, 1, false), 0u); }

    // What the user was told, by information boxes without the place.
    std::vector<std::string> takeMessages() {
        std::vector<std::string> messages;
        for (const RecordingReporter::Box& box : reporter.boxes()) {
            EXPECT_EQ(box.icon, SPW_CMessageBox::kIconInformation) << box.text;
            const std::size_t begin = box.text.find("Message: ");
            messages.push_back(box.text.substr(begin + 9));
        }
        (void)reporter.takeReports();
        return messages;
    }
    static SPW_CArray<SPW_CString> linesOf(const std::vector<const char16_t*>& texts) {
        SPW_CArray<SPW_CString> lines;
        for (const char16_t* text : texts) {
            lines.append(text);
        }
        return lines;
    }
    std::string pathText() const { return folder.path("log.txt").toAnsi(); }

    TemporaryFolder folder;
    RecordingReporter reporter;
    ScriptedClock clock;
    SPW_CLogFile log;
};

TEST_F(FullLogTest, EveryLineThatIsInTheFileIsWholeAndTheLostOnesAreCounted) {
    EXPECT_EQ(log.writeLine(u"first", true), 0u);
    {
        const FileSizeLimit limit(25);
        EXPECT_EQ(log.writeLine(u"does not fit", true), 0u);
        EXPECT_EQ(log.writeLine(u"neither does this", true), 0u);
        EXPECT_EQ(folder.read("log.txt"), "14:07:09 first\r\n");
    }
    EXPECT_EQ(log.writeLine(u"last", true), 0u);
    EXPECT_EQ(
        folder.read("log.txt"),
        "14:07:09 first\r\n14:07:09 LOG ERROR: 2 lines could not be written: The disk is full\r\n14:07:09 last\r\n");
}

TEST_F(FullLogTest, AShortLineThatWouldFitWaitsForTheOneThatSaysWhatIsLost) {
    const FileSizeLimit limit(40);
    EXPECT_EQ(log.writeLine(u"a line that is much too long for what is left of the disk", true), 0u);
    EXPECT_EQ(log.writeLine(u"short", true), 0u);
    EXPECT_EQ(folder.read("log.txt"), "");
}

TEST_F(FullLogTest, UserIsToldOnceAtEachOutageWithPathAndCause) {
    {
        const FileSizeLimit limit(5);
        EXPECT_EQ(log.writeLine(u"lost", true), 0u);
        EXPECT_EQ(log.writeLine(u"lost", true), 0u);
    }
    EXPECT_THAT(takeMessages(), ElementsAre("the log " + pathText() +
                                            " cannot be written since 14:07:09: The disk is full; its lines are lost "
                                            "until it can be"));
    EXPECT_EQ(log.writeLine(u"written", true), 0u);
    EXPECT_THAT(takeMessages(), IsEmpty());
    clock.advanceMs(60000);
    const FileSizeLimit limit(5);
    EXPECT_EQ(log.writeLine(u"lost", true), 0u);
    EXPECT_THAT(takeMessages(), ElementsAre(HasSubstr(" since 14:08:09: ")));
}

TEST_F(FullLogTest, AfterALineThatStaysTornTheNextOneBeginsALineOfItsOwn) {
    {
        const FileSizeLimit limit(5);
        const ScopedFault refusal(truncateFault, descriptorOf(folder.native() / "log.txt"), EIO);
        EXPECT_EQ(log.writeLine(u"torn", true), 0u);
    }
    EXPECT_EQ(log.writeLine(u"whole", true), 0u);
    EXPECT_EQ(folder.read("log.txt"),
              "14:07\r\n14:07:09 LOG ERROR: 1 line could not be written: The disk is full\r\n"
              "14:07:09 whole\r\n");
}

TEST_F(FullLogTest, OfLinesWrittenTogetherThoseThatFitAreInTheFileAndTheOthersAreCounted) {
    {
        const FileSizeLimit limit(35);
        log.writeLines(linesOf({u"one", u"two", u"three", u"four"}), true);
        EXPECT_EQ(folder.read("log.txt"), "14:07:09 one\r\n14:07:09 two\r\n");
        EXPECT_THAT(takeMessages(), SizeIs(1));
        log.writeLines(linesOf({u"five", u"six"}), true);
        EXPECT_THAT(takeMessages(), IsEmpty());
    }
    log.writeLines(linesOf({u"seven", u"eight"}), true);
    EXPECT_EQ(folder.read("log.txt"),
              "14:07:09 one\r\n14:07:09 two\r\n"
              "14:07:09 LOG ERROR: 4 lines could not be written: The disk is full\r\n"
              "14:07:09 seven\r\n14:07:09 eight\r\n");
}

TEST_F(FullLogTest, OfLinesWrittenTogetherThatStayTornNoneIsInTheFileTwice) {
    {
        const FileSizeLimit limit(20);
        const ScopedFault refusal(truncateFault, descriptorOf(folder.native() / "log.txt"), EIO);
        log.writeLines(linesOf({u"one", u"two", u"three"}), true);
    }
    log.writeLines(linesOf({u"four", u"five"}), true);
    EXPECT_EQ(folder.read("log.txt"),
              "14:07:09 one\r\n14:07:\r\n14:07:09 LOG ERROR: 2 lines could not be written: The disk is full\r\n"
              "14:07:09 four\r\n14:07:09 five\r\n");
}

TEST_F(FullLogTest, WhatIsLostIsSaidAtTheCloseWhenNoLineComesAfterIt) {
    {
        const FileSizeLimit limit(5);
        EXPECT_EQ(log.writeLine(u"lost", true), 0u);
    }
    EXPECT_EQ(log.close(), 0u);
    EXPECT_EQ(folder.read("log.txt"), "14:07:09 LOG ERROR: 1 line could not be written: The disk is full\r\n");
}

TEST_F(FullLogTest, HeaderThatDidNotFitStandsBeforeTheFirstLineThatDoes) {
    SPW_CLogFile headed;
    {
        const FileSizeLimit limit(100);
        EXPECT_EQ(headed.open(folder.path("headed.txt"), u"description", u"a", u"v", 0, 1, true), 0u);
        EXPECT_EQ(headed.writeLine(u"lost", true), 0u);
        EXPECT_EQ(folder.read("headed.txt"), "");
    }
    EXPECT_THAT(takeMessages(), SizeIs(1));
    EXPECT_EQ(headed.writeLine(u"written", true), 0u);
    EXPECT_THAT(folder.read("headed.txt"),
                AllOf(StartsWith("--------"), HasSubstr("Description: description\r\n"),
                      EndsWith("-\r\n14:07:09 LOG ERROR: 1 line could not be written: The disk is full\r\n"
                               "14:07:09 written\r\n")));
}

TEST_F(FullLogTest, ADeviceWithoutAMediumIsNotAskedToFlush) {
    SPW_CLogFile device;
    ASSERT_EQ(device.open(u"/dev/null", u"", u"", u"", 0, 1, true), 0u);
    EXPECT_FALSE(device.isFlushable());
    SPW_CLogFile headed;
    ASSERT_EQ(headed.open(folder.path("headed.txt"), u"", u"", u"", 0, 1, true), 0u);
    EXPECT_TRUE(headed.isFlushable());
}

TEST(LogFilePosixTest, ColonsAndBackSlashesArePartOfTheNameAndRotateWithIt) {
    for (const char* name : {"a:b", "a\\b", "x.y:z"}) {
        const TemporaryFolder folder;
        RecordingReporter reporter;
        folder.makeFolder("d:e");
        SPW_CLogFile log;
        ASSERT_EQ(log.open(folder.path(std::string("d:e/") + name + ".txt"), u"", u"", u"", 1, 2, false), 0u);
        SPW_CString line;
        line.fill(u'x', 1024);
        EXPECT_EQ(log.writeLine(line, false), 0u);
        EXPECT_EQ(log.writeLine(line, false), 0u);
        EXPECT_EQ(folder.read(std::string("d:e/") + name + ".txt"), "");
        EXPECT_EQ(folder.read(std::string("d:e/") + name + "-1.txt").size(), 1026u) << name;
        EXPECT_EQ(folder.read(std::string("d:e/") + name + "-2.txt").size(), 1026u) << name;
        EXPECT_THAT(reporter.reports(), testing::IsEmpty());
    }
}

}  // namespace
