// The log writer of a machine that has no thread left.

#include <gmock/gmock.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "RecordingReporter.h"
#include "SPW_CSysError.h"
#include "TemporaryFolder.h"
#include "TestLogWriter.h"

namespace {

std::atomic<bool> threadsAreUsedUp{false};

}  // namespace

// The linker sends the program's calls of pthread_create here (--wrap).
extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                                     void* argument) {
    return threadsAreUsedUp ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

namespace {

TEST(TestLogWriterPosixTest, WriterWithoutAThreadTakesNoLineAndKeepsNobodyWaiting) {
    TemporaryFolder folder;
    RecordingReporter reporter;
    threadsAreUsedUp = true;
    TestLogWriter writer(folder.path("log.txt"), u"description", u"application", u"1.2.3.4", 1);
    threadsAreUsedUp = false;
    EXPECT_EQ(writer.openResult(), static_cast<SPW_Result>(kSysNotEnoughMemory));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(writer.log(u"line", -1), 700u);
    }
    EXPECT_EQ(reporter.takeReports().size(), 1u);
}

}  // namespace
