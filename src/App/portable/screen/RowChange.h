#pragma once

#include "PeerRowValues.h"

// A row as it is now, and what has been told of it since it was taken last.
struct RowChange {
    PeerRowValues row;
    // By protocol number: its counts may have changed, or that its probes could not be made was told.
    bool isTold[kProtocols] = {};
    // The row is gone; nothing follows.
    bool isGone = false;
};
