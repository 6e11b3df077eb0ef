#include "SPW_CThreadMessageQueue.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OtherThreads.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "ScriptedClock.h"
#include "TemporaryFolder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kTraceLevel = 16;

// A queue whose reader is the test itself: its own thread is never started.
class Queue : public SPW_CThreadMessageQueue {
public:
    Queue() = default;
    explicit Queue(std::uint32_t capacity) : SPW_CThreadMessageQueue(capacity) {}
    void step() override {}
    void finish() override {}
    std::uintptr_t take(std::uint32_t timeoutMs = 0) {
        std::uintptr_t message = 99;
        (void)qGetMsg(message, timeoutMs);
        return message;
    }
};

// Counts the messages that are alive.
class Counted : public SPW_CMessage {
public:
    Counted() { ++alive; }
    ~Counted() override { --alive; }
    static inline std::atomic<int> alive{0};
};

// The short trace texts of one level, without time and thread.
class Traces : public SPW_CTraceListener {
public:
    explicit Traces(SPW_CError& reporter) : m_reporter(reporter) { m_reporter.addListener(this, kTraceLevel); }
    ~Traces() override { m_reporter.removeListener(this); }
    void notify(const SPW_CString& text, std::uint32_t) override {
        const std::string whole = text.toAnsi();
        const std::size_t begin = whole.find(' ') + 1;
        texts.push_back(whole.substr(begin, whole.find(" (th=") - begin));
    }
    std::vector<std::string> texts;

private:
    SPW_CError& m_reporter;
};

TEST(MessageQueueTest, ACapacityOfZeroIsOnePlace) {
    Queue queue(0);
    for (const std::uintptr_t message : {7u, 8u}) {
        EXPECT_TRUE(queue.isEmpty());
        queue.qAddMsg(message);
        EXPECT_TRUE(queue.isFull());
        EXPECT_EQ(queue.take(), message);
    }
}

TEST(MessageQueueTest, SecondAddBlocksUntilFirstIsTaken) {
    Queue queue;
    queue.qAddMsg(1);
    EXPECT_TRUE(queue.isFull());
    std::atomic<bool> added{false};
    std::thread writer([&] {
        queue.qAddMsg(2);
        added = true;
    });
    awaitOthersAsleep();
    EXPECT_FALSE(added);
    EXPECT_EQ(queue.take(), 1u);
    writer.join();
    EXPECT_TRUE(added);
    EXPECT_EQ(queue.take(), 2u);
}

TEST(MessageQueueTest, AnAddThatMayNotBlockLeavesTheMessageWithTheCallerWhenThereIsNoPlace) {
    Queue queue(2);
    EXPECT_TRUE(queue.qTryAddMsg(1));
    EXPECT_TRUE(queue.qTryAddMsg(2));
    EXPECT_FALSE(queue.qTryAddMsg(3));
    EXPECT_EQ(queue.take(), 1u);
    EXPECT_TRUE(queue.qTryAddMsg(4));
    EXPECT_EQ(queue.take(), 2u);
    EXPECT_EQ(queue.take(), 4u);
    EXPECT_EQ(queue.take(), 0u);
}

TEST(MessageQueueTest, MessagesComeOutInOrderAndPointerSized) {
    Queue queue(3);
    const std::uintptr_t large = ~std::uintptr_t{0} - 15;
    queue.qAddMsg(7);
    queue.qAddMsg(large);
    queue.qAddMsg(5);
    EXPECT_EQ(queue.take(), 7u);
    EXPECT_EQ(queue.take(), large);
    EXPECT_EQ(queue.take(), 5u);
    EXPECT_EQ(queue.take(), 0u);
}

TEST(MessageQueueTest, IndexesWrapToZeroAfterTheLastPlace) {
    RecordingReporter reporter;
    Queue queue(3);
    Traces traces(reporter.reporter());
    for (std::uintptr_t i = 1; i <= 5; ++i) {
        queue.qAddMsg(i);
        EXPECT_EQ(queue.take(), i);
    }
    EXPECT_THAT(traces.texts, ElementsAre("myRemoveIndex is 0", "myRemoveIndex is 1", "myRemoveIndex is 2",
                                          "myRemoveIndex is 0", "myRemoveIndex is 1"));
}

