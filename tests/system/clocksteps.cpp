// Loaded before a program's libraries, this lets a test set the device's time for that program alone: the wall clock is
// the true one plus as many seconds as the file named by LINKOMETRY_CLOCK_STEP says, a native 64-bit number. What
// counts time from no date (CLOCK_MONOTONIC and its like) is left alone, as the kernel leaves it.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace {

const volatile std::int64_t* mapStep() {
    const char* const path = std::getenv("LINKOMETRY_CLOCK_STEP");
    const int file = path != nullptr ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file == -1) {
        return nullptr;
    }
    void* const page = mmap(nullptr, sizeof(std::int64_t), PROT_READ, MAP_SHARED, file, 0);
    close(file);
    return page != MAP_FAILED ? static_cast<const volatile std::int64_t*>(page) : nullptr;
}

// Made before the program begins.
const volatile std::int64_t* const step = mapStep();

bool isWallClock(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE || clock == CLOCK_TAI;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && step != nullptr && isWallClock(clock)) {
        time->tv_sec += static_cast<time_t>(*step);
    }
    return static_cast<int>(result);
}

extern "C" int gettimeofday(timeval* time, void*) noexcept {
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return result;
}

extern "C" time_t time(time_t* seconds) noexcept {
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    if (seconds != nullptr) {
        *seconds = now.tv_sec;
    }
    return now.tv_sec;
}
