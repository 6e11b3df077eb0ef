// What DHCP clients have written, and what is taken for it: a lease that is found has an address and no time before
// 1970, and no server or time comes from nowhere.
//
// Input: read as a whole in each of the four forms.

#include <cstdint>
#include <string>

#include "Require.h"
#include "SPW_CDhcpLeasePosix.h"

namespace {

constexpr std::int64_t kWritten = 1700000000;
constexpr std::int64_t kLongest = 0xFFFFFFFF;

void checkTimes(const SPW_CDhcpLease& lease) {
    require(lease.address != 0, "a lease has an address");
    require(lease.obtained >= 0 && lease.expires >= 0, "no time is before 1970");
    require(lease.expires == 0 || lease.obtained <= lease.expires || lease.obtained == kWritten,
            "a lease begins before it ends");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    // Of exactly this size, which lets the sanitizer see a read beyond it.
    const std::string file(reinterpret_cast<const char*>(bytes), count);
    for (const SPW_CDhcpLeasePosix::JournalEntry& entry : SPW_CDhcpLeasePosix::parseJournal(file)) {
        checkTimes(entry.lease);
        require(entry.interfaceName.size() <= 256, "no word is endless");
    }
    SPW_CDhcpLease lease;
    if (SPW_CDhcpLeasePosix::parsePacket(file, kWritten, lease)) {
        checkTimes(lease);
        require(lease.expires <= kWritten + kLongest, "no lease is longer than can be written");
    }
    if (SPW_CDhcpLeasePosix::parseAssignments(file, kWritten, lease)) {
        checkTimes(lease);
    }
    if (SPW_CDhcpLeasePosix::parseDeviceState(file, lease)) {
        checkTimes(lease);
        require(lease.expires <= kLongest, "no end is later than can be written");
    }
    return 0;
}
