#include "SPW_CNetworkInfo.h"

// These tests bring the network that they are about along (ScriptedNetworkInfo): the platform's is not linked, so that
// none of them can depend on the machine that it runs on.
SPW_CNetworkInfo* SPW_CNetworkInfo::instance = nullptr;
