#pragma once

#include <cstdint>

#include "SPW_CString.h"

// An IPv4 address as a plain value: four octets in the order in which they are written and sent. 0.0.0.0 when
// default-constructed. No platform structure of addresses leaves the platform halves; this travels instead.
class SPW_CIpAddress {
public:
    constexpr SPW_CIpAddress() = default;
    constexpr SPW_CIpAddress(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) : m_octets{a, b, c, d} {}

    // What the parser answers for a text that is no dotted quad: 255.255.255.255, which every socket refuses.
    static constexpr SPW_CIpAddress none() { return SPW_CIpAddress(255, 255, 255, 255); }

    // Reads exactly four octets joined by dots: one to three decimal digits each (leading zeros are decimal too),
    // at most 255, with nothing between, before or behind. On failure returns false and address is none(); the
    // text 255.255.255.255 is that value without being a failure. Never asks a name server.
    static bool parse(const SPW_CString& text, SPW_CIpAddress& address);

    // Dotted quad without leading zeros; parse() reads it back.
    SPW_CString toText() const;

    // index 0..3; 0 is the first of the dotted quad.
    constexpr std::uint8_t octet(int index) const { return m_octets[index]; }

    friend constexpr bool operator==(const SPW_CIpAddress& x, const SPW_CIpAddress& y) {
        return x.m_octets[0] == y.m_octets[0] && x.m_octets[1] == y.m_octets[1] && x.m_octets[2] == y.m_octets[2] &&
               x.m_octets[3] == y.m_octets[3];
    }
    friend constexpr bool operator!=(const SPW_CIpAddress& x, const SPW_CIpAddress& y) { return !(x == y); }

private:
    std::uint8_t m_octets[4] = {0, 0, 0, 0};
};
