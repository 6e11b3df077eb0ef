#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "PeerInsightValues.h"
#include "PeerRowValues.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "TestEngine.h"

// What has come of each kind between two snapshots.
struct IntervalValues {
    std::int64_t received[kProtocols] = {};
    // Below 0 when more probes came late, which had counted as lost before, than were lost.
    std::int64_t lost[kProtocols] = {};
};

// Which test a snapshot belongs to.
struct SnapshotOf {
    std::int32_t testNumber = 0;
    std::uint32_t elapsedSeconds = 0;  // since that test began
    bool isFinal = false;
};

// All rows with all that is known of them, as they were at one moment. The three lists have an element for each row.
struct Snapshot {
    std::uint64_t wall100ns = 0;  // when it was taken
    SnapshotOf of;
    SPW_CString observerAddress;  // this device, see TestEngine::observer()
    SPW_CString observerName;
    SPW_CArray<PeerRowValues> rows;
    std::vector<PeerInsightValues> insights;
    std::vector<IntervalValues> intervals;
    int tooSilent = 0;  // how many of the rows were silent for longer than is allowed
};

// Takes snapshots and remembers the figures of the latest one. Threads: none.
class SnapshotTaker {
public:
    // The engine's rows as they are now. Intervals reach back to the call before, or to clear().
    Snapshot take(const TestEngine& engine, const SnapshotOf& of);
    // The engine's figures have begun anew: by a start or by a Reset.
    void clear() { m_before.clear(); }

private:
    std::unordered_map<std::int32_t, IntervalValues> m_before;  // by row number; since the start or the Reset
};
