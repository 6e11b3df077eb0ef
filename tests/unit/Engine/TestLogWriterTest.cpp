#include "TestLogWriter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OtherThreads.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "TemporaryFolder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::MatchesRegex;

constexpr std::int32_t kNoLimit = -1;

std::string lineNumber(int number) {
    return "line " + std::to_string(number);
}

class TestLogWriterTest : public testing::Test {
protected:
    void open(std::uint32_t capacity) {
        m_writer = std::make_unique<TestLogWriter>(m_folder.path("log.txt"), u"description", u"application", u"1.2.3.4",
                                                   capacity);
        ASSERT_EQ(m_writer->openResult(), 0u);
    }
    // Keeps the writer from taking lines until m_writer->unlock().
    void block() {
        // Ends the writer's wait for lines, which would last a second.
        std::thread awakener([this] {
            awaitOthersAsleep();
            EXPECT_EQ(m_writer->log(u"awake", kNoLimit), 0u);
        });
        m_writer->lock();
        awakener.join();
        while (!m_writer->isEmpty()) {
            m_writer->unlock();
            std::this_thread::yield();
            m_writer->lock();
        }
    }
    SPW_Result log(int number, std::int32_t waitMs) { return m_writer->log(lineNumber(number).c_str(), waitMs); }
    void close() { m_writer.reset(); }
    // The lines that were handed over, with their time prefix.
    std::vector<std::string> stampedLines() const {
        std::vector<std::string> lines;
        std::istringstream file(m_folder.read("log.txt"));
        for (std::string line; std::getline(file, line);) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            if (line.find("line ") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> texts;
        for (const std::string& line : stampedLines()) {
            texts.push_back(line.substr(line.find("line ")));
        }
        return texts;
    }
    static std::vector<std::string> lineNumbers(int from, int to) {
        std::vector<std::string> texts;
        for (int i = from; i <= to; ++i) {
            texts.push_back(lineNumber(i));
        }
        return texts;
    }

    TemporaryFolder m_folder;
    std::unique_ptr<TestLogWriter> m_writer;
};

TEST_F(TestLogWriterTest, FileBeginsWithTheHeaderAndLinesFollowInOrder) {
    open(100);
    for (int i = 1; i <= 250; ++i) {
        EXPECT_EQ(log(i, kNoLimit), 0u);
    }
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 250)));
    const std::string file = m_folder.read("log.txt");
    const std::size_t firstLine = file.find("line 1");
    for (const char* part : {"description", "application", "1.2.3.4"}) {
        EXPECT_LT(file.find(part), firstLine) << part;
    }
}

TEST_F(TestLogWriterTest, EveryLineHasTheTimePrefix) {
    open(100);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(log(i, kNoLimit), 0u);
    }
    close();
    EXPECT_THAT(stampedLines(), ElementsAre(MatchesRegex("..:..:.. line 1"), MatchesRegex("..:..:.. line 2"),
                                            MatchesRegex("..:..:.. line 3")));
}

TEST_F(TestLogWriterTest, TheLastLineOfAProgramWithoutMemoryIsWrittenAtOnce) {
    open(100);
    EXPECT_EQ(log(1, kNoLimit), 0u);
    m_writer->memoryIsExhausted();
    EXPECT_THAT(
        m_folder.read("log.txt"),
        testing::ContainsRegex("line 1\r\n..:..:.. FATAL ERROR: there is no memory left, the program ends\r\n$"));
}

TEST_F(TestLogWriterTest, WithoutMemoryAWriterThatCannotWriteHoldsUpNobodyForLong) {
    open(2);
    block();
    m_writer->memoryIsExhausted();
    m_writer->unlock();
}

TEST_F(TestLogWriterTest, LineAfterTheOneThatFillsTheQueueIsNotTakenInTime) {
    open(100);
    block();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_EQ(log(i, 0), 0u) << i;
    }
    const auto begin = steady_clock::now();
    EXPECT_EQ(log(101, 50), 700u);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(50) - kTimerTick);
    EXPECT_LT(steady_clock::now() - begin, kPatience);
    m_writer->unlock();
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 100)));
}

