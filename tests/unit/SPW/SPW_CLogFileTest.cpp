#include "SPW_CLogFile.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "RecordingReporter.h"
#include "SPW_CDir.h"
#include "ScriptedClock.h"
#include "TemporaryFolder.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string kRule(80, '-');

class LogFileTest : public testing::Test {
protected:
    // A log without header and time stamps: its size is that of its lines.
    void openPlain(std::uint32_t maximumKilobytes, std::int32_t backups) {
        ASSERT_EQ(log.open(folder.path("log.txt"), u"", u"", u"", maximumKilobytes, backups, false), 0u);
    }

    // Writes a line that takes that many bytes in the file, its line end included.
    SPW_Result writeBytes(int bytes, char16_t character = u'x') {
        SPW_CString text;
        text.fill(character, bytes - 2);
        return log.writeLine(text, false);
    }

    static std::string line(int bytes, char character) {
        return std::string(static_cast<std::size_t>(bytes - 2), character) + "\r\n";
    }

    static std::string header(const char* description, const char* application, const char* version,
                              const char* opened) {
        return kRule + "\r\nDescription: " + description + "\r\nApplication: " + application +
               "\r\nVersion    : " + version + "\r\nOpened     : " + opened + "\r\n" + kRule + "\r\n";
    }

    TemporaryFolder folder;
    RecordingReporter reporter;
    ScriptedClock clock;
    SPW_CLogFile log;
};

// --- Opening and header ---

TEST_F(LogFileTest, HeaderShowsTheTextsAndTheLocalTimeOfOpening) {
    ASSERT_EQ(log.open(folder.path("log.txt"), u"Error logfile", u"Some application", u"3", 0, 1, true), 0u);
    EXPECT_EQ(folder.read("log.txt"), header("Error logfile", "Some application", "3", "7-3-2003 14:07:09"));
}

TEST_F(LogFileTest, HeaderShowsTheTimeOfTheLocalZone) {
    clock.setZoneMinutes(-6 * 60);
    ASSERT_EQ(log.open(folder.path("log.txt"), u"d", u"a", u"v", 0, 1, true), 0u);
    EXPECT_EQ(folder.read("log.txt"), header("d", "a", "v", "7-3-2003 8:07:09"));
}

TEST_F(LogFileTest, UnwantedHeaderIsNotWritten) {
    openPlain(0, 1);
    EXPECT_EQ(folder.read("log.txt"), "");
}

TEST_F(LogFileTest, ExistingLogIsContinuedAtItsEnd) {
    folder.write("log.txt", "before\r\n");
    ASSERT_EQ(log.open(folder.path("log.txt"), u"d", u"a", u"v", 0, 1, true), 0u);
    EXPECT_EQ(log.writeLine(u"after", false), 0u);
    EXPECT_EQ(folder.read("log.txt"), "before\r\n" + header("d", "a", "v", "7-3-2003 14:07:09") + "after\r\n");
}

TEST_F(LogFileTest, LogThatCannotBeOpenedAnswersTheFilesCodeAndStaysClosed) {
    EXPECT_EQ(log.open(folder.path("missing/log.txt"), u"d", u"a", u"v", 0, 1, true), 3u);
    EXPECT_FALSE(log.isOpen());
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "openReadWrite", 3, "Open file failed")));
}

TEST_F(LogFileTest, OperationsPassThroughToTheFile) {
    EXPECT_FALSE(log.isOpen());
    EXPECT_EQ(log.flush(), 163u);
    openPlain(0, 1);
    EXPECT_TRUE(log.isOpen());
    EXPECT_EQ(log.flush(), 0u);
    EXPECT_EQ(log.close(), 0u);
    EXPECT_FALSE(log.isOpen());
    EXPECT_TRUE(log.path() == folder.path("log.txt"));
}

// --- Lines ---

TEST_F(LogFileTest, LineWithTimeStartsWithTheLocalTimeAndOneBlank) {
    openPlain(0, 1);
    SPW_CalendarTime time;
    time.year = 2004;
    time.hour = 9;
    time.minute = 5;
    time.second = 3;
    clock.setWall(time);
    EXPECT_EQ(log.writeLine(u"text", true), 0u);
    EXPECT_EQ(folder.read("log.txt"), "09:05:03 text\r\n");
}

TEST_F(LogFileTest, LineWithoutTimeIsTheTextAlone) {
    openPlain(0, 1);
    EXPECT_EQ(log.writeLine(u"text", false), 0u);
    EXPECT_EQ(log.writeLine(u"", false), 0u);
    EXPECT_EQ(folder.read("log.txt"), "text\r\n\r\n");
}

