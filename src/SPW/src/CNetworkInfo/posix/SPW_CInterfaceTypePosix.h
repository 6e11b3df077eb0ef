#pragma once

#include <string_view>

#include "SPW_CLinkTablePosix.h"

// The IANA number of a link's interface type, which management tools of all systems share: 6 Ethernet, 71 wireless,
// 131 tunnel, 243 mobile ...; 1 ("other") for what the kernel has and IANA's list has not. A pure function; any thread.
// deviceType: what the kernel's description of the device calls it ("wlan", "wwan"), which tells wireless networks and
// mobile modems from what they look like otherwise; empty where it calls it nothing.
unsigned SPW_InterfaceTypePosix(const SPW_CLinkTablePosix::Link& link, std::string_view deviceType);
