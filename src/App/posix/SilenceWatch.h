#pragma once

#include <cstdint>
#include <set>

#include "InsightEvent.h"
#include "PeerRowValues.h"
#include "SPW_CArray.h"

// Remembers which peers were silent for longer than is allowed. Spans are in units of 100 ns. Threads: none.
class SilenceWatch {
public:
    explicit SilenceWatch(std::uint64_t most100ns) : m_most100ns(most100ns) {}

    // Another test begins, which has rows of its own.
    void clear() { m_rows.clear(); }
    void take(const InsightEvent& event);
    // How many of the rows were silent for too long, or have been so until now. now100ns: of the monotonic clock.
    int count(const SPW_CArray<PeerRowValues>& rows, std::uint64_t now100ns) const;

private:
    bool wasSilentTooLong(const PeerRowValues& row, std::uint64_t now100ns) const;

    const std::uint64_t m_most100ns;
    std::set<std::int32_t> m_rows;  // by number
};
