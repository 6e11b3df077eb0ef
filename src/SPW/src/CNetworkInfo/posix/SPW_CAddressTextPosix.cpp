#include "SPW_CAddressTextPosix.h"

#include <arpa/inet.h>

bool SPW_CAddressTextPosix::parse(std::string_view text, std::uint32_t& address) {
    in_addr parsed;
    if (text.find('\0') != std::string_view::npos || ::inet_pton(AF_INET, std::string(text).c_str(), &parsed) != 1) {
        return false;
    }
    address = ntohl(parsed.s_addr);
    return true;
}

std::string SPW_CAddressTextPosix::text(std::uint32_t address) {
    const in_addr binary{htonl(address)};
    char buffer[INET_ADDRSTRLEN];
    return ::inet_ntop(AF_INET, &binary, buffer, sizeof buffer);
}

std::string SPW_CAddressTextPosix::maskText(unsigned prefixLength) {
    if (prefixLength == 0) {
        return text(0);
    }
    return text(prefixLength >= 32 ? 0xFFFFFFFFu : ~(0xFFFFFFFFu >> prefixLength));
}
