#pragma once

#include "ReportLines.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "Settings.h"

// The report of what device and network a test runs on, in its two forms. No failure ends a report: what cannot be had
// is shown as such. Both read the platform's configuration anew each time and may take as long as it takes to read it.
// Any thread; the platform is reached through SPW_CSystemInfo, SPW_CNetworkInfo and the registry.

// Who this device is, as its owner of the moment has found out.
struct DeviceIdentity {
    SPW_CString ownerName;
    SPW_CString hostName;
    SPW_CArray<SPW_CString> localAddresses;  // dotted quads
};

// The short form, for a window or a file: system and IP settings, each line ended by CR LF. Control characters that the
// system's own texts may hold are shown as showableText() shows them, so that a line stays one.
SPW_CString localInfoText(const DeviceIdentity& device);

// The long form, for the test log: also the adapters, the program's settings and what the registry holds under the
// maker's keys. Leaves the maker's key in place in both hives where the registry lets it. The lines hold what the
// system and the registry hold: whoever takes them makes them fit to be shown, as the test log does with each of its
// lines.
void reportSystem(ReportLines& lines, const DeviceIdentity& device, const Settings& settings);
