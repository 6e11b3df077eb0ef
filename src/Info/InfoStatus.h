#pragma once

#include "SPW_Types.h"

// What the readers of the network's configuration answer beside 0, and what a report shows when one fails.
enum InfoStatus : SPW_Result {
    kAdapterFieldAbsent = 601,
    kNoMemoryForField = 602,
    kNetworkFieldAbsent = 606,
    // Memory for the system's data could not be had, or the call that fills it failed.
    kSystemDataNotHad = 611,
    // The system did not say how much data there is; also when there is none, as without an adapter.
    kSystemSizeNotHad = 612,
    kWalkNotBegun = 613,
    kNoFurtherAdapter = 614,
    kNotOnThisSystem = 615,
};
