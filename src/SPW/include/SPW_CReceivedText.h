#pragma once

#include "SPW_CString.h"

// Converts a text that another device has sent in its 8-bit code page. Where the code page of this device is UTF-8, a
// text that is not UTF-8 counts as code page 1252, which devices of western languages send. Any thread.
SPW_CString SPW_receivedText(const char* text);
