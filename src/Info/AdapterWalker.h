#pragma once

#include <optional>

#include "AdapterInfo.h"
#include "SPW_CNetworkInfo.h"
#include "SystemBuffer.h"

// Goes through the system's network adapters, over a copy of their list as it was when the walk began. The copy goes
// with the next walk or with the walker. One thread at a time.
class AdapterWalker {
public:
    // Begins a walk. 0, and `adapter` is the first one; or kSystemDataNotHad, kSystemSizeNotHad (also without any
    // adapter) or kNotOnThisSystem, and `adapter` is unchanged.
    [[nodiscard]] SPW_Result begin(AdapterInfo& adapter);
    // 0, and `adapter` is the next one; or kWalkNotBegun or kNoFurtherAdapter, and it is unchanged.
    [[nodiscard]] SPW_Result next(AdapterInfo& adapter);

private:
    void fill(AdapterInfo& adapter) const;

    SystemBuffer m_copy;
    std::optional<RecordChain<SPW_AdapterRecord>> m_position;  // in the copy; none without one
};
