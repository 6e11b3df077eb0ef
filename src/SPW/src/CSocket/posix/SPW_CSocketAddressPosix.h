#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>

#include "SPW_CIpAddress.h"

// Between our addresses and the platform's.
namespace SPW_CSocketAddressPosix {

inline in_addr toNative(const SPW_CIpAddress& address) {
    const std::uint8_t octets[4] = {address.octet(0), address.octet(1), address.octet(2), address.octet(3)};
    in_addr native{};
    static_assert(sizeof native.s_addr == sizeof octets, "an IPv4 address");
    std::memcpy(&native.s_addr, octets, sizeof octets);
    return native;
}

inline SPW_CIpAddress toAddress(const in_addr& native) {
    std::uint8_t octets[4];
    std::memcpy(octets, &native.s_addr, sizeof octets);
    return SPW_CIpAddress(octets[0], octets[1], octets[2], octets[3]);
}

inline sockaddr_in toSockaddr(const SPW_CIpAddress& address, std::uint16_t port) {
    sockaddr_in native{};
    native.sin_family = AF_INET;
    native.sin_port = htons(port);
    native.sin_addr = toNative(address);
    return native;
}

// native is of the family AF_INET.
inline SPW_CIpAddress fromSockaddr(const sockaddr* native) {
    sockaddr_in address;
    std::memcpy(&address, native, sizeof address);
    return toAddress(address.sin_addr);
}

}  // namespace SPW_CSocketAddressPosix
