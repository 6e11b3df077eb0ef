#include "SPW_CMemory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "SPW_CClock.h"
#include "SPW_CErrorSys.h"
#include "SPW_CThread.h"

namespace {

constexpr std::size_t kReserveBytes = 16 * 1024;

std::atomic<SPW_CMemory::Show*> shownBy{nullptr};
std::atomic<SPW_CMemory::Log*> log{nullptr};
std::atomic<void*> reserve{nullptr};
std::atomic<std::uint32_t> endingThread{0};

[[noreturn]] void end() {
    SPW_CMemory::Show* const show = shownBy;
    if (show != nullptr) {
        show();
    }
    SPW_CErrorSys::exitProcess(SPW_CMemory::kExhaustedCode);
}

}  // namespace

void SPW_CMemory::watch(Show* show) {
    shownBy = show;
    if (reserve == nullptr) {
        reserve = std::malloc(kReserveBytes);
    }
    (void)std::set_new_handler(exhausted);
}

void SPW_CMemory::setLog(Log* newLog) {
    log = newLog;
}

bool SPW_CMemory::isExhausted() {
    return endingThread != 0;
}

void SPW_CMemory::exhausted() {
    const std::uint32_t self = SPW_CThread::currentId();
    std::uint32_t nobody = 0;
    if (endingThread.compare_exchange_strong(nobody, self)) {
        std::free(reserve.exchange(nullptr));
        Log* const last = log.exchange(nullptr);
        if (last != nullptr) {
            last->memoryIsExhausted();
        }
        end();
    }
    if (nobody == self) {
        end();  // even the log's line found no memory
    }
    for (;;) {
        constexpr std::uint32_t kSecond = 1000;
        SPW_CClock::instance->sleepMs(kSecond);
    }
}
