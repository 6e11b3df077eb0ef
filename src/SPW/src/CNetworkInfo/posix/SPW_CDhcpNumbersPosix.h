#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>

// What the readers of leases share. Pure functions, any thread.
namespace SPW_CDhcpNumbersPosix {

// How long a lease lasts that never ends.
constexpr std::uint32_t kForEver = 0xFFFFFFFF;

// Reads a decimal number and nothing else. False when it is none or does not fit; number is not defined then.
template <typename Number>
bool read(std::string_view text, Number& number) {
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// The time at which a lease began that ends at `expires` and lasts so many seconds. 0, not known, for an impossible
// duration.
inline std::int64_t beginning(std::int64_t expires, std::int64_t duration) {
    return duration > 0 && duration < expires ? expires - duration : 0;
}

}  // namespace SPW_CDhcpNumbersPosix
