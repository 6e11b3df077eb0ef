// The log writer on its way to the medium, and on a machine that has no thread left.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "Patience.h"
#include "RecordingReporter.h"
#include "RefusedThreads.h"
#include "SPW_CSysError.h"
#include "TemporaryFolder.h"
#include "TestLogWriter.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::atomic<int> flushes{0};

}  // namespace

// The linker sends the program's calls of fdatasync, by which what is written reaches the medium, here (--wrap).
extern "C" int __real_fdatasync(int file);
extern "C" int __wrap_fdatasync(int file);
extern "C" int __wrap_fdatasync(int file) {
    ++flushes;
    return __real_fdatasync(file);
}

namespace {

class FlushTest : public testing::Test {
protected:
    FlushTest() : m_writer(std::make_unique<TestLogWriter>(m_folder.path("log.txt"), u"d", u"a", u"v", 100)) {
        flushes = 0;  // the header has been flushed
    }
    void log() { EXPECT_EQ(m_writer->log(u"a line", -1), 0u); }
    static void waitForFlushes(int count) {
        EXPECT_TRUE(soon([count] { return flushes >= count; }));
    }

    TemporaryFolder m_folder;
    std::unique_ptr<TestLogWriter> m_writer;
};

TEST_F(FlushTest, ALineIsOnTheMediumWhenNoOtherFollows) {
    const auto begin = steady_clock::now();
    log();
    waitForFlushes(1);
    // Not only at the end of the writer's turn of a second. A busy machine may be late, but not each time.
    auto shortest = steady_clock::now() - begin;
    for (int attempt = 2; attempt < 10 && shortest >= milliseconds(700); ++attempt) {
        const auto again = steady_clock::now();
        log();
        waitForFlushes(attempt);
        shortest = std::min(shortest, steady_clock::now() - again);
    }
    EXPECT_LT(shortest, milliseconds(700));
}

TEST_F(FlushTest, LinesThatFollowOneAnotherAreFlushedOnceASecondNotOneByOne) {
    const auto begin = steady_clock::now();
    int lines = 0;
    while (steady_clock::now() - begin < milliseconds(2500)) {
        log();
        ++lines;
        std::this_thread::sleep_for(milliseconds(1));
    }
    EXPECT_GE(flushes, 1);
    // Some more when the machine was busy and the queue ran empty meanwhile.
    EXPECT_LT(flushes, lines / 4);
}

TEST_F(FlushTest, TheLastLinesAreOnTheMediumWhenTheLogIsClosed) {
    log();
    m_writer.reset();
    EXPECT_GE(flushes, 1);
}

TEST_F(FlushTest, WithoutALineNothingIsFlushed) {
    m_writer.reset();
    EXPECT_EQ(flushes, 0);
}

TEST(TestLogWriterPosixTest, WriterWithoutAThreadTakesNoLineAndKeepsNobodyWaiting) {
    TemporaryFolder folder;
    RecordingReporter reporter;
    const RefusedThreads refused;
    TestLogWriter writer(folder.path("log.txt"), u"description", u"application", u"1.2.3.4", 1);
    EXPECT_EQ(writer.openResult(), static_cast<SPW_Result>(kSysNotEnoughMemory));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(writer.log(u"line", -1), 700u);
    }
    EXPECT_EQ(reporter.takeReports().size(), 1u);
}

}  // namespace
