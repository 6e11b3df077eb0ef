#pragma once

#include <cstdint>

#include "SPW_CString.h"

// An IPv4 address as a plain value.
class SPW_CIpAddress {
public:
    constexpr SPW_CIpAddress() = default;
    constexpr SPW_CIpAddress(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
        : m_octets{a, b, c, d} {}
    // What the parser answers for a text that is no dotted quad: 255.255.255.255.
    static constexpr SPW_CIpAddress none() { return SPW_CIpAddress(255, 255, 255, 255); }
    // Four decimal octets joined by dots, nothing around them. On failure returns false and address is none().
    static bool parse(const SPW_CString& text, SPW_CIpAddress& address);
    SPW_CString toText() const;
    constexpr std::uint8_t octet(int index) const { return m_octets[index]; }
    friend constexpr bool operator==(const SPW_CIpAddress& x, const SPW_CIpAddress& y) {
        return x.m_octets[0] == y.m_octets[0] && x.m_octets[1] == y.m_octets[1] && x.m_octets[2] == y.m_octets[2] &&
               x.m_octets[3] == y.m_octets[3];
    }
    friend constexpr bool operator!=(const SPW_CIpAddress& x, const SPW_CIpAddress& y) { return !(x == y); }

private:
    std::uint8_t m_octets[4] = {0, 0, 0, 0};
};
