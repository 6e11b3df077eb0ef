#include <new>

#include "SPW_CGatePosix.h"
#include "VTR_CEventSys.h"

namespace {

SPW_CGatePosix* gateOf(SPW_Handle event) {
    return static_cast<SPW_CGatePosix*>(event);
}

}  // namespace

// An event is a gate with at most one unit. Named events, which other processes could open, are not offered here.
SPW_Handle VTR_CEventSys::create(bool manualReset, bool initiallySet, const char16_t* name) {
    if (name != nullptr && *name != 0) {
        return nullptr;
    }
    return new (std::nothrow) SPW_CGatePosix(initiallySet ? 1 : 0, 1, manualReset);
}

void VTR_CEventSys::destroy(SPW_Handle event) {
    delete gateOf(event);
}

bool VTR_CEventSys::set(SPW_Handle event) {
    // Setting an event that is set already is no failure.
    (void)gateOf(event)->release();
    return true;
}

bool VTR_CEventSys::reset(SPW_Handle event) {
    gateOf(event)->close();
    return true;
}

VTR_CEventSys::WaitOutcome VTR_CEventSys::wait(SPW_Handle event, std::uint32_t timeoutMs) {
    return gateOf(event)->wait(timeoutMs) ? kSet : kTimedOut;
}

// Threads have no window messages on this platform.
void VTR_CEventSys::waitAndDispatch(SPW_Handle event) {
    (void)gateOf(event)->wait(kSPWForever);
}
