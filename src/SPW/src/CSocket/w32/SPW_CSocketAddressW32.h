#pragma once

#include <winsock.h>

#include <cstdint>
#include <cstring>

#include "SPW_CIpAddress.h"

// Between our addresses and the platform's.
namespace SPW_CSocketAddressW32 {

// In network order, as in_addr and the echo service have it.
inline unsigned long toNumber(const SPW_CIpAddress& address) {
    const std::uint8_t octets[4] = {address.octet(0), address.octet(1), address.octet(2), address.octet(3)};
    unsigned long number = 0;
    static_assert(sizeof number == sizeof octets, "an IPv4 address");
    std::memcpy(&number, octets, sizeof octets);
    return number;
}

inline in_addr toNative(const SPW_CIpAddress& address) {
    in_addr native;
    native.s_addr = toNumber(address);
    return native;
}

inline SPW_CIpAddress toAddress(const in_addr& native) {
    std::uint8_t octets[4];
    std::memcpy(octets, &native, sizeof octets);
    return SPW_CIpAddress(octets[0], octets[1], octets[2], octets[3]);
}

inline sockaddr_in toSockaddr(const SPW_CIpAddress& address, std::uint16_t port) {
    sockaddr_in native = {};
    native.sin_family = AF_INET;
    native.sin_port = htons(port);
    native.sin_addr = toNative(address);
    return native;
}

}  // namespace SPW_CSocketAddressW32