TEST_F(LogFileTest, TextIsNoFormat) {
    openPlain(0, 1);
    EXPECT_EQ(log.writeLine(u"100%s %n", true), 0u);
    EXPECT_EQ(folder.read("log.txt"), "14:07:09 100%s %n\r\n");
}

TEST_F(LogFileTest, LineIsInTheFileWhenTheCallReturns) {
    openPlain(0, 1);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(log.writeLine(u"x", false), 0u);
        EXPECT_EQ(folder.read("log.txt").size(), static_cast<std::size_t>(3 * i));
    }
}

TEST_F(LogFileTest, LinesWrittenTogetherStandAsIfWrittenOneByOne) {
    const char16_t* const texts[] = {u"first", u"", u"100%s \u00E4\u20AC", u"last"};
    SPW_CArray<SPW_CString> lines;
    for (const char16_t* text : texts) {
        lines.append(text);
    }
    openPlain(0, 1);
    for (const bool withTime : {true, false}) {
        for (const char16_t* text : texts) {
            EXPECT_EQ(log.writeLine(text, withTime), 0u);
        }
        const std::string oneByOne = folder.read("log.txt");
        EXPECT_EQ(log.close(), 0u);
        folder.write("log.txt", "");
        openPlain(0, 1);
        log.writeLines(lines, withTime);
        EXPECT_EQ(folder.read("log.txt"), oneByOne);
        log.writeLines(SPW_CArray<SPW_CString>(), withTime);
        EXPECT_EQ(folder.read("log.txt"), oneByOne);
        EXPECT_EQ(log.close(), 0u);
        folder.write("log.txt", "");
        openPlain(0, 1);
    }
}

TEST_F(LogFileTest, LinesWrittenTogetherRotateTheLogWhereEachOfThemWould) {
    SPW_CArray<SPW_CString> lines;
    SPW_CString text;
    for (const char16_t character : {u'a', u'b', u'c', u'd', u'e'}) {
        text.fill(character, 510);
        lines.append(text);
    }
    openPlain(1, 2);
    log.writeLines(lines, false);
    EXPECT_EQ(folder.read("log-2.txt"), line(512, 'a') + line(512, 'b'));
    EXPECT_EQ(folder.read("log-1.txt"), line(512, 'c') + line(512, 'd'));
    EXPECT_EQ(folder.read("log.txt"), line(512, 'e'));
}

TEST_F(LogFileTest, LineToAClosedLogIsReportedOnceAndAnswersSuccess) {
    EXPECT_EQ(log.writeLine(u"lost", false), 0u);
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "errorIfNotOpen", 163, "writeTextcalled but no file was open.")));
}

// --- Rotation ---

TEST_F(LogFileTest, MaximumOfZeroNeverRotates) {
    openPlain(0, 1);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(writeBytes(1000), 0u);
    }
    EXPECT_EQ(folder.numberOfEntries(), 1);
    EXPECT_EQ(folder.read("log.txt").size(), 20000u);
}

TEST_F(LogFileTest, LineThatBringsTheLogTo1024BytesRotatesIt) {
    openPlain(1, 2);
    EXPECT_EQ(writeBytes(1000, u'a'), 0u);
    EXPECT_EQ(writeBytes(23, u'b'), 0u);
    EXPECT_FALSE(folder.exists("log-1.txt"));
    EXPECT_EQ(writeBytes(2), 0u);
    EXPECT_EQ(folder.read("log-1.txt"), line(1000, 'a') + line(23, 'b') + "\r\n");
    EXPECT_EQ(folder.read("log.txt"), "");
}

TEST_F(LogFileTest, Exactly1024BytesAreEnough) {
    openPlain(1, 2);
    EXPECT_EQ(writeBytes(1024), 0u);
    EXPECT_TRUE(folder.exists("log-1.txt"));
}

