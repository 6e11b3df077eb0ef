#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What a DHCP client has noted of a lease.
struct SPW_CDhcpLease {
    std::uint32_t address = 0;  // what was leased; first octet on top
    std::uint32_t server = 0;   // who leased it; 0 where the client does not say
    std::int64_t obtained = 0;  // seconds since 1970 (UTC); 0 where the client does not say
    std::int64_t expires = 0;   // the same; 0 for a lease that never ends, too
    // The client leaves its file alone when a renewal changes nothing but the times: they may be those of an earlier
    // grant.
    bool mayBeRenewed = false;
};

// The forms in which the DHCP clients of Debian and Ubuntu keep their leases. Pure functions over bytes that may hold
// anything; any thread. `written` is when the file was last written (seconds since 1970), for clients whose files tell
// only how long a lease lasts.
namespace SPW_CDhcpLeasePosix {

// One block of dhclient's journal.
struct JournalEntry {
    std::string interfaceName;  // empty where the block names none
    SPW_CDhcpLease lease;
};

// dhclient's journal: blocks "lease { ... }", the newest last. A block without an address is none.
std::vector<JournalEntry> parseJournal(std::string_view journal);

// dhcpcd's: the packet with which the server granted the lease. False when it is none.
bool parsePacket(std::string_view packet, std::int64_t written, SPW_CDhcpLease& lease);

// systemd-networkd's and NetworkManager's: lines NAME=value. False when no address is among them.
bool parseAssignments(std::string_view file, std::int64_t written, SPW_CDhcpLease& lease);

// What NetworkManager notes of a device: groups of lines name=value, the lease's is "[dhcp4]". False when no address is
// in there.
bool parseDeviceState(std::string_view file, SPW_CDhcpLease& lease);

}  // namespace SPW_CDhcpLeasePosix
