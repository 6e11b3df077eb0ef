#pragma once

#include "SPW_CString.h"

// The operating system in one line: "Linux version 6.1 Debian GNU/Linux 12 (bookworm) Build 55". Empty when the system
// does not tell its version. Doubled and trailing blanks are deliberate: an empty service pack keeps its blanks.
SPW_CString operatingSystemText();
