#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <string>
#include <thread>

#include "CallFaults.h"
#include "DescriptorOf.h"
#include "FileSizeLimit.h"
#include "RecordingReporter.h"
#include "SPW_CClock.h"
#include "SPW_CFile.h"
#include "TemporaryFolder.h"

// Failures that need devices of Linux: a disk that is always full, a file without a position, memory that is not
// mapped.
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

class FilePosixTest : public testing::Test {
protected:
    // A named pipe, open at both ends: it has no position and no medium.
    void openPipe() {
        ASSERT_EQ(::mkfifo((folder.native() / "pipe").c_str(), 0600), 0);
        ASSERT_EQ(file.openReadWrite(folder.path("pipe"), false), 0u);
    }

    TemporaryFolder folder;
    RecordingReporter reporter;
    SPW_CFile file;
};

TEST_F(FilePosixTest, TextIsWrittenInUtf8WhichMayBeLongerThanItsCharacters) {
    ASSERT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    EXPECT_EQ(file.writeText(u"\u00e4\u20ac"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "\xC3\xA4\xE2\x82\xAC");
}

TEST_F(FilePosixTest, FullDiskIsReportedByEveryWrite) {
    struct Case {
        const char* method;
        std::function<SPW_Result()> call;
    };
    const Case cases[] = {
        {"write", [this] { return file.write("x", 1); }},
        {"write", [this] { return file.writeDouble(1); }},
        {"writeText", [this] { return file.writeText(u"x"); }},
        {"writeNewLine", [this] { return file.writeNewLine(); }},
    };
    ASSERT_EQ(file.openReadWrite(u"/dev/full", false), 0u);
    for (const Case& write : cases) {
        EXPECT_EQ(write.call(), 112u);
        EXPECT_THAT(reporter.takeReports(), ElementsAre(AllOf(IsReport("SPW_CFile", write.method, 112, "write failed."),
                                                              Field(&RecordedReport::module, "SPW_CFileW32"))));
        EXPECT_TRUE(file.isOpen());
    }
}

TEST_F(FilePosixTest, EveryMoveThatFailsHasItsOwnMessage) {
    struct Case {
        const char* method;
        const char* message;
        std::function<SPW_Result()> call;
    };
    std::uint32_t position = 0;
    const Case cases[] = {
        {"getPosition", "Get position failed", [&] { return file.getPosition(position); }},
        {"moveRelative", "Move file pointer failed", [&] { return file.moveRelative(1); }},
        {"moveToBegin", "Move to begin of file failed", [&] { return file.moveToBegin(); }},
        {"moveToEnd", "Move to end of file failed", [&] { return file.moveToEnd(); }},
        {"setPosition", "Set file pointer failed.", [&] { return file.setPosition(1); }},
    };
    openPipe();
    for (const Case& move : cases) {
        EXPECT_EQ(move.call(), 132u);
        EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", move.method, 132, move.message)));
        EXPECT_TRUE(file.isOpen());
    }
}

TEST_F(FilePosixTest, StringThatCannotBeReadToItsEndAloneFails) {
    openPipe();
    EXPECT_EQ(file.writeText(u"one;two"), 0u);
    SPW_CString text(u"old");
    EXPECT_EQ(file.readCString(text, ';'), 132u);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "moveRelative", 132, "Move file pointer failed"),
                            IsReport("SPW_CFile", "readCString", 132, "readToEndChar failed")));
}

TEST_F(FilePosixTest, FailedQueryAndFailedCloseHaveTheirOwnMessages) {
    ASSERT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    ASSERT_EQ(::close(descriptorOf(folder.native() / "a.txt")), 0);  // behind the object's back
    std::uint32_t size = 99;
    EXPECT_EQ(file.getSize(size), 6u);
    EXPECT_EQ(size, 0u);
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.close(), 6u);
    EXPECT_FALSE(file.isOpen());
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "getSize", 6, "Get file size failed"),
                                                    IsReport("SPW_CFile", "close", 6, "Close file failed")));
}

TEST_F(FilePosixTest, NewFileHasTheAttributesThatTheUserWants) {
    const mode_t before = ::umask(026);
    EXPECT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    ::umask(before);
    struct stat status;
    ASSERT_EQ(::stat((folder.native() / "a.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

// Signals arrive while the read waits; the byte comes after they have been handled.
TEST_F(FilePosixTest, SignalDoesNotCutAReadShort) {
    static std::atomic<int> handled;
    handled = 0;
    struct sigaction counting = {};
    counting.sa_handler = [](int) { ++handled; };
    struct sigaction before;
    ASSERT_EQ(::sigaction(SIGUSR1, &counting, &before), 0);
    openPipe();
    std::atomic<bool> done{false};
    std::thread reader([&] {
        char byte = 0;
        std::uint32_t count = 0;
        EXPECT_EQ(file.read(&byte, 1, count), 0u);
        EXPECT_EQ(byte, 'x');
        done = true;
    });
    while (handled < 20 && !done) {
        ::pthread_kill(reader.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    SPW_CFile writer;
    ASSERT_EQ(writer.openReadWrite(folder.path("pipe"), false), 0u);
    EXPECT_EQ(writer.writeText(u"x"), 0u);
    reader.join();
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(FilePosixTest, FlushOfWhatHasNoMediumFails) {
    openPipe();
    EXPECT_EQ(file.flush(), 87u);
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "flush", 87, "flush error")));
}

TEST_F(FilePosixTest, AppendToWhatHasNoEndLeavesTheObjectClosed) {
    ASSERT_EQ(::mkfifo((folder.native() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(file.openReadWrite(folder.path("pipe"), true), 132u);
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "moveToEnd", 132, "Move to end of file failed")));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FilePosixTest, FailedReadIsReportedAndReadsNothing) {
    ASSERT_EQ(file.openReadOnly(u"/proc/self/mem"), 0u);
    char buffer[4];
    std::uint32_t count = 99;
    EXPECT_EQ(file.read(buffer, sizeof buffer, count), 1117u);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "read", 1117, "read file failed.")));
}

TEST_F(FilePosixTest, StringWhoseReadFailsIsReportedByThePieceAndByTheString) {
    ASSERT_EQ(file.openReadOnly(u"/proc/self/mem"), 0u);
    SPW_CString text(u"old");
    EXPECT_EQ(file.readCString(text, 'x'), 1117u);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "readToEndChar", 1117, "read file failed."),
                            AllOf(IsReport("SPW_CFile", "readCString", 1117, "readToEndChar failed"),
                                  Field(&RecordedReport::caption, "Linked Error"))));
}

