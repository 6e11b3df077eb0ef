#include "SPW_CAddressTextPosix.h"
#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CDhcpNumbersPosix.h"
#include "SPW_CTextLinesPosix.h"

// The part that matters here:
//
//     [dhcp4]
//     dhcp4.dhcp_lease_time=3600
//     dhcp4.dhcp_server_identifier=10.0.0.1
//     dhcp4.expiry=1700000000
//     dhcp4.ip_address=10.0.0.5

namespace {

constexpr std::string_view kPrefix = "dhcp4.";

}  // namespace

bool SPW_CDhcpLeasePosix::parseDeviceState(std::string_view file, SPW_CDhcpLease& lease) {
    SPW_CDhcpLease found;
    std::uint32_t duration = 0;
    bool isInGroup = false;
    while (!file.empty()) {
        const std::string_view line = SPW_CTextLinesPosix::takeLine(file);
        if (!line.empty() && line.front() == '[') {
            isInGroup = line == "[dhcp4]";
        }
        const std::size_t equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos || line.substr(0, kPrefix.size()) != kPrefix) {
            continue;
        }
        const std::string_view name = line.substr(kPrefix.size(), equals - kPrefix.size());
        const std::string_view value = line.substr(equals + 1);
        std::uint32_t number = 0;
        if (name == "ip_address") {
            (void)SPW_CAddressTextPosix::parse(value, found.address);
        } else if (name == "dhcp_server_identifier") {
            (void)SPW_CAddressTextPosix::parse(value, found.server);
        } else if (name == "expiry" && SPW_CDhcpNumbersPosix::read(value, number)) {
            found.expires = number;
        } else if (name == "dhcp_lease_time" && SPW_CDhcpNumbersPosix::read(value, number)) {
            duration = number;
        }
    }
    if (found.address == 0) {
        return false;
    }
    if (duration == SPW_CDhcpNumbersPosix::kForEver) {
        found.expires = 0;
    }
    found.obtained = SPW_CDhcpNumbersPosix::beginning(found.expires, duration);
    lease = found;
    return true;
}
