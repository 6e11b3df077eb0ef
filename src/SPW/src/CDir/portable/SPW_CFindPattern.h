#pragma once

#include "SPW_CString.h"

// Whether a name matches a search pattern: "*" stands for any characters, none included, "?" for one. A dot is a
// character like any other: "*" matches ".", ".." and ".profile"; "*.*" matches every name, with a dot or without, as
// it does on Windows. Case counts. Time is at most length times length.
bool SPW_MatchesFindPattern(const SPW_CString& name, const SPW_CString& pattern);
