#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "SPW_CBackOff.h"

// What a listener does not put up with. With 0 in all of them it puts up with everything.
struct ListenerLimits {
    // Failures in a row after which a listener pauses before it tries again, and after which the failures of a shortage
    // are counted instead of told. 0: it never pauses, and tells all.
    std::int32_t failuresBeforePause = SPW_CBackOff::kUsualLimit;
    // TCP: a connection from which no probe has come for so long gives way to a newer one when all places are taken.
    // One that has never sent a probe is closed then in any case. 0: none gives way and none is closed.
    std::uint32_t silenceMs = 10000;
    // How often the devices of the group send. A connection that has sent probes may be silent for three periods in any
    // case.
    std::uint32_t periodMs = 0;

    // As many milliseconds as there are room for.
    static constexpr std::uint32_t silenceOfSeconds(std::int32_t seconds) {
        constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max() / 1000;
        return std::min(static_cast<std::uint32_t>(std::max(seconds, 0)), kMost) * 1000;
    }
};
