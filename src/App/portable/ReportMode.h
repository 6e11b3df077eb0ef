#pragma once

#include "SPW_CString.h"

// The program's unattended use: another program starts it to have this device's configuration report in a file.

// Writes the local-info text of a fresh engine to the file, in the system's 8-bit code page and with CR LF line ends.
// The file is created or emptied. Nothing is logged and no log is touched.
// False when the file could not be opened, written whole or closed, or the engine not be made; what was opened then
// is left behind, empty or in part. That a disk ran full counts as a failure, since whoever waits for the report would
// read half of it.
[[nodiscard]] bool writeReport(const SPW_CString& path);
