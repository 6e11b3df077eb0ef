#include <gmock/gmock.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <new>

#include "RecordingReporter.h"
#include "SPW_CSysError.h"
#include "SPW_CThread.h"

namespace {

using testing::ElementsAre;

std::atomic<bool> memoryIsUsedUp{false};
std::atomic<bool> threadsAreUsedUp{false};

}  // namespace

// The platform halves ask for memory in this form where they can do without.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memoryIsUsedUp ? nullptr : ::operator new(size);
}

// The linker sends the program's calls of pthread_create here (--wrap).
extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                                     void* argument) {
    return threadsAreUsedUp ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

namespace {

class Idle : public SPW_CThread {
    void step() override {}
    void finish() override {}
};

TEST(ThreadPosixTest, MissingSemaphoreIsAFatalReport) {
    RecordingReporter reporter;
    memoryIsUsedUp = true;
    {
        Idle idle;
        memoryIsUsedUp = false;
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

}  // namespace
