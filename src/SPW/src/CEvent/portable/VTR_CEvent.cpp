#include "VTR_CEvent.h"

#include "SPW_CError.h"
#include "VTR_CEventSys.h"

namespace {

const char kModule[] = "src\\SPW\\src\\CEvent\\W32\\VTR_CEvent";

// True when the event was created. The report is fatal: it returns only when the reporter is set not to end the
// program.
bool assertCreated(SPW_Handle event, int line, const char* method) {
    if (event != nullptr) {
        return true;
    }
    SPW_CError::instance->assertionFailed(kModule, line, "VTR_CEvent", method, "m_hEvent != NULL");
    return false;
}

// Reports the failure and returns its code.
SPW_Result failed(SPW_Result code, int line, const char* method, const char16_t* message) {
    SPW_CError::instance->report(kModule, line, "VTR_CEvent", method, code, 0, message, SPW_CError::kOrdinary);
    return code;
}

}  // namespace

VTR_CEvent::VTR_CEvent() : m_hEvent(nullptr) {}

VTR_CEvent::~VTR_CEvent() {
    if (m_hEvent != nullptr) {
        VTR_CEventSys::destroy(m_hEvent);
    }
}

SPW_Result VTR_CEvent::create(bool manualReset, bool initiallySet, const char16_t* name) {
    if (m_hEvent != nullptr) {
        VTR_CEventSys::destroy(m_hEvent);
    }
    m_hEvent = VTR_CEventSys::create(manualReset, initiallySet, name);
    return m_hEvent != nullptr ? 0 : failed(kCreateFailed, __LINE__, "create", u"failed to create event");
}

SPW_Result VTR_CEvent::set() {
    if (!assertCreated(m_hEvent, 46, "set")) {
        return kSetFailed;
    }
    return VTR_CEventSys::set(m_hEvent) ? 0 : failed(kSetFailed, __LINE__, "set", u"failed to set event");
}

SPW_Result VTR_CEvent::reset() {
    if (!assertCreated(m_hEvent, 63, "reset")) {
        return kResetFailed;
    }
    return VTR_CEventSys::reset(m_hEvent) ? 0 : failed(kResetFailed, __LINE__, "reset", u"failed to reset event");
}

SPW_Result VTR_CEvent::wait(std::uint32_t timeoutMs) {
    if (!assertCreated(m_hEvent, 81, "wait")) {
        return kWaitFailed;
    }
    switch (VTR_CEventSys::wait(m_hEvent, timeoutMs)) {
        case VTR_CEventSys::kSet:
            return 0;
        case VTR_CEventSys::kTimedOut:
            return kTimedOut;
        default:
            return failed(kWaitFailed, __LINE__, "wait", u"failed to wait for event");
    }
}

SPW_Result VTR_CEvent::waitAndProcessMsgs() {
    if (assertCreated(m_hEvent, 105, "waitAndProcessMsgs")) {
        VTR_CEventSys::waitAndDispatch(m_hEvent);
    }
    return 0;
}
