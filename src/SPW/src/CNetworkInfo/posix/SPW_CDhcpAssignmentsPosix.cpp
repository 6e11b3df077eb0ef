#include <algorithm>

#include "SPW_CAddressTextPosix.h"
#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CDhcpNumbersPosix.h"
#include "SPW_CTextLinesPosix.h"

namespace {

struct Unit {
    std::string_view name;
    std::uint32_t seconds;
};

// Years and months have the lengths that systemd gives them.
constexpr Unit kUnits[] = {{"y", 31557600}, {"month", 2629800}, {"w", 604800}, {"d", 86400},
                           {"h", 3600},     {"min", 60},        {"s", 1}};

// "90min" is 5400; 0 for what is none.
std::uint64_t secondsOfTerm(std::string_view term) {
    const std::size_t digits = std::min(term.find_first_not_of("0123456789"), term.size());
    std::uint32_t number = 0;
    if (!SPW_CDhcpNumbersPosix::read(term.substr(0, digits), number)) {
        return 0;
    }
    for (const Unit& unit : kUnits) {
        if (term.substr(digits) == unit.name) {
            return std::uint64_t{number} * unit.seconds;
        }
    }
    return 0;
}

// How long a lease lasts: seconds, or in newer versions of systemd words like "1d 30min" or "infinity". 0 for one that
// never ends, and for what is none.
std::uint32_t secondsOf(std::string_view text) {
    std::uint32_t number = 0;
    if (SPW_CDhcpNumbersPosix::read(text, number)) {
        return number == SPW_CDhcpNumbersPosix::kForEver ? 0 : number;
    }
    std::uint64_t sum = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::uint64_t seconds = secondsOfTerm(text.substr(0, end));
        sum += seconds;
        if (seconds == 0 || sum >= SPW_CDhcpNumbersPosix::kForEver) {
            return 0;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return static_cast<std::uint32_t>(sum);
}

}  // namespace

bool SPW_CDhcpLeasePosix::parseAssignments(std::string_view file, std::int64_t written, SPW_CDhcpLease& lease) {
    SPW_CDhcpLease found;
    std::uint32_t lifetime = 0;
    while (!file.empty()) {
        const std::string_view line = SPW_CTextLinesPosix::takeLine(file);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view name = line.substr(0, equals);
        const std::string_view value = line.substr(equals + 1);
        if (name == "ADDRESS") {
            (void)SPW_CAddressTextPosix::parse(value, found.address);
        } else if (name == "SERVER_ADDRESS") {
            (void)SPW_CAddressTextPosix::parse(value, found.server);
        } else if (name == "LIFETIME") {
            lifetime = secondsOf(value);
        }
    }
    if (found.address == 0) {
        return false;
    }
    found.obtained = written;
    if (lifetime != 0) {
        found.expires = written + lifetime;
        found.mayBeRenewed = true;
    }
    lease = found;
    return true;
}