TEST(MessageQueueTest, EmptyAndFullFollowTheCount) {
    Queue queue(2);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_FALSE(queue.isFull());
    queue.qAddMsg(1);
    EXPECT_FALSE(queue.isEmpty());
    EXPECT_FALSE(queue.isFull());
    queue.qAddMsg(2);
    EXPECT_TRUE(queue.isFull());
    queue.take();
    EXPECT_FALSE(queue.isFull());
    queue.take();
    EXPECT_TRUE(queue.isEmpty());
}

TEST(MessageQueueTest, WhatWaitsIsTakenTogetherAndKeepsItsPlacesUntilTheyAreFreed) {
    Queue queue(3);
    std::uintptr_t taken[3] = {};
    EXPECT_EQ(queue.qTakeWaiting(taken, 3), 0u);
    for (int round = 0; round < 5; ++round) {
        for (std::uintptr_t message = 1; message <= 3; ++message) {
            queue.qAddMsg(message);
        }
        EXPECT_EQ(queue.qTakeWaiting(taken, 2), 2u);
        EXPECT_THAT(taken, ElementsAre(1, 2, round == 0 ? 0u : 1u));
        EXPECT_TRUE(queue.isFull());
        queue.freePlaces(2);
        EXPECT_FALSE(queue.isFull());
        queue.qAddMsg(1);
        EXPECT_EQ(queue.qTakeWaiting(taken, 3), 2u);
        EXPECT_EQ(taken[0], 3u);
        EXPECT_EQ(taken[1], 1u);
        EXPECT_FALSE(queue.isEmpty());
        queue.freePlaces(2);
        EXPECT_TRUE(queue.isEmpty());
        taken[2] = 1;
    }
}

TEST(MessageQueueTest, AWriterWaitsForAPlaceThatIsTakenButNotFreed) {
    Queue queue(1);
    queue.qAddMsg(1);
    std::uintptr_t taken[1] = {};
    ASSERT_EQ(queue.qTakeWaiting(taken, 1), 1u);
    std::atomic<bool> added{false};
    std::thread writer([&] {
        queue.qAddMsg(2);
        added = true;
    });
    EXPECT_EQ(queue.take(50), 0u);
    EXPECT_FALSE(added);
    queue.freePlaces(1);
    EXPECT_EQ(queue.take(kPatience.count()), 2u);
    writer.join();
}

TEST(MessageQueueTest, EmptyQueueReturnsNothingAfterTheTimeOutAndTracesIt) {
    RecordingReporter reporter;
    Queue queue;
    Traces traces(reporter.reporter());
    std::uintptr_t message = 99;
    const auto begin = steady_clock::now();
    EXPECT_EQ(queue.qGetMsg(message, 30), SPW_CThreadMessageQueue::kTimedOut);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(30) - kTimerTick);
    EXPECT_EQ(message, 0u);
    EXPECT_THAT(traces.texts, ElementsAre("wait timed out"));
}

TEST(MessageQueueTest, ReaderIsWokenByAWriter) {
    Queue queue;
    std::thread writer([&] {
        awaitOthersAsleep();
        queue.qAddMsg(4);
    });
    EXPECT_EQ(queue.take(kSPWForever), 4u);
    writer.join();
}

TEST(MessageQueueTest, ManyWritersLoseNothing) {
    constexpr std::uintptr_t kWriters = 4;
    constexpr std::uintptr_t kEach = 500;
    Queue queue(5);
    std::vector<std::thread> writers;
    for (std::uintptr_t writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([&queue, writer] {
            for (std::uintptr_t i = 1; i <= kEach; ++i) {
                queue.qAddMsg(writer * kEach + i);
            }
        });
    }
    std::uintptr_t sum = 0;
    for (std::uintptr_t i = 0; i < kWriters * kEach; ++i) {
        sum += queue.take(kSPWForever);
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(sum, kWriters * kEach * (kWriters * kEach + 1) / 2);
    EXPECT_TRUE(queue.isEmpty());
}

// The records of the error log that are traces, without the thread.
std::vector<std::string> traceRecords(const std::string& file) {
    std::vector<std::string> records;
    std::istringstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t begin = line.find("TRACE ");
        if (begin == std::string::npos) {
            continue;
        }
        line = line.substr(begin, line.find_last_not_of('\r') + 1 - begin);
        const std::size_t thread = line.find("(th=");
        records.push_back(line.erase(thread, line.find(')', thread) + 1 - thread));
    }
    return records;
}

