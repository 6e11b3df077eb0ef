#pragma once

#include "SPW_Types.h"

// The failure codes of the readers of the network's configuration. A report shows them.
enum InfoStatus : SPW_Result {
    kAdapterFieldAbsent = 601,
    kNoMemoryForField = 602,
    kNetworkFieldAbsent = 606,
    // There was no memory for the system's data, or the call that fills the memory failed.
    kSystemDataNotHad = 611,
    // The system did not say how much data there is. A system without an adapter says nothing either.
    kSystemSizeNotHad = 612,
    kWalkNotBegun = 613,
    kNoFurtherAdapter = 614,
    kNotOnThisSystem = 615,
};
