#pragma once

#include "SPW_CString.h"

// The program's unattended use: another program starts it to have this device's configuration report in a file.

// Writes the local-info text of a fresh engine to the file, in the system's 8-bit code page and with CR LF line ends.
// The file is created or emptied. Nothing is logged and no log is touched.
// Returns false if the file could not be opened, written whole or closed, or if the engine could not be made. A file
// that was opened is then left behind, empty or in part. A full disk counts as a failure, because the program that
// waits for the report would read half of it.
[[nodiscard]] bool writeReport(const SPW_CString& path);
