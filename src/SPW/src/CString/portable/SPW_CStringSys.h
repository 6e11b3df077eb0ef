#pragma once

// What a platform gives to SPW_CString. None of these blocks or reports; any thread may call them.
namespace SPW_CStringSys {

// Converts `length` characters, and a terminator of its own, to the system's 8-bit code page. What the code page
// lacks, and half of a surrogate pair, becomes "?". `size` is the size of the buffer in bytes.
// Returns the bytes written, terminator included; 0, with an unspecified buffer, when they do not fit.
// With size 0 writes nothing and returns the bytes needed.
int wideToAnsi(const char16_t* text, int length, char* buffer, int size);

// Converts `length` bytes of the system's 8-bit code page, and a terminator of its own, to wide characters. Bytes
// that mean nothing there become U+FFFD. `size` is the size of the buffer in characters; length + 1 suffices always.
// Returns the characters written, terminator included; 0, with an unspecified buffer, when they do not fit.
int ansiToWide(const char* text, int length, char16_t* buffer, int size);

// The same for a text from another device, whose code page may be another one: see SPW_receivedText.
int receivedToWide(const char* text, int length, char16_t* buffer, int size);

// Any double in any precision that doubleToText() accepts, with its terminator, is shorter.
constexpr int kDoubleTextSize = 1200;
// The digits that a double can have; further ones would all be 0.
constexpr int kDoublePrecisionLimit = 1100;

// "%.<precision>g" of the C library with a point as decimal point, into kDoubleTextSize bytes. 0 <= precision
// <= kDoublePrecisionLimit. Returns the length of the text.
int doubleToText(double number, int precision, char* buffer);

// The value of a text of digits, with optional sign, point and exponent. Too large gives an infinity, too
// small 0.
double textToDouble(const char* text);

}  // namespace SPW_CStringSys
