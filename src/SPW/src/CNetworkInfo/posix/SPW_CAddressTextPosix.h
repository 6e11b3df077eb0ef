#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// IPv4 addresses and their texts where no SPW_CString is wanted. The number has the first octet on top. Any thread.
namespace SPW_CAddressTextPosix {

// Reads a dotted quad and nothing else. False, and address untouched, when it is none.
bool parse(std::string_view text, std::uint32_t& address);
std::string text(std::uint32_t address);
// The mask of a network: 24 gives 255.255.255.0. prefixLength above 32 counts as 32.
std::string maskText(unsigned prefixLength);

}  // namespace SPW_CAddressTextPosix
