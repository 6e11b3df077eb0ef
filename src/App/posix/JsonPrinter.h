#pragma once

#include <cstdint>
#include <string>

#include "PeerRowValues.h"
#include "SPW_CArray.h"

// One snapshot as JSON, one object per row and line (see docs/formats.md).
// wall100ns: when it was taken, on the wall clock. isFinal marks the last snapshot of a run.
std::string formatJson(std::uint64_t wall100ns, int testNumber, bool isFinal, const SPW_CArray<PeerRowValues>& rows);
