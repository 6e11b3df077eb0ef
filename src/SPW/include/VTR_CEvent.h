#pragma once

#include "SPW_CObject.h"
#include "SPW_Types.h"

// One event of the platform: threads wait until another sets it.
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

    [[nodiscard]] SPW_Result create(bool manualReset, bool initiallySet, const char16_t* name);
    SPW_Result set();
    SPW_Result reset();
    [[nodiscard]] SPW_Result wait(std::uint32_t timeoutMs);
    SPW_Result waitAndProcessMsgs();

private:
    SPW_Handle m_hEvent;
};
