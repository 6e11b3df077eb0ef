#include "SPW_CThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "OtherThreads.h"
#include "Patience.h"

namespace {

using std::chrono::milliseconds;

// A thread whose step is the test's; stopped and awaited by its destructor.
class Worker : public SPW_CThread {
public:
    explicit Worker(std::function<void()> onStep) : m_onStep(std::move(onStep)) {}
    ~Worker() override {
        if (!m_started) {
            return;
        }
        requestStop();
        m_finishedFuture.wait();
    }
    void step() override {
        ++m_steps;
        m_onStep();
    }
    void finish() override {
        m_stepsAtFinish = m_steps.load();
        ++m_finishes;
        m_finished.set_value();
    }
    void begin() { m_started = start() == 0; }
    void awaitFinish() { m_finishedFuture.wait(); }
    int steps() const { return m_steps; }
    int finishes() const { return m_finishes; }
    int stepsAtFinish() const { return m_stepsAtFinish; }

private:
    std::function<void()> m_onStep;
    std::atomic<int> m_steps{0};
    std::atomic<int> m_finishes{0};
    std::atomic<int> m_stepsAtFinish{0};
    bool m_started = false;
    std::promise<void> m_finished;
    std::shared_future<void> m_finishedFuture = m_finished.get_future().share();
};

// A step that leaves the processor to others.
void shortPause() {
    std::this_thread::yield();
}

TEST(ThreadTest, StepRunsAgainAndAgainUntilStopIsRequested) {
    Worker worker(shortPause);
    EXPECT_FALSE(worker.isStopRequested());
    worker.begin();
    EXPECT_TRUE(soon([&] { return worker.steps() > 5; }));
    worker.requestStop();
    EXPECT_TRUE(worker.isStopRequested());
    worker.awaitFinish();
    EXPECT_EQ(worker.finishes(), 1);
    EXPECT_EQ(worker.stepsAtFinish(), worker.steps());
}

TEST(ThreadTest, ThreadThatIsStoppedBeforeItStartsOnlyFinishes) {
    Worker worker(shortPause);
    worker.requestStop();
    worker.begin();
    worker.awaitFinish();
    EXPECT_EQ(worker.steps(), 0);
    EXPECT_EQ(worker.finishes(), 1);
}

TEST(ThreadTest, StopTakesEffectAfterTheStepInProgress) {
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left{false};
    Worker worker([&] {
        entered.set_value();
        leave.get_future().wait();
        left = true;
    });
    worker.begin();
    entered.get_future().wait();
    worker.requestStop();
    EXPECT_EQ(worker.finishes(), 0);
    leave.set_value();
    worker.awaitFinish();
    EXPECT_TRUE(left);
    EXPECT_EQ(worker.steps(), 1);
}

TEST(ThreadTest, ClosedGateKeepsTheFirstStepFromStarting) {
    Worker worker(shortPause);
    worker.lock();
    worker.begin();
    awaitOthersAsleep();
    EXPECT_EQ(worker.steps(), 0);
    worker.unlock();
    EXPECT_TRUE(soon([&] { return worker.steps() > 0; }));
}

TEST(ThreadTest, LockWaitsForTheStepInProgressAndIsServedBeforeTheNextOne) {
    std::atomic<bool> inStep{false};
    Worker worker([&] {
        inStep = true;
        shortPause();
        inStep = false;
    });
    worker.begin();
    ASSERT_TRUE(soon([&] { return worker.steps() > 0; }));
    constexpr int kRounds = 40;
    int servedFirst = 0;
    for (int round = 0; round < kRounds; ++round) {
        const int before = worker.steps();
        worker.lock();
        const int atLock = worker.steps();
        EXPECT_FALSE(inStep);
        // One step may have ended and one begun before this thread stood in line.
        servedFirst += atLock <= before + 2 ? 1 : 0;
        awaitOthersAsleep();
        EXPECT_EQ(worker.steps(), atLock);
        worker.unlock();
    }
    // A busy machine may take the processor away just before this thread stands in line, now and then.
    EXPECT_GE(servedFirst, kRounds / 2);
}

TEST(ThreadTest, GateMayBeOpenedByAnotherThreadThanTheOneThatClosedIt) {
    Worker worker(shortPause);
    worker.lock();
    worker.begin();
    std::thread([&] { worker.unlock(); }).join();
    EXPECT_TRUE(soon([&] { return worker.steps() > 0; }));
}

TEST(ThreadTest, OpeningAnOpenGateDoesNotMakeItWider) {
    Worker worker(shortPause);
    worker.unlock();
    worker.lock();
    worker.begin();
    awaitOthersAsleep();
    EXPECT_EQ(worker.steps(), 0);
    worker.unlock();
}

TEST(ThreadTest, FinishRunsWithoutTheLock) {
    class Locker : public SPW_CThread {
    public:
        void step() override {}
        void finish() override {
            lock();
            unlock();
            done.set_value();
        }
        std::promise<void> done;
    } locker;
    locker.requestStop();
    ASSERT_EQ(locker.start(), 0u);
    EXPECT_EQ(locker.done.get_future().wait_for(kPatience), std::future_status::ready);
}

TEST(ThreadTest, DestructionDoesNotWaitForTheThread) {
    struct Signals {
        std::promise<void> finishing;
        std::promise<void> mayEnd;
        std::promise<void> ended;
    } signals;
    class Slow : public SPW_CThread {
    public:
        explicit Slow(Signals& signals) : m_signals(signals) {}
        void step() override {}
        void finish() override {
            Signals& mine = m_signals;
            mine.finishing.set_value();
            mine.mayEnd.get_future().wait();
            mine.ended.set_value();
        }

    private:
        Signals& m_signals;
    };
    auto slow = std::make_unique<Slow>(signals);
    slow->requestStop();
    ASSERT_EQ(slow->start(), 0u);
    signals.finishing.get_future().wait();
    slow.reset();
    auto ended = signals.ended.get_future();
    EXPECT_EQ(ended.wait_for(milliseconds(0)), std::future_status::timeout);
    signals.mayEnd.set_value();
    ended.wait();
}

TEST(ThreadTest, StackHoldsOneHundredAndTwentyEightKilobytes) {
    std::atomic<int> sum{0};
    Worker worker([&] {
        volatile char room[128 * 1024];
        for (std::size_t i = 0; i < sizeof room; i += 1024) {
            room[i] = 1;
        }
        sum = room[0] + room[sizeof room - 1024];
    });
    worker.begin();
    EXPECT_TRUE(soon([&] { return sum == 2; }));
}

TEST(ThreadTest, EveryThreadHasANumberOfItsOwn) {
    std::atomic<std::uint32_t> other{0};
    std::thread([&] { other = SPW_CThread::currentId(); }).join();
    EXPECT_NE(other, 0u);
    EXPECT_NE(other, SPW_CThread::currentId());
    EXPECT_EQ(SPW_CThread::currentId(), SPW_CThread::currentId());
}

}  // namespace
