#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "SPW_CStringSys.h"
#include "SPW_CWideW32.h"

namespace {

// Some C libraries of this platform write an exponent with at least three digits. Others write at least two.
void shortenExponent(char* text) {
    char* const exponent = std::strchr(text, 'e');
    if (exponent != nullptr && std::strlen(exponent) == 5 && exponent[2] == '0') {
        std::memmove(exponent + 2, exponent + 3, 3);
    }
}

}  // namespace

namespace SPW_CStringSys {

int wideToAnsi(const char16_t* text, int length, char* buffer, int size) {
    // The platform refuses to convert an empty text.
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

// A text of another code page cannot be told from one of this device's code page, in which every byte is a character.
int receivedToWide(const char* text, int length, char16_t* buffer, int size) {
    return ansiToWide(text, length, buffer, size);
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
