#pragma once

#include "SPW_CLinkTablePosix.h"

// The IANA number of a link's interface type, which management tools of all systems share: 6 Ethernet, 71 wireless,
// 131 tunnel ...; 1 ("other") for what the kernel has and IANA's list has not. A pure function; any thread.
// isWireless: whether it is a wireless network, which the kernel otherwise shows as Ethernet.
unsigned SPW_InterfaceTypePosix(const SPW_CLinkTablePosix::Link& link, bool isWireless);
