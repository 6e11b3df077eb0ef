#pragma once

#include <optional>

#include "AdapterInfo.h"
#include "SPW_CNetworkInfo.h"
#include "SystemBuffer.h"

// Goes through the system's network adapters, one after the other. The walk uses a copy of their list that is made when
// it begins and deleted with the next walk or with the walker. Threads: one at a time.
class AdapterWalker {
public:
    // Begins a walk. Returns 0 and the first adapter. On failure `adapter` stays unchanged; the code is
    // kSystemDataNotHad, kSystemSizeNotHad (also when there is no adapter) or kNotOnThisSystem.
    [[nodiscard]] SPW_Result begin(AdapterInfo& adapter);
    // Returns 0 and the next adapter. On failure `adapter` stays unchanged; the code is kWalkNotBegun or
    // kNoFurtherAdapter.
    [[nodiscard]] SPW_Result next(AdapterInfo& adapter);

private:
    void fill(AdapterInfo& adapter) const;

    SystemBuffer m_copy;
    std::optional<RecordChain<SPW_AdapterRecord>> m_position;  // in the copy; none without one
};
