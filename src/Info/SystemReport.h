#pragma once

#include "ReportLines.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "Settings.h"

// The report about the device and the network of a test, in its two forms. No failure ends a report: it shows a missing
// value as missing. Both forms read the platform's configuration at each call and block as long as that takes. They use
// SPW_CSystemInfo, SPW_CNetworkInfo and the registry. Threads: any.

// The names and addresses of this device, as the caller has found them out.
struct DeviceIdentity {
    SPW_CString ownerName;
    SPW_CString hostName;
    SPW_CArray<SPW_CString> localAddresses;  // dotted quads
};

// The short form, for a window or a file: system and IP settings, each line ended by CR LF. The lines pass through
// showableText(), because the system's own texts can hold control characters.
SPW_CString localInfoText(const DeviceIdentity& device);

// The long form, for the test log. It adds the adapters, the program's settings and all that the registry holds below
// the maker's keys. It creates the maker's key in both hives if the registry allows it. The lines have not passed
// through showableText(): the receiver calls it, as the test log does for each of its lines.
void reportSystem(ReportLines& lines, const DeviceIdentity& device, const Settings& settings);
