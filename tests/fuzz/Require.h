#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the harness, and so makes the fuzzer keep the input, when something that must always hold does not.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}