TEST(MessageQueueTest, TracesNameEveryPlace) {
    TemporaryFolder folder;
    RecordingReporter reporter;
    ASSERT_EQ(reporter.reporter().openLogFile(folder.path("errors.txt"), u"test", 1), 0u);
    reporter.reporter().setTraceFileMask(kTraceLevel);
    {
        Queue queue(2);
        queue.qAddMsg(1);
        queue.take();
        queue.take();
        queue.qAddMsg(2);
        std::uintptr_t waiting[2] = {};
        EXPECT_EQ(queue.qTakeWaiting(waiting, 2), 1u);
    }
    reporter.reporter().setTraceFileMask(0);
    EXPECT_EQ(reporter.reporter().closeLogFile(), 0u);
    const std::string name = "SPW_CThreadMessageQueue";
    const auto record = [&](const char* kind, const char* method, const char* rest) {
        return "TRACE " + std::string(kind) + " " + name + "::" + method + " in module " + name + ":" + rest;
    };
    EXPECT_THAT(traceRecords(folder.read("errors.txt")),
                ElementsAre(record(">", "constructor", "20"), record("<", "constructor", "54"),
                            record(">", "qAddMsg", "157"), record("<", "qAddMsg", "169"), record(">", "qGetMsg", "100"),
                            record("!", "qGetMsg", "141 -> myRemoveIndex is 0"), record("<", "qGetMsg", "151"),
                            record(">", "qGetMsg", "100"), record("<", "qGetMsg", "128 -> wait timed out"),
                            record(">", "qAddMsg", "157"), record("<", "qAddMsg", "169"), record(">", "qGetMsg", "100"),
                            record("!", "qGetMsg", "141 -> myRemoveIndex is 1"), record("<", "qGetMsg", "151")));
}

TEST(MessageQueueTest, AnAddThatMayNotBlockIsTracedLikeOthersUnlessThereIsNoPlace) {
    TemporaryFolder folder;
    RecordingReporter reporter;
    ASSERT_EQ(reporter.reporter().openLogFile(folder.path("errors.txt"), u"test", 1), 0u);
    Queue queue(1);
    reporter.reporter().setTraceFileMask(kTraceLevel);
    EXPECT_TRUE(queue.qTryAddMsg(1));
    EXPECT_FALSE(queue.qTryAddMsg(2));
    reporter.reporter().setTraceFileMask(0);
    EXPECT_EQ(reporter.reporter().closeLogFile(), 0u);
    EXPECT_THAT(traceRecords(folder.read("errors.txt")),
                ElementsAre("TRACE > SPW_CThreadMessageQueue::qAddMsg in module SPW_CThreadMessageQueue:157",
                            "TRACE < SPW_CThreadMessageQueue::qAddMsg in module SPW_CThreadMessageQueue:169"));
}

TEST(MessageQueueTest, OtherTraceLevelsHearNothing) {
    RecordingReporter reporter;
    Traces traces(reporter.reporter());
    reporter.reporter().setListenerMask(&traces, ~kTraceLevel);
    Queue queue;
    queue.qAddMsg(1);
    queue.take();
    EXPECT_THAT(traces.texts, IsEmpty());
}

class TimedMessageTest : public testing::Test {
protected:
    ~TimedMessageTest() override { EXPECT_EQ(Counted::alive, 0); }

    // Arms a message and answers its value in the queue.
    std::uintptr_t arm(std::uint32_t delay) {
        auto message = std::make_unique<Counted>();
        const auto value = reinterpret_cast<std::uintptr_t>(static_cast<SPW_CMessage*>(message.get()));
        m_queue->setTimedMessage(delay, std::move(message));
        return value;
    }
    static void drop(std::uintptr_t message) { delete reinterpret_cast<SPW_CMessage*>(message); }