TEST_F(LogFileTest, RotationRemovesTheOldestBackupAndShiftsTheOthers) {
    folder.write("log-1.txt", "one");
    folder.write("log-2.txt", "two");
    folder.write("log-3.txt", "not ours");
    openPlain(1, 2);
    EXPECT_EQ(writeBytes(1500, u'n'), 0u);
    EXPECT_EQ(folder.read("log-2.txt"), "one");
    EXPECT_EQ(folder.read("log-1.txt"), line(1500, 'n'));
    EXPECT_EQ(folder.read("log.txt"), "");
    EXPECT_EQ(folder.read("log-3.txt"), "not ours");
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(LogFileTest, MissingBackupsLeaveAGap) {
    folder.write("log-2.txt", "two");
    openPlain(1, 3);
    EXPECT_EQ(writeBytes(1500), 0u);
    EXPECT_EQ(folder.read("log-3.txt"), "two");
    EXPECT_FALSE(folder.exists("log-2.txt"));
    EXPECT_TRUE(folder.exists("log-1.txt"));
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(LogFileTest, NewLogStartsWithAFreshHeader) {
    ASSERT_EQ(log.open(folder.path("log.txt"), u"d", u"a", u"v", 1, 1, true), 0u);
    clock.advanceMs(61'000);
    EXPECT_EQ(writeBytes(1000), 0u);
    EXPECT_EQ(folder.read("log.txt"), header("d", "a", "v", "7-3-2003 14:08:10"));
    EXPECT_EQ(folder.read("log-1.txt"), header("d", "a", "v", "7-3-2003 14:07:09") + line(1000, 'x'));
}

TEST_F(LogFileTest, WithoutBackupsTheFullLogIsDeleted) {
    openPlain(1, 0);
    EXPECT_EQ(writeBytes(2000), 0u);
    EXPECT_EQ(folder.read("log.txt"), "");
    EXPECT_EQ(folder.numberOfEntries(), 1);
    EXPECT_EQ(log.writeLine(u"on", false), 0u);
    EXPECT_EQ(folder.read("log.txt"), "on\r\n");
}

TEST_F(LogFileTest, TheDeletedLogIsNotTheNewOne) {
    openPlain(1, 0);
    std::filesystem::create_hard_link(folder.native() / "log.txt", folder.native() / "kept.txt");
    EXPECT_EQ(writeBytes(2000, u'a'), 0u);
    EXPECT_EQ(log.writeLine(u"new", false), 0u);
    EXPECT_EQ(folder.read("kept.txt"), line(2000, 'a'));
    EXPECT_EQ(folder.read("log.txt"), "new\r\n");
}

TEST_F(LogFileTest, BackupOfALogWithoutAnExtensionEndsWithADot) {
    ASSERT_EQ(log.open(folder.path("plain"), u"", u"", u"", 1, 1, false), 0u);
    EXPECT_EQ(writeBytes(1024), 0u);
    EXPECT_TRUE(folder.exists("plain-1."));
}

TEST_F(LogFileTest, FailedRenameLeavesTheSourceAndTheRotationGoesOn) {
    folder.makeFolder("log-2.txt");  // a directory is no backup, but takes its name
    folder.write("log-1.txt", "one");
    openPlain(1, 2);
    EXPECT_EQ(writeBytes(1500), 0u);
    EXPECT_EQ(folder.read("log-1.txt"), "one");
    EXPECT_EQ(folder.read("log.txt"), "");
    std::vector<unsigned long> codes;
    for (const RecordedReport& report : reporter.takeReports()) {
        EXPECT_EQ(report.className, "SPW_CDir");
        EXPECT_EQ(report.method, "rename");
        codes.push_back(report.code);
    }
    EXPECT_THAT(codes, ElementsAre(121u, 121u));
}

TEST_F(LogFileTest, LogWithoutADirectoryKeepsItsBackupsBesideIt) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.native());
    ASSERT_EQ(log.open(u"plain.txt", u"", u"", u"", 1, 1, false), 0u);
    EXPECT_EQ(writeBytes(1024), 0u);
    EXPECT_TRUE(folder.exists("plain-1.txt"));
    std::filesystem::current_path(before);
}

TEST_F(LogFileTest, DerivedLogWritesItsOwnHeader) {
    class OwnHeader : public SPW_CLogFile {
    public:
        void writeHeader(const SPW_CString&, const SPW_CString&, const SPW_CString&) override { ++headers; }
        int headers = 0;
    };
    OwnHeader own;
    ASSERT_EQ(own.open(folder.path("own.txt"), u"d", u"a", u"v", 1, 1, true), 0u);
    SPW_CString text;
    text.fill(u'x', 1024);
    EXPECT_EQ(own.writeLine(text, false), 0u);
    EXPECT_EQ(own.headers, 2);
    EXPECT_EQ(folder.read("own.txt"), "");
}

// --- Several threads ---

TEST_F(LogFileTest, LinesOfSeveralThreadsStayWholeThroughRotations) {
    constexpr int kThreads = 4;
    constexpr int kLines = 100;
    openPlain(1, 200);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([this] {
            for (int n = 0; n < kLines; ++n) {
                EXPECT_EQ(writeBytes(100), 0u);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> lines;
    for (const auto& entry : std::filesystem::directory_iterator(folder.native())) {
        std::istringstream stream(folder.read(entry.path().filename().string()));
        for (std::string text; std::getline(stream, text);) {
            lines.push_back(text);
        }
    }
    EXPECT_THAT(lines, SizeIs(kThreads * kLines));
    EXPECT_THAT(lines, Each(std::string(98, 'x') + "\r"));
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

}  // namespace
