#include "SPW_CIpAddress.h"

namespace {

constexpr int kOctets = 4;
constexpr int kMostDigits = 3;
constexpr int kLargestOctet = 255;

bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// Reads one octet at next and moves next behind it; false when there is none or it is too long or too large.
bool readOctet(const char16_t*& next, std::uint8_t& octet) {
    int value = 0;
    int digits = 0;
    for (; isDigit(*next); ++next) {
        value = value * 10 + (*next - u'0');
        if (++digits > kMostDigits) {
            return false;
        }
    }
    octet = static_cast<std::uint8_t>(value);
    return digits > 0 && value <= kLargestOctet;
}

char16_t* writeOctet(char16_t* next, int octet) {
    if (octet >= 100) {
        *next++ = static_cast<char16_t>(u'0' + octet / 100);
    }
    if (octet >= 10) {
        *next++ = static_cast<char16_t>(u'0' + octet / 10 % 10);
    }
    *next++ = static_cast<char16_t>(u'0' + octet % 10);
    return next;
}

}  // namespace

bool SPW_CIpAddress::parse(const SPW_CString& text, SPW_CIpAddress& address) {
    address = none();
    std::uint8_t octets[kOctets] = {};
    const char16_t* next = text.text();
    for (int i = 0; i < kOctets; ++i) {
        if (i > 0 && *next++ != u'.') {
            return false;
        }
        if (!readOctet(next, octets[i])) {
            return false;
        }
    }
    // Not "*next is NUL": a text may carry a NUL with more behind it.
    if (next != text.text() + text.length()) {
        return false;
    }
    address = SPW_CIpAddress(octets[0], octets[1], octets[2], octets[3]);
    return true;
}

SPW_CString SPW_CIpAddress::toText() const {
    char16_t text[kOctets * (kMostDigits + 1)];
    char16_t* next = text;
    for (int i = 0; i < kOctets; ++i) {
        if (i > 0) {
            *next++ = u'.';
        }
        next = writeOctet(next, m_octets[i]);
    }
    *next = u'\0';
    return SPW_CString(text);
}
