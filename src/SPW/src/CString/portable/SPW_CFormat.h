#pragma once

#include <cstdarg>

// The longest decimal number: a sign and the digits of an unsigned 64-bit number.
constexpr int kSPWDecimalSize = 21;

// Writes the digits of the number just before bufferEnd, without terminator; at most kSPWDecimalSize characters.
// Returns the first one.
char16_t* SPW_decimalText(unsigned long magnitude, bool negative, char16_t* bufferEnd);

// The length of the text, looking at no character beyond the limit.
int SPW_lengthUpTo(const char16_t* text, int limit);

// What SPW_CString::format() makes of its arguments: writes at most `size` characters and no terminator,
// returns how many. `size` is above 0.
int SPW_formatText(char16_t* buffer, int size, const char16_t* formatText, va_list arguments);
