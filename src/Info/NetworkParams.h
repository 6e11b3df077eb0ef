#pragma once

#include <cstdint>

#include "AddressList.h"
#include "OptionalField.h"
#include "SPW_CString.h"

// What the system says of its network as a whole. The getter of a field that the system has left out returns
// kNetworkFieldAbsent. Flags are 1 or 0.
struct NetworkParams {
    template <typename T>
    using Field = OptionalField<T, kNetworkFieldAbsent>;

    Field<SPW_CString> hostName;
    Field<SPW_CString> domainName;
    Field<AddressList> currentDns;
    Field<AddressList> dnsServerList;
    Field<std::uint8_t> usingDhcp;  // deliberately whether the system has a NetBIOS node type; see the reader
    Field<SPW_CString> dhcpScopeName;
    Field<std::uint8_t> routingEnabled;
    Field<std::uint8_t> actingAsProxy;
    Field<std::uint8_t> dnsEnabled;
};

// Reads them through SPW_CNetworkInfo. `params` must be new. Returns 0; or kSystemDataNotHad, kSystemSizeNotHad or
// kNotOnThisSystem, with `params` unchanged.
[[nodiscard]] SPW_Result readNetworkParams(NetworkParams& params);
