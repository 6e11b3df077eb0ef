#pragma once

#include <cstdint>

#include "PeerInsightValues.h"
#include "Protocol.h"
#include "SPW_CString.h"

// What one protocol of one peer has counted so far.
struct ProtocolCounts {
    std::int32_t received = 0;
    std::int32_t total = 0;
    std::int32_t lost = 0;  // total - received
};

// One peer's row: all that the engine knows of it, taken together at one moment. PeerRow::values() fills it and nobody
// else does. Front ends hold it as it is and make texts and columns of it where they draw or print. All texts are safe
// to show.
struct PeerRowValues {
    // The row's key. An engine numbers its rows from 1 in the order in which they are made. No number comes twice in a
    // test, nor in a later one before there have been a thousand million rows. Two rows may bear the same address, the
    // same name and hence the same label.
    std::int32_t number = 0;
    SPW_CString address;
    SPW_CString name;
    bool hasName = false;               // false for a discovered peer that announced none; an added one's may be empty
    int quality = 0;                    // percent of the expected probes that arrived, over all protocols together
    ProtocolCounts counts[kProtocols];  // by protocol number
    bool isNotMade[kProtocols] = {};    // by protocol number: the probes of this kind could not be made; none are sent
    // What the counts do not say, in short; TestEngine::insight() has all of it. It changes with time alone, too.
    PeerSummary summary;

    // "address (name)", or the bare address of a peer without a name.
    SPW_CString label() const;
};
