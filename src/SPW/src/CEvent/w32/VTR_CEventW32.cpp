#include <windows.h>

#include "SPW_CWideW32.h"
#include "VTR_CEventSys.h"

namespace {

// Every kind of input wakes the thread.
constexpr DWORD kAnyInput = 127;

void dispatchPending() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        (void)DispatchMessageW(&message);
    }
}

}  // namespace

SPW_Handle VTR_CEventSys::create(bool manualReset, bool initiallySet, const char16_t* name) {
    const bool isNamed = name != nullptr && *name != 0;
    return CreateEventW(nullptr, manualReset, initiallySet, isNamed ? SPW_ToWide(name) : nullptr);
}

void VTR_CEventSys::destroy(SPW_Handle event) {
    (void)CloseHandle(event);
}

bool VTR_CEventSys::set(SPW_Handle event) {
    return SetEvent(event) != 0;
}

bool VTR_CEventSys::reset(SPW_Handle event) {
    return ResetEvent(event) != 0;
}

VTR_CEventSys::WaitOutcome VTR_CEventSys::wait(SPW_Handle event, std::uint32_t timeoutMs) {
    switch (WaitForSingleObject(event, timeoutMs)) {
        case WAIT_OBJECT_0:
            return kSet;
        case WAIT_TIMEOUT:
            return kTimedOut;
        default:
            return kFailed;
    }
}

void VTR_CEventSys::waitAndDispatch(SPW_Handle event) {
    do {
        dispatchPending();
    } while (MsgWaitForMultipleObjectsEx(1, &event, INFINITE, kAnyInput, 0) == WAIT_OBJECT_0 + 1);
}