TEST_F(FilePosixTest, FileIsNotHandedOnToOtherPrograms) {
    ASSERT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    const int flags = ::fcntl(descriptorOf(folder.native() / "a.txt"), F_GETFD);
    ASSERT_NE(flags, -1);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
}

// What has been written goes on behind it; a pipe takes no more than 64 KiB at once.
TEST_F(FilePosixTest, WriteThatTheSystemTakesInPiecesAndSignalsInterruptIsWholeInTheFile) {
    static std::atomic<int> handled;
    handled = 0;
    struct sigaction counting = {};
    counting.sa_handler = [](int) { ++handled; };
    struct sigaction before;
    ASSERT_EQ(::sigaction(SIGUSR1, &counting, &before), 0);
    openPipe();
    std::string sent(300000, ' ');
    for (std::size_t i = 0; i < sent.size(); ++i) {
        sent[i] = static_cast<char>('a' + i % 23);
    }
    std::atomic<bool> done{false};
    std::thread writer([&] {
        EXPECT_EQ(file.write(sent.data(), static_cast<std::uint32_t>(sent.size())), 0u);
        done = true;
    });
    const int reader = ::open((folder.native() / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_NE(reader, -1);
    std::string received;
    while (!done || handled < 20) {
        const int interrupted = handled;
        // Signals come in the middle of a write that has written a part, and in one that has written nothing yet.
        while (!done && handled < interrupted + 2) {
            ::pthread_kill(writer.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
        char piece[20000];
        const ssize_t count = ::read(reader, piece, sizeof piece);
        if (count > 0) {
            received.append(piece, static_cast<std::size_t>(count));
        }
        if (done) {
            break;
        }
    }
    writer.join();
    char rest[65536];
    for (ssize_t count; (count = ::read(reader, rest, sizeof rest)) > 0;) {
        received.append(rest, static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(received == sent) << received.size();
    EXPECT_GE(handled, 20);
    ::close(reader);
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(FilePosixTest, InterruptedCloseHasClosedAndIsNotRepeated) {
    ASSERT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    const ScopedFault interruption(closeFault, descriptorOf(folder.native() / "a.txt"), EINTR);
    EXPECT_EQ(file.close(), 0u);
    EXPECT_EQ(closeFault.calls, 1);
    EXPECT_EQ(descriptorOf(folder.native() / "a.txt"), -1);
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

// --- Writers and the end of the file ---

TEST_F(FilePosixTest, FileThatAnotherProgramEmptiesGoesOnFromItsBegin) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    EXPECT_EQ(file.writeText(u"before"), 0u);
    ASSERT_EQ(::truncate((folder.native() / "a.txt").c_str(), 0), 0);
    EXPECT_EQ(file.writeText(u"after"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "after");
}

TEST_F(FilePosixTest, TextThatDoesNotFitIsTakenBackToTheLastByte) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    bool isTorn = true;
    ASSERT_EQ(file.writeWhole(u"whole|", isTorn), 0u);
    {
        const FileSizeLimit limit(10);
        EXPECT_EQ(file.writeWhole(u"too long", isTorn), 112u);
    }
    EXPECT_FALSE(isTorn);
    EXPECT_EQ(folder.read("a.txt"), "whole|");
    EXPECT_EQ(file.writeWhole(u"next", isTorn), 0u);
    EXPECT_EQ(folder.read("a.txt"), "whole|next");
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FilePosixTest, TextThatCannotBeTakenBackIsTorn) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    bool isTorn = false;
    const FileSizeLimit limit(4);
    const ScopedFault refusal(truncateFault, descriptorOf(folder.native() / "a.txt"), EIO);
    EXPECT_EQ(file.writeWhole(u"too long", isTorn), 112u);
    EXPECT_TRUE(isTorn);
    EXPECT_EQ(folder.read("a.txt"), "too ");
}

TEST_F(FilePosixTest, LockFollowsTheFileAtThePathNotOneThatWasDeletedMeanwhile) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    ASSERT_EQ(::unlink((folder.native() / "a.txt").c_str()), 0);
    SPW_CFile other;
    ASSERT_EQ(other.openToAppend(folder.path("a.txt")), 0u);
    SPW_CFile third;
    EXPECT_EQ(third.openToAppend(folder.path("a.txt")), 32u);
}

TEST_F(FilePosixTest, DevicesAreSharedByAllWhoWriteToThem) {
    ASSERT_EQ(file.openToAppend(u"/dev/null"), 0u);
    SPW_CFile other;
    EXPECT_EQ(other.openToAppend(u"/dev/null"), 0u);
}

}  // namespace
