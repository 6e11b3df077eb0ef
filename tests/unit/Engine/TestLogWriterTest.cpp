#include "TestLogWriter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ClockForwarder.h"
#include "OtherThreads.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "ScopedInstance.h"
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
    // The writer is blocked, and the call finds no room. It returns true once the writer goes on. Closes the log.
    template <typename Call>
    void expectToWaitForRoom(Call call) {
        std::atomic<bool> taken{false};
        std::thread caller([&] {
            EXPECT_TRUE(call());
            taken = true;
        });
        awaitOthersAsleep();
        EXPECT_FALSE(taken);
        m_writer->unlock();
        caller.join();
        close();
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

// A clock that ends the memory, when it is told to, in the thread that asks it for the local time next. The log's
// writer asks when it puts lines together.
class MemorylessClock : public ClockForwarder {
public:
    using ClockForwarder::ClockForwarder;
    void endMemory() { m_isOver = true; }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override {
        if (m_isOver.exchange(false)) {
            SPW_CMemory::exhausted();
        }
        return ClockForwarder::toLocal(wall100ns);
    }

private:
    std::atomic<bool> m_isOver{false};
};

class ExhaustedLogTest : public TestLogWriterTest {
protected:
    // Hands over that many lines, more than the queue holds, and has the writer find no memory for them. Ends the
    // process, which shows the log on standard error.
    void writeWithoutMemory(int count) {
        static TemporaryFolder& folder = m_folder;
        SPW_CMemory::watch([] {
            std::string text = folder.read("log.txt");
            text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
            std::fputs(text.c_str(), stderr);
            std::fflush(stderr);
        });
        MemorylessClock clock(*SPW_CClock::instance);
        const ScopedInstance<SPW_CClock> installed(clock);
        open(2);
        SPW_CMemory::setLog(m_writer.get());
        block();
        for (int i = 1; i <= count; ++i) {
            EXPECT_EQ(m_writer->offer(lineNumber(i).c_str(), kNoLimit), 0u);
        }
        clock.endMemory();
        m_writer->unlock();
        close();
    }
};

TEST_F(ExhaustedLogTest, TheLinesThatTheWriterHasTakenComeBeforeTheLastOne) {
    std::string expected = "awake\n";
    for (const std::string& line : lineNumbers(1, 150)) {
        expected += "..:..:.. " + line + "\n";
    }
    EXPECT_EXIT(writeWithoutMemory(150), testing::ExitedWithCode(SPW_CMemory::kExhaustedCode),
                expected + "..:..:.. FATAL ERROR: there is no memory left, the program ends\n");
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
    expectToWaitForRoom([this] { return log(3, kNoLimit) == 0u; });
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

// ---- Lines that are offered

class OfferedLinesTest : public TestLogWriterTest {
protected:
    // Whether the line has found room.
    bool offer(int number, std::int32_t lateAfterMs = kNoLimit) {
        return m_writer->offer(lineNumber(number).c_str(), lateAfterMs) == 0;
    }
    bool offerPatiently(int number, std::int32_t waitMs) {
        return m_writer->offerPatiently(lineNumber(number).c_str(), waitMs) == 0;
    }
    // Offers lines from that number on until one finds no room. The number of that one.
    int offerUntilFull(int number) {
        while (offer(number)) {
            ++number;
        }
        return number;
    }
};

TEST_F(OfferedLinesTest, BehindAFullQueueTheyWaitInTheirOrderWithoutTheirThread) {
    open(2);
    block();
    for (int i = 1; i <= 1000; ++i) {
        EXPECT_TRUE(offer(i)) << i;
    }
    m_writer->unlock();
    close();
    EXPECT_THAT(lines(), ElementsAreArray(lineNumbers(1, 1000)));
}

TEST_F(OfferedLinesTest, OneThatComesTooLateIsQuotedInALineOfItsOwn) {
    open(2);
    block();
    EXPECT_TRUE(offer(1, 0));
    EXPECT_TRUE(offer(2, 0));
    EXPECT_TRUE(offer(3, 0));
    EXPECT_TRUE(offer(4, 3600 * 1000));
    EXPECT_TRUE(offer(5));
    m_writer->unlock();
    close();
    EXPECT_THAT(lines(), ElementsAre("line 1", "line 2", "line 3 fast enough", "line 4", "line 5"));
    EXPECT_THAT(m_folder.read("log.txt"), testing::HasSubstr(" LOG ERROR: Failed to log line 3 fast enough\r\n"));
}

TEST_F(OfferedLinesTest, ThoseThatFindNoRoomAreCountedWhereTheyWouldStand) {
    open(2);
    block();
    const int firstLost = offerUntilFull(1);
    EXPECT_FALSE(offer(0));
    EXPECT_FALSE(offer(0));
    EXPECT_EQ(m_writer->progress().untold, 3u);
    m_writer->unlock();
    while (m_writer->progress().untold != 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(offer(firstLost + 1));
    close();
    std::vector<std::string> expected = lineNumbers(1, firstLost - 1);
    expected.push_back(lineNumber(firstLost + 1));
    EXPECT_THAT(lines(), ElementsAreArray(expected));
    EXPECT_THAT(m_folder.read("log.txt"),
                testing::ContainsRegex(lineNumber(firstLost - 1) + "\r\n..:..:.. LOG ERROR: 3 lines lost\r\n..:..:.. " +
                                       lineNumber(firstLost + 1) + "\r\n$"));
}

TEST_F(OfferedLinesTest, OfAFloodAllAreWrittenOrCounted) {
    open(2);
    block();
    std::atomic<int> lost{0};
    constexpr int kThreads = 4;
    constexpr int kLinesEach = 20000;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([this, &lost] {
            for (int j = 0; j < kLinesEach; ++j) {
                lost += m_writer->offer(u"flood", kNoLimit) == 0 ? 0 : 1;
            }
        });
    }
    while (lost == 0) {
        std::this_thread::yield();
    }
    m_writer->unlock();
    for (std::thread& thread : threads) {
        thread.join();
    }
    close();
    int written = 0;
    int told = 0;
    std::istringstream file(m_folder.read("log.txt"));
    for (std::string line; std::getline(file, line);) {
        constexpr std::size_t kNumber = 20;  // behind "00:00:00 LOG ERROR: "
        written += line.find(" flood\r") != std::string::npos ? 1 : 0;
        told += line.find(" lines lost\r") != std::string::npos ? std::stoi(line.substr(kNumber)) : 0;
    }
    EXPECT_EQ(told, lost);
    EXPECT_EQ(written + told, kThreads * kLinesEach);
    EXPECT_GT(written, 0);
}

TEST_F(OfferedLinesTest, OfOneThreadTheyStayInOrderAmongThoseOfOthers) {
    open(3);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int j = 0; j < 200; ++j) {
                EXPECT_TRUE(offer(i * 1000 + j));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    close();
    std::vector<int> next = {0, 1000, 2000, 3000};
    for (const std::string& line : lines()) {
        const int number = std::stoi(line.substr(5));
        EXPECT_EQ(number, next[static_cast<std::size_t>(number / 1000)]++);
    }
    EXPECT_THAT(next, ElementsAre(200, 1200, 2200, 3200));
}

TEST_F(OfferedLinesTest, APatientThreadWaitsForRoom) {
    open(2);
    block();
    const int next = offerUntilFull(1);
    expectToWaitForRoom([&] { return offerPatiently(next, 3600 * 1000); });
    EXPECT_EQ(lines().back(), lineNumber(next));
}

TEST_F(OfferedLinesTest, APatientThreadWaitsOnceInAStandstill) {
    open(2);
    block();
    (void)offerUntilFull(1);
    const auto begin = steady_clock::now();
    EXPECT_FALSE(offerPatiently(0, 50));
    EXPECT_GE(steady_clock::now() - begin, milliseconds(50) - kTimerTick);
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(offerPatiently(0, 3600 * 1000));
    }
    EXPECT_EQ(m_writer->progress().untold, 102u);
    m_writer->unlock();
    while (m_writer->progress().untold != 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(offerPatiently(0, 3600 * 1000));
}

TEST_F(OfferedLinesTest, ALogThatIsGivenUpTakesNoneAndCountsThem) {
    open(2);
    block();
    const int firstLost = offerUntilFull(1);
    std::thread waiter([this] { EXPECT_FALSE(offerPatiently(0, 3600 * 1000)); });
    awaitOthersAsleep();
    m_writer->giveUp();
    waiter.join();
    EXPECT_FALSE(offer(0));
    const LogProgress progress = m_writer->progress();
    EXPECT_EQ(progress.untold, 3u);
    EXPECT_GE(progress.missing(), static_cast<std::uint32_t>(firstLost - 1 + 3));
    m_writer->unlock();
}

TEST_F(OfferedLinesTest, TheEndWaitsForALogThatStandsStillNoLongerThanItsPatience) {
    open(2);
    block();
    const int next = offerUntilFull(1);
    awaitOthersAsleep();  // the writer, at the gate; on its way there it would see the request first
    EXPECT_FALSE(m_writer->end(20));
    EXPECT_FALSE(m_writer->end(20));
    m_writer->unlock();
    EXPECT_TRUE(m_writer->end(60 * 1000));
    EXPECT_TRUE(m_writer->end(60 * 1000));
    close();
    EXPECT_THAT(lines().size(), next - 1);
    EXPECT_THAT(m_folder.read("log.txt"), EndsWith(" LOG ERROR: 1 lines lost\r\n"));
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
