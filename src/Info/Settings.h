#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "SPW_CArray.h"
#include "SPW_CString.h"

// Everything that the user can set for a test run, as the registry of the current user holds it. Read only: the
// program writes a value back only where it was missing or unreadable, and then its default.
struct Settings {
    SPW_CString applicationPath;
    SPW_CString description;
    SPW_CString displayNameSource;
    std::int32_t frequencyQty = 0;
    std::uint32_t frequencyUnitMs = 0;  // 0 for an unknown unit word
    bool logDataPackets = false;
    bool logEvents = false;
    SPW_CString logFileName;
    SPW_CString multicastGroup;
    std::int32_t multicastPort = 0;
    bool multicastSelected = false;
    std::int32_t multicastTtl = 0;
    SPW_CArray<SPW_CString> namedPeerAddresses;
    SPW_CArray<SPW_CString> namedPeerNames;  // parallel to namedPeerAddresses
    std::int32_t overheadBytes = 0;
    bool includeAnyoneInReach = false;
    bool includeNamedIpAddresses = false;
    bool pingSelected = false;
    std::int32_t port = 0;
    bool tcpipSelected = false;
    bool udpSelected = false;
    SPW_CString version;

    // Milliseconds between probes: the product in 32 bits. Beyond the greatest number (24 days) it stays there, because
    // a product that wrapped around to a negative or a small number would be a flood.
    std::int32_t periodMs() const {
        typedef std::numeric_limits<std::int32_t> Limits;
        const std::int64_t product = std::int64_t{frequencyQty} * frequencyUnitMs;
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(product, Limits::min(), Limits::max()));
    }
};
