#pragma once

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SystemReport.h"

// Who this device is, as the platform and the registry say at one moment, and what it is called.
struct LocalIdentity : DeviceIdentity {
    SPW_CString quillonName;
    SPW_CString displayName;

    // Asks for all of it, which takes as long as the platform takes. displayNameSource: the setting "display name".
    static LocalIdentity read(const SPW_CString& displayNameSource);
    // Whether this was one of the device's addresses at that moment.
    bool hasAddress(const SPW_CString& address) const;
    // "10.0.0.5  (pocket1)"; safe to show.
    SPW_CString title() const;
};

// The addresses by which that host can be reached; asked for now.
SPW_CArray<SPW_CString> reachableAddressesOf(const SPW_CString& host);
