#pragma once

#include "Processor.h"

// Ends a guest that does what a device would not forgive. The journal gets a line that begins with FAULT and the state
// of the processor. The process ends with kFaultStatus.
namespace Watch {

constexpr int kFaultStatus = 99;

[[noreturn]] void fault(const Processor& processor, const char* form, ...) __attribute__((format(gnu_printf, 2, 3)));

inline void checkAligned(const Processor& processor, Word address, Word size, const char* what) {
    if ((address & (size - 1)) != 0) {
        fault(processor, "UNALIGNED %s at %08x", what, address);
    }
}

// From now on an access to memory that does not exist, or a write to memory that is read-only, is a fault of the guest.
void catchAccesses();

}  // namespace Watch
