#pragma once

#include <cstdint>

#include "SPW_CString.h"

// A moment as local day and time of day, in the short form of the user's locale: "03.07.2003 14:07". Empty for a moment
// beyond the calendar.
SPW_CString leaseText(std::int64_t secondsSince1970);
