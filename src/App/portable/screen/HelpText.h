#pragma once

#include "SPW_CString.h"

// What the keys and marks of the screen mean.
SPW_CString helpText();
