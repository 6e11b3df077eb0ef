#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CLinkTablePosix.h"
#include "SPW_Types.h"

// An adapter with all that this device knows of it.
struct SPW_CAdapterPosix {
    SPW_CLinkTablePosix::Link link;
    std::string driver;
    unsigned type = 0;  // IANA's number
    bool usesDhcp = false;
    SPW_CDhcpLease lease;  // all 0 where usesDhcp is false
};

// Every adapter but the loopback, whether it is up or not, in the order of index. root: the folder that stands for "/",
// without a slash at its end. kSysOk, or the code of the request to the kernel that failed. Any thread.
[[nodiscard]] SPW_Result SPW_AdaptersPosix(const std::string& root, std::vector<SPW_CAdapterPosix>& adapters);
