#pragma once

// Upper and lower case of single letters, the same on every platform, whatever language the user has chosen.
namespace SPW_CLetterCase {

// The character in the other case; the character itself where it has no counterpart of exactly one character that leads
// back to it. Any thread.
inline char16_t toLower(char16_t c);
inline char16_t toUpper(char16_t c);

// The same for a character that is not ASCII.
char16_t lowerOfOther(char16_t c);
char16_t upperOfOther(char16_t c);

inline char16_t toLower(char16_t c) {
    if (c < 0x80) {
        return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
    }
    return lowerOfOther(c);
}

inline char16_t toUpper(char16_t c) {
    if (c < 0x80) {
        return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - (u'a' - u'A')) : c;
    }
    return upperOfOther(c);
}

}  // namespace SPW_CLetterCase
