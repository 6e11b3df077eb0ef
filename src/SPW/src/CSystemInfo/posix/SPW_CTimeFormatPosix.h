#pragma once

#include <vector>

#include "SPW_CString.h"

// Formats of strftime, as locales give them, taken to pieces and shortened. Pure functions over texts that may hold
// anything; any thread.
namespace SPW_CTimeFormatPosix {

// One conversion ("%H", "%OM", "%-l"), or the text between two.
struct Piece {
    SPW_CString text;
    char16_t conversion = 0;  // the letter of a conversion, 0 for text; "%%" and a "%" that begins nothing are text
};

std::vector<Piece> cut(const SPW_CString& format);

// The format of a time of day without its seconds, and without a time zone:
//     %H:%M:%S           %H:%M          with what separates the seconds
//     %H時%M分%S秒       %H時%M分       with their unit, where each number has one
//     %T, %r             %H:%M, and what twelveHourFormat gives
// twelveHourFormat: what "%r" stands for in the locale; where that is empty, "%I:%M:%S %p".
// A format of seconds or zone alone, and an empty one, gives "%H:%M".
SPW_CString withoutSeconds(const SPW_CString& format, const SPW_CString& twelveHourFormat);

}  // namespace SPW_CTimeFormatPosix
