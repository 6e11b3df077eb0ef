#pragma once

#include <cstdint>

#include "AddressList.h"
#include "OptionalField.h"
#include "SPW_CString.h"

// What the system says of one network adapter. The getter of a field that the system has left out returns
// kAdapterFieldAbsent. Flags are 1 or 0.
struct AdapterInfo {
    template <typename T>
    using Field = OptionalField<T, kAdapterFieldAbsent>;

    Field<SPW_CString> name;
    Field<SPW_CString> description;
    Field<std::uint32_t> type;      // IANA's number of the interface type
    Field<SPW_CString> macAddress;  // 00-0a-95-9d-68-16
    Field<std::uint8_t> dhcpEnabled;
    Field<AddressList> ipAddressList;
    Field<AddressList> gatewayList;
    Field<AddressList> dhcpServerList;
    Field<std::uint8_t> usesWins;
    Field<AddressList> primaryWinsList;
    Field<AddressList> secondaryWinsList;
    Field<SPW_CString> leaseObtained;  // local day and time of day, in the user's short form
    Field<SPW_CString> leaseExpires;
};
