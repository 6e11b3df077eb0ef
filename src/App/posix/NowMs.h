#pragma once

#include <cstdint>

#include "SPW_CClock.h"

// Milliseconds of the clock that schedules. Only differences have a meaning.
inline std::int64_t nowMs() {
    constexpr std::uint64_t kMs = 10000;  // 100-ns units
    return static_cast<std::int64_t>(SPW_CClock::instance->now100ns() / kMs);
}