    ScriptedClock m_clock;
    std::unique_ptr<Queue> m_queue = std::make_unique<Queue>(4);
};

TEST_F(TimedMessageTest, OverdueMessageIsReturnedWithoutWaitingAndWithTheRemainingTime) {
    const std::uintptr_t armed = arm(1000);
    m_clock.advanceMs(5);
    std::uintptr_t message = 0;
    EXPECT_EQ(static_cast<std::int32_t>(m_queue->qGetMsg(message, kSPWForever)), -4000);
    EXPECT_EQ(message, armed);
    drop(message);
    EXPECT_EQ(m_queue->take(), 0u);
}

TEST_F(TimedMessageTest, DelayIsAddedInMicroseconds) {
    const std::uintptr_t armed = arm(5000);
    m_clock.advanceMs(4);
    EXPECT_EQ(m_queue->take(), 0u);
    m_clock.advanceMs(1);
    std::uintptr_t message = 0;
    EXPECT_EQ(m_queue->qGetMsg(message, kSPWForever), 0u);
    EXPECT_EQ(message, armed);
    drop(message);
}

TEST_F(TimedMessageTest, WhatIsLeftInMicrosecondsIsWaitedForInMilliseconds) {
    const std::uintptr_t armed = arm(40);
    const auto begin = steady_clock::now();
    std::uintptr_t message = 0;
    EXPECT_EQ(m_queue->qGetMsg(message, kSPWForever), 0u);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(40) - kTimerTick);
    EXPECT_EQ(message, armed);
    drop(message);
}

TEST_F(TimedMessageTest, ShortenedWaitTracesItsTimeOutToo) {
    RecordingReporter reporter;
    Traces traces(reporter.reporter());
    arm(1);
    drop(m_queue->take(kSPWForever));
    EXPECT_THAT(traces.texts, ElementsAre("wait timed out"));
}

TEST_F(TimedMessageTest, ShorterTimeOutLeavesTheMessageArmed) {
    const std::uintptr_t armed = arm(20);
    EXPECT_EQ(m_queue->take(19), 0u);
    EXPECT_EQ(m_queue->take(20), 0u);  // remaining is not below the time-out
    const std::uintptr_t message = m_queue->take(21);
    EXPECT_EQ(message, armed);
    drop(message);
}

TEST_F(TimedMessageTest, QueuedMessageComesFirstWhileTheTimedOneIsNotDue) {
    const std::uintptr_t armed = arm(1000);
    m_queue->qAddMsg(3);
    EXPECT_EQ(m_queue->take(kSPWForever), 3u);
    m_queue->qAddMsg(4);
    m_clock.advanceMs(1);
    const std::uintptr_t message = m_queue->take(kSPWForever);
    EXPECT_EQ(message, armed);
    drop(message);
    EXPECT_EQ(m_queue->take(), 4u);
}

TEST_F(TimedMessageTest, LongestDelayDoesNotOverflow) {
    arm(0xFFFFFFFFu);
    EXPECT_EQ(m_queue->take(1), 0u);
    m_clock.advanceMs(4294967);
    EXPECT_EQ(m_queue->take(1), 0u);
    m_clock.advanceMs(1);
    const std::uintptr_t message = m_queue->take(1);
    EXPECT_NE(message, 0u);
    drop(message);
}

TEST_F(TimedMessageTest, ArmingAgainDeletesTheFormerMessage) {
    arm(0);
    const std::uintptr_t second = arm(0);
    EXPECT_EQ(Counted::alive, 1);
    const std::uintptr_t message = m_queue->take();
    EXPECT_EQ(message, second);
    drop(message);
}

TEST_F(TimedMessageTest, QueueDeletesAnArmedMessageAtItsEnd) {
    arm(0);
    m_queue.reset();
    EXPECT_EQ(Counted::alive, 0);
}

TEST(MessageQueueTest, MayBeDeletedByItsSecondBase) {
    SPW_CMessageTarget* const target = new Queue;
    static_cast<Queue*>(target)->setTimedMessage(0, std::make_unique<Counted>());
    delete target;
    EXPECT_EQ(Counted::alive, 0);
}

}  // namespace
