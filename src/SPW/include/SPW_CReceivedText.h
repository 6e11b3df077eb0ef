#pragma once

#include "SPW_CString.h"

// The text that another device has sent in its 8-bit code page. Where this device's is UTF-8, a text that is none is
// taken for the code page 1252, which the devices of western languages send. Any thread.
SPW_CString SPW_receivedText(const char* text);
