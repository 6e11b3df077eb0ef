#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "SPW_CStringSys.h"
#include "SPW_CWideW32.h"

namespace {

// In the system's language, so that no user's language has a say.
char16_t mapCase(char16_t c, DWORD direction) {
    char16_t mapped = c;
    (void)LCMapStringW(LOCALE_SYSTEM_DEFAULT, direction, SPW_ToWide(&c), 1, SPW_ToWide(&mapped), 1);
    return mapped;
}

bool isAscii(char16_t c) {
    return c < 0x80;
}

// Some C libraries of this platform write at least three digits of exponent, where the rest of the world writes two.
void shortenExponent(char* text) {
    char* const exponent = std::strchr(text, 'e');
    if (exponent != nullptr && std::strlen(exponent) == 5 && exponent[2] == '0') {
        std::memmove(exponent + 2, exponent + 3, 3);
    }
}

}  // namespace

namespace SPW_CStringSys {

int wideToAnsi(const char16_t* text, int length, char* buffer, int size) {
    // The platform refuses to convert nothing.
    const int needed =
        length == 0 ? 0 : WideCharToMultiByte(CP_ACP, 0, SPW_ToWide(text), length, nullptr, 0, nullptr, nullptr);
    if (size == 0) {
        return needed + 1;
    }
    if (needed >= size) {
        return 0;
    }
    if (needed > 0) {
        (void)WideCharToMultiByte(CP_ACP, 0, SPW_ToWide(text), length, buffer, size, nullptr, nullptr);
    }
    buffer[needed] = 0;
    return needed + 1;
}

int ansiToWide(const char* text, int length, char16_t* buffer, int size) {
    const int needed = length == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, text, length, nullptr, 0);
    if (needed >= size) {
        return 0;
    }
    if (needed > 0) {
        (void)MultiByteToWideChar(CP_ACP, 0, text, length, SPW_ToWide(buffer), size);
    }
    buffer[needed] = 0;
    return needed + 1;
}

char16_t toLower(char16_t c) {
    if (isAscii(c)) {
        return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    }
    return mapCase(c, LCMAP_LOWERCASE);
}

char16_t toUpper(char16_t c) {
    if (isAscii(c)) {
        return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
    }
    return mapCase(c, LCMAP_UPPERCASE);
}

int doubleToText(double number, int precision, char* buffer) {
    (void)std::sprintf(buffer, "%.*g", precision, number);  // kDoubleTextSize is enough
    shortenExponent(buffer);
    return static_cast<int>(std::strlen(buffer));
}

double textToDouble(const char* text) {
    return std::strtod(text, nullptr);
}

}  // namespace SPW_CStringSys
