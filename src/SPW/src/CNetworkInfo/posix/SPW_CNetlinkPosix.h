#pragma once

#include <cstdint>
#include <string>

#include "SPW_Types.h"

// The kernel's tables of links, addresses and routes. Any thread; each call sees the network namespace of its thread.
namespace SPW_CNetlinkPosix {

// Asks for a whole table (RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE; IPv4 only) and gives the messages of the answer, one
// behind the other. A table that changes while it is read is read anew, a few times; then it is taken as it came.
// kSysOk, or the code of the call that failed, with `messages` empty.
[[nodiscard]] SPW_Result readTable(std::uint16_t request, std::string& messages);

}  // namespace SPW_CNetlinkPosix
