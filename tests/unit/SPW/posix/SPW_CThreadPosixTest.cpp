#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/syscall.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <functional>
#include <new>
#include <utility>

#include "RecordingReporter.h"
#include "SPW_CSysError.h"
#include "SPW_CThread.h"
#include "SPW_CThreadMessageQueue.h"
#include "SPW_CThreadSys.h"
#include "ScriptedClock.h"

namespace {

using testing::ElementsAre;

// How many more pieces of memory there are.
constexpr int kEnough = 1000000000;
std::atomic<int> memoryLeft{kEnough};
std::atomic<bool> threadsAreUsedUp{false};

}  // namespace

// The platform halves ask for memory in this form where they can do without.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memoryLeft != kEnough && memoryLeft-- <= 0 ? nullptr : ::operator new(size);
}

// The linker sends the program's calls of pthread_create here (--wrap).
extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                                     void* argument) {
    return threadsAreUsedUp ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

namespace {

// What happens, on the waiter's own thread, between the end of a timed wait's time and its return.
std::function<void()> atTimeOut;

}  // namespace

// And its calls of the kernel by number here, waits among them.
extern "C" long __real_syscall(long number, ...);
extern "C" long __wrap_syscall(long number, long first, long second, long third, long fourth, long fifth, long sixth) {
    const long result = __real_syscall(number, first, second, third, fourth, fifth, sixth);
    if (number == SYS_futex && result == -1 && errno == ETIMEDOUT && atTimeOut) {
        std::exchange(atTimeOut, nullptr)();
        errno = ETIMEDOUT;
    }
    return result;
}

namespace {

class Idle : public SPW_CThread {
    void step() override {}
    void finish() override {}
};

TEST(ThreadPosixTest, MissingSemaphoreIsAFatalReport) {
    RecordingReporter reporter;
    memoryLeft = 0;
    {
        Idle idle;
        memoryLeft = kEnough;
        // Of no use, and no trap.
        EXPECT_EQ(idle.start(), 341u);
        idle.lock();
        idle.unlock();
    }
    const auto reports = reporter.takeReports();
    ASSERT_THAT(reports, ElementsAre(IsReport("SPW_CThread", "SPW_CThread", 341, "failed to create semaphore")));
    EXPECT_TRUE(reports[0].isFatal());
    EXPECT_EQ(reports[0].line, 28);
    EXPECT_EQ(reports[0].module, "SPW_CThread");
}

TEST(ThreadPosixTest, MissingThreadIsReportedAndReturned) {
    RecordingReporter reporter;
    Idle idle;
    threadsAreUsedUp = true;
    EXPECT_EQ(idle.start(), static_cast<SPW_Result>(kSysNotEnoughMemory));
    threadsAreUsedUp = false;
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CThread", "start", kSysNotEnoughMemory, "failed to create thread")));
}

class IdleQueue : public SPW_CThreadMessageQueue {
public:
    using SPW_CThreadMessageQueue::SPW_CThreadMessageQueue;
    void step() override {}
    void finish() override {}
};

// The first semaphore is the thread's lock, the other two the queue's.
TEST(ThreadPosixTest, AQueueWhoseSemaphoresCannotBeMadeSaysSoAndTakesNothing) {
    for (const int available : {1, 2}) {
        RecordingReporter reporter;
        ScriptedClock clock;
        memoryLeft = available;
        IdleQueue queue(10);
        memoryLeft = kEnough;
        EXPECT_EQ(queue.queueResult(), 341u);
        EXPECT_THAT(reporter.takeReports(),
                    ElementsAre(IsReport("SPW_CThreadMessageQueue", "constructor", 341, "failed to create semaphore")));
        queue.qAddMsg(7);
        EXPECT_TRUE(queue.isEmpty());
        std::uintptr_t message = 7;
        EXPECT_EQ(queue.qGetMsg(message, 300), SPW_CThreadMessageQueue::kTimedOut);
        EXPECT_EQ(message, 0u);
        EXPECT_THAT(clock.sleeps(), ElementsAre(300u)) << "whoever takes in a loop must not spin";
    }
}

TEST(ThreadPosixTest, AThreadForWhichThereIsNoMemoryIsRefused) {
    RecordingReporter reporter;
    Idle idle;
    for (const int available : {0, 1}) {
        memoryLeft = available;
        EXPECT_EQ(idle.start(), static_cast<SPW_Result>(kSysNotEnoughMemory));
        memoryLeft = kEnough;
    }
    EXPECT_EQ(reporter.takeReports().size(), 2u);
}

// The unit is the waiter's by then, and nobody else's: to give up without it would lose it.
TEST(ThreadPosixTest, AUnitThatIsGrantedJustAsTheWaitersTimeIsUpIsTaken) {
    const SPW_Handle semaphore = SPW_CThreadSys::createSemaphore(0, 1);
    atTimeOut = [semaphore] { EXPECT_TRUE(SPW_CThreadSys::releaseSemaphore(semaphore)); };
    EXPECT_TRUE(SPW_CThreadSys::waitSemaphore(semaphore, 1));
    EXPECT_FALSE(atTimeOut) << "the wait has ended before its time";
    EXPECT_FALSE(SPW_CThreadSys::waitSemaphore(semaphore, 0)) << "it has been taken twice";
    EXPECT_TRUE(SPW_CThreadSys::releaseSemaphore(semaphore));
    SPW_CThreadSys::destroySemaphore(semaphore);
}

TEST(ThreadPosixTest, AWaiterWhoseTimeIsUpTakesNothingOfWhatComesLater) {
    const SPW_Handle semaphore = SPW_CThreadSys::createSemaphore(0, 1);
    EXPECT_FALSE(SPW_CThreadSys::waitSemaphore(semaphore, 1));
    EXPECT_TRUE(SPW_CThreadSys::releaseSemaphore(semaphore));
    EXPECT_TRUE(SPW_CThreadSys::waitSemaphore(semaphore, 0));
    SPW_CThreadSys::destroySemaphore(semaphore);
}

}  // namespace
