#pragma once

#include <cstdint>
#include <string>

#include "CommandLine.h"
#include "PeerRowValues.h"
#include "SPW_CArray.h"

// Which test a snapshot belongs to.
struct SnapshotOf {
    std::int32_t testNumber;
    std::uint32_t elapsedSeconds;  // since that test began
    bool isFinal;
};

// Returns the rows as text for the standard output, in the format that the options ask for. A final table ends with the
// verdict. If the standard output is a terminal, a table is laid out to its width.
std::string snapshotText(const CommandLine& options, const SnapshotOf& what, const SPW_CArray<PeerRowValues>& rows);
