#pragma once

// Converts texts to and from the platform's type. Its wide characters are the same 16 bits under another name.

inline const wchar_t* SPW_ToWide(const char16_t* text) {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* SPW_ToWide(char16_t* buffer) {
    return reinterpret_cast<wchar_t*>(buffer);
}
inline const char16_t* SPW_FromWide(const wchar_t* text) {
    return reinterpret_cast<const char16_t*>(text);
}

static_assert(sizeof(wchar_t) == sizeof(char16_t), "the platform's wide characters are UTF-16 units");
