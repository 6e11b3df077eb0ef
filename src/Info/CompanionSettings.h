#pragma once

#include <cstdint>

#include "SPW_CString.h"

// What companion products and the device have stored about themselves in the registry of the current user. Reading
// creates no key and does not fail: a missing text is empty. Threads: any.

// Says that no companion product replaces the default of "multicast port".
constexpr std::int32_t kNoMulticastPortOverride = -1;

// The port of the KORV product, or kNoMulticastPortOverride.
std::int32_t readKorvUdpPort();
// The name of the device's owner.
SPW_CString readOwnerName();
// The name that the TLP product gives to this device.
SPW_CString readFriendlyName();
