#include "SPW_CMemory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <new>
#include <thread>

#include "OtherThreads.h"

namespace {

// The compiler is not to know it.
volatile std::size_t moreThanThereIs = static_cast<std::size_t>(-1) / 4;

// Windows ends a program without writing what is still in a buffer.
void say(const char* line) {
    std::fputs(line, stderr);
    std::fflush(stderr);
}

void show() {
    say("shown\n");
}

class RecordingLog final : public SPW_CMemory::Log {
public:
    void memoryIsExhausted() override {
        say("logged\n");
        if (m_needsMemory) {
            ::operator delete(::operator new(moreThanThereIs));
        }
    }
    void needMemory() { m_needsMemory = true; }

private:
    bool m_needsMemory = false;
};

void use(std::size_t bytes) {
    ::operator delete(::operator new(bytes));
}

}  // namespace

TEST(MemoryTest, AnAllocationThatFailsIsLoggedAndShownAndEndsTheProgram) {
    RecordingLog log;
    EXPECT_EXIT(
        {
            SPW_CMemory::watch(show);
            SPW_CMemory::setLog(&log);
            use(moreThanThereIs);
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "logged\r?\nshown\r?\n");
}

TEST(MemoryTest, WithoutMemoryForTheLogsLineTheUserIsToldAllTheSame) {
    RecordingLog log;
    log.needMemory();
    EXPECT_EXIT(
        {
            SPW_CMemory::watch(show);
            SPW_CMemory::setLog(&log);
            use(moreThanThereIs);
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "logged\r?\nshown\r?\n");
}

TEST(MemoryTest, WhileTheUserIsToldTheMemoryIsKnownToBeExhausted) {
    EXPECT_FALSE(SPW_CMemory::isExhausted());
    EXPECT_EXIT(
        {
            SPW_CMemory::watch([] { say(SPW_CMemory::isExhausted() ? "exhausted\n" : "not exhausted\n"); });
            use(moreThanThereIs);
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "^exhausted\r?\n");
}

TEST(MemoryTest, WithNobodyToTellItEndsWithoutAWord) {
    EXPECT_EXIT(
        {
            SPW_CMemory::watch(nullptr);
            use(moreThanThereIs);
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "^$");
}

TEST(MemoryTest, ASecondThreadWaitsForTheEndOfTheFirst) {
    EXPECT_EXIT(
        {
            SPW_CMemory::watch([] {
                std::thread second([] { use(moreThanThereIs); });
                second.detach();
                awaitOthersAsleep();
                show();
            });
            use(moreThanThereIs);
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "^shown\r?\n$");
}
