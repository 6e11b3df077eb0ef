#include <charconv>

#include "SPW_CAddressTextPosix.h"
#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CTextLinesPosix.h"

namespace {

constexpr std::uint32_t kForEver = 0xFFFFFFFF;

// A number and nothing else; 0 for what is none, or does not fit.
template <typename Number>
Number numberOf(std::string_view text) {
    Number number = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? number : 0;
}

}  // namespace

bool SPW_CDhcpLeasePosix::parseAssignments(std::string_view file, std::int64_t written, SPW_CDhcpLease& lease) {
    SPW_CDhcpLease found;
    std::uint32_t lifetime = 0;
    while (!file.empty()) {
        const std::string_view line = SPW_CTextLinesPosix::takeLine(file);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos)
            continue;
        const std::string_view name = line.substr(0, equals);
        const std::string_view value = line.substr(equals + 1);
        if (name == "ADDRESS")
            (void)SPW_CAddressTextPosix::parse(value, found.address);
        else if (name == "SERVER_ADDRESS")
            (void)SPW_CAddressTextPosix::parse(value, found.server);
        else if (name == "LIFETIME")
            lifetime = numberOf<std::uint32_t>(value);
        else if (name == "EXPIRY")
            found.expires = numberOf<std::uint32_t>(value);
    }
    if (found.address == 0)
        return false;
    found.obtained = written;
    if (found.expires == 0 && lifetime != 0 && lifetime != kForEver)
        found.expires = written + lifetime;
    lease = found;
    return true;
}
