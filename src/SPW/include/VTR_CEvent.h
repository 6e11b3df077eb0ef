#pragma once

#include "SPW_CObject.h"
#include "SPW_Types.h"

// One event of the platform: threads wait until another sets it. An event with automatic reset lets one waiter through
// per set, the longest waiting first; one with manual reset lets all through until it is reset.
//
// create() comes first, by the owner alone; using the event before is a fatal assertion. Any thread may then set, reset
// and wait. A waiter that has been released may destroy the event at once, even while set() is still returning. Every
// failure is reported; a time-out is none.
class VTR_CEvent : public SPW_CObject {
public:
    static constexpr SPW_Result kTimedOut = 521;
    static constexpr SPW_Result kCreateFailed = 522;
    static constexpr SPW_Result kSetFailed = 523;
    static constexpr SPW_Result kResetFailed = 524;
    static constexpr SPW_Result kWaitFailed = 525;

    VTR_CEvent();
    ~VTR_CEvent() override;
    VTR_CEvent(const VTR_CEvent&) = delete;
    VTR_CEvent& operator=(const VTR_CEvent&) = delete;

    // 0 or kCreateFailed. name: null, or a name by which other processes reach the same event where the platform has
    // named events; where it has none, asking for one fails.
    [[nodiscard]] SPW_Result create(bool manualReset, bool initiallySet, const char16_t* name);
    // 0 or kSetFailed. Setting an event that is set changes nothing.
    SPW_Result set();
    // 0 or kResetFailed.
    SPW_Result reset();
    // 0 when set, kTimedOut after timeoutMs (0: look only; kSPWForever: no limit), kWaitFailed for any other failure.
    [[nodiscard]] SPW_Result wait(std::uint32_t timeoutMs);
    // Waits without limit and keeps a user-interface thread alive meanwhile by dispatching its window messages; plain
    // waiting where there are none. Always 0.
    SPW_Result waitAndProcessMsgs();
    // The platform's event, for the platform halves of other classes; null before create().
    SPW_Handle handle() const { return m_hEvent; }

private:
    SPW_Handle m_hEvent;
};
