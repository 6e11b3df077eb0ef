#pragma once

#include <cstdint>

#include "SPW_CString.h"

// What companion products and the device have stored about themselves in the registry of the current user. Reading
// never creates a key and never fails: what is missing is empty. Any thread.

// No override of the default of "multicast port".
constexpr std::int32_t kNoMulticastPortOverride = -1;

// The port of the KORV product, or kNoMulticastPortOverride.
std::int32_t readKorvUdpPort();
// Whom the device belongs to.
SPW_CString readOwnerName();
// How the TLP product calls this device.
SPW_CString readFriendlyName();