TEST_F(TestLogWriterTest, LineWithoutLimitWaitsUntilTheWriterHasTakenOne) {
    open(2);
    block();
    EXPECT_EQ(log(1, 0), 0u);
    EXPECT_EQ(log(2, 0), 0u);
    std::atomic<bool> taken{false};
    std::thread caller([&] {
        EXPECT_EQ(log(3, kNoLimit), 0u);
        taken = true;
    });
    awaitOthersAsleep();
    EXPECT_FALSE(taken);
    m_writer->unlock();
    caller.join();
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 3)));
}

TEST_F(TestLogWriterTest, ALogThatIsGivenUpLetsEverybodyGoWhoWaitsForIt) {
    open(2);
    block();
    EXPECT_EQ(log(1, 0), 0u);
    EXPECT_EQ(log(2, 0), 0u);
    std::atomic<int> refused{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 5; ++i) {
        waiters.emplace_back([this, &refused] { refused += log(3, kNoLimit) == 700u ? 1 : 0; });
    }
    awaitOthersAsleep();
    EXPECT_EQ(refused, 0);
    m_writer->giveUp();
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(refused, 5);
    EXPECT_EQ(log(4, kNoLimit), 700u);
    m_writer->unlock();
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 2)));
}

TEST_F(TestLogWriterTest, ItTellsHowManyLinesWereTakenAndHowManyAreWritten) {
    open(100);
    block();
    LogProgress before = m_writer->progress();
    while (before.written != before.taken) {
        before = m_writer->progress();
    }
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(log(i, 0), 0u);
    }
    EXPECT_EQ(m_writer->progress().taken, before.taken + 3);
    EXPECT_EQ(m_writer->progress().written, before.written);
    m_writer->unlock();
    while (m_writer->progress().written != before.taken + 3) {
        std::this_thread::yield();
    }
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 3)));
}

TEST_F(TestLogWriterTest, RoomComesBackAfterARefusedLine) {
    open(1);
    block();
    EXPECT_EQ(log(1, 0), 0u);
    EXPECT_EQ(log(2, 0), 700u);
    m_writer->unlock();
    EXPECT_EQ(log(3, kNoLimit), 0u);
    close();
    EXPECT_THAT(lines(), ElementsAre("line 1", "line 3"));
}

TEST_F(TestLogWriterTest, LinesHandedOverJustBeforeDestructionAreWritten) {
    open(100);
    block();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_EQ(log(i, 0), 0u);
    }
    m_writer->requestStop();
    m_writer->unlock();
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 100)));
}

TEST_F(TestLogWriterTest, DestructionDoesNotWaitOutTheWritersTurn) {
    // A machine that is busy elsewhere may take long over one of them, but not over every one.
    auto shortest = steady_clock::duration::max();
    for (int attempt = 0; attempt < 10 && shortest >= milliseconds(700); ++attempt) {
        open(100);
        awaitOthersAsleep();
        const auto begin = steady_clock::now();
        close();
        shortest = std::min(shortest, steady_clock::now() - begin);
    }
    EXPECT_LT(shortest, milliseconds(700));
}

TEST_F(TestLogWriterTest, LinesOfManyThreadsAllArrive) {
    open(3);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int j = 0; j < 50; ++j) {
                EXPECT_EQ(log(i * 50 + j, kNoLimit), 0u);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    close();
    EXPECT_THAT(lines(), testing::UnorderedElementsAreArray(lineNumbers(0, 199)));
}

TEST_F(TestLogWriterTest, LongAndForeignTextsPassWhole) {
    open(2);
    SPW_CString text(u"line ");
    for (int i = 0; i < 2000; ++i) {
        text.append(u"\x00E4");
    }
    EXPECT_EQ(m_writer->log(text, kNoLimit), 0u);
    close();
    EXPECT_THAT(lines(), ElementsAre(std::string(text.toAnsi())));
}

TEST_F(TestLogWriterTest, FileThatCannotBeOpenedIsToldOnceAndLinesGoNowhere) {
    RecordingReporter reporter;
    auto writer = std::make_unique<TestLogWriter>(m_folder.path("no/such/folder/log.txt"), u"d", u"a", u"v", 2);
    EXPECT_NE(writer->openResult(), 0u);
    EXPECT_EQ(reporter.takeReports().size(), 1u);
    for (int i = 1; i <= 10; ++i) {
        EXPECT_EQ(writer->log(u"line", kNoLimit), 0u);
    }
    writer.reset();
    EXPECT_EQ(reporter.takeReports().size(), 0u);
}

}  // namespace
