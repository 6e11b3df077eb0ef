#pragma once

#include "Guest.h"

// An ARMv4 processor without coprocessors. An instruction that such a processor lacks, leaves undefined or refuses is a
// fault of the guest (Watch.h). Each thread of the guest has a processor of its own.
struct Processor {
    Word r[16];
    bool n;
    bool z;
    bool c;
    bool v;

    // The stack of the thread, and the lowest place that it has reached.
    Word stackLow;
    Word stackHigh;
    Word lowestStack;
    Word lowestAt;

    // For the journal.
    unsigned long long instructions;
    Word startedAt;
    const char* call;  // the system's function that the guest has called, or null
    static constexpr unsigned kTrail = 32;
    Word trail[kTrail];  // where the last jumps went
    unsigned trailAt;

    Word deepestStack() const { return stackHigh - lowestStack; }
};

// Addresses without memory. The guest's outermost functions return to the first. The second and those that follow are
// functions of the system.
constexpr Word kReturnAddress = 0xF0000000;
constexpr Word kCallAddresses = 0xF0010000;

// Runs the guest from this place until it returns to kReturnAddress.
void run(Processor& processor, Word pc);
