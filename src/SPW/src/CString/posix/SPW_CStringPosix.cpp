// The 8-bit code page is UTF-8. It is converted here and not by the C library: the locale that a front end sets changes
// no packet, file or report.

#include <locale.h>
#include <stdlib.h>

#include <charconv>
#include <cstdint>
#include <cstring>

#include "SPW_CStringSys.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}

bool isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// Reads the character at text[i] and moves i behind it.
char32_t nextOfUtf16(const char16_t* text, int length, int& i) {
    const char32_t c = text[i++];
    if (isHighSurrogate(c) && i < length && isLowSurrogate(text[i])) {
        return 0x10000 + ((c - 0xD800) << 10) + (text[i++] - 0xDC00u);
    }
    return isHighSurrogate(c) || isLowSurrogate(c) ? U'?' : c;
}

int utf8Size(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

void putUtf8(char32_t c, int size, char* to) {
    static constexpr unsigned char kLead[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
    for (int i = size - 1; i > 0; --i) {
        to[i] = static_cast<char>(0x80 | (c & 0x3F));
        c >>= 6;
    }
    to[0] = static_cast<char>(kLead[size] | c);
}

// What a lead byte announces: how many continuation bytes, and the range of the first of them, which keeps
// overlong forms, surrogates and what lies beyond U+10FFFF out.
struct Lead {
    unsigned char first, last;
    int continuations;
    unsigned char low, high;
};

constexpr Lead kLeads[] = {
    {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF}, {0xE1, 0xEC, 2, 0x80, 0xBF}, {0xED, 0xED, 2, 0x80, 0x9F},
    {0xEE, 0xEF, 2, 0x80, 0xBF}, {0xF0, 0xF0, 3, 0x90, 0xBF}, {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

// Reads the character at text[i] and moves i behind it. The longest valid start of an invalid or unfinished character
// gives one replacement character.
char32_t nextOfUtf8(const char* text, int length, int& i) {
    const unsigned char lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80) {
        return lead;
    }
    for (const Lead& row : kLeads) {
        if (lead < row.first || lead > row.last) {
            continue;
        }
        char32_t c = lead & (0x3Fu >> row.continuations);
        unsigned char low = row.low;
        unsigned char high = row.high;
        for (int left = row.continuations; left > 0; --left, low = 0x80, high = 0xBF) {
            const unsigned char byte = i < length ? static_cast<unsigned char>(text[i]) : 0;
            if (byte < low || byte > high) {
                return kReplacement;
            }
            c = (c << 6) | (byte & 0x3Fu);
            ++i;
        }
        return c;
    }
    return kReplacement;
}

bool isUtf8(const char* text, int length) {
    static constexpr char kReplacementBytes[] = "\xEF\xBF\xBD";
    constexpr int kReplacementSize = 3;
    for (int i = 0; i < length;) {
        if (nextOfUtf8(text, length, i) == kReplacement &&
            (i < kReplacementSize ||
             std::memcmp(text + i - kReplacementSize, kReplacementBytes, kReplacementSize) != 0)) {
            return false;
        }
    }
    return true;
}

// The code page 1252 is Latin-1 but for these, 0x80 to 0x9F. Five of them mean nothing and stay control characters.
constexpr char16_t kCodePage1252[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char16_t ofCodePage1252(char byte) {
    constexpr unsigned char kFirst = 0x80;
    constexpr unsigned char kLast = 0x9F;
    const unsigned char c = static_cast<unsigned char>(byte);
    return c >= kFirst && c <= kLast ? kCodePage1252[c - kFirst] : c;
}

// The point is a point whatever locale is set.
locale_t numberLocale() {
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

}  // namespace

namespace SPW_CStringSys {

int wideToAnsi(const char16_t* text, int length, char* buffer, int size) {
    int count = 0;
    for (int i = 0; i < length;) {
        const char32_t c = nextOfUtf16(text, length, i);
        const int bytes = utf8Size(c);
        if (size > 0) {
            if (count + bytes >= size) {
                return 0;
            }
            putUtf8(c, bytes, buffer + count);
        }
        count += bytes;
    }
    if (size > 0) {
        buffer[count] = 0;
    }
    return count + 1;
}

int ansiToWide(const char* text, int length, char16_t* buffer, int size) {
    int count = 0;
    for (int i = 0; i < length;) {
        const char32_t c = nextOfUtf8(text, length, i);
        const int units = c < 0x10000 ? 1 : 2;
        if (count + units >= size) {
            return 0;
        }
        if (units == 1) {
            buffer[count] = static_cast<char16_t>(c);
        } else {
            buffer[count] = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            buffer[count + 1] = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
        count += units;
    }
    if (size < 1) {
        return 0;
    }
    buffer[count] = 0;
    return count + 1;
}

int receivedToWide(const char* text, int length, char16_t* buffer, int size) {
    if (isUtf8(text, length)) {
        return ansiToWide(text, length, buffer, size);
    }
    if (length >= size) {
        return 0;
    }
    for (int i = 0; i < length; ++i) {
        buffer[i] = ofCodePage1252(text[i]);
    }
    buffer[length] = 0;
    return length + 1;
}

int doubleToText(double number, int precision, char* buffer) {
    const std::to_chars_result result =
        std::to_chars(buffer, buffer + kDoubleTextSize - 1, number, std::chars_format::general, precision);
    *result.ptr = 0;
    return static_cast<int>(result.ptr - buffer);
}

double textToDouble(const char* text) {
    return ::strtod_l(text, nullptr, numberLocale());
}

}  // namespace SPW_CStringSys
