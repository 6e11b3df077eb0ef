#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CLinkTablePosix.h"

// The leases that the DHCP clients of this device have noted, as the files stand when the object is made: those of
// dhclient, dhcpcd, systemd-networkd and NetworkManager. A file that is missing, unreadable or none of theirs counts as
// not there. Belongs to one thread at a time.
class SPW_CDhcpLeaseFilesPosix {
public:
    // root: the folder that stands for "/", without a slash at its end; empty for the real one.
    explicit SPW_CDhcpLeaseFilesPosix(const std::string& root);

    // The lease under which the link has one of its addresses. False when there is none. Files outlive their leases: a
    // lease of an address that the link does not have says nothing about today.
    //
    // In a dhclient journal the last block counts. Among several files a lease that still holds goes first, then one
    // with more than an address, then the newest. A lease that has run out is found as well, with its times as they
    // were: the address is still the one that DHCP gave. Where a client's files do not show renewals, the times are
    // those until which the kernel holds the address.
    bool find(const SPW_CLinkTablePosix::Link& link, SPW_CDhcpLease& lease) const;

private:
    // Whether the name of a client's file, or of a block in it, stands for the link.
    typedef bool (*NameTest)(const std::string& name, const SPW_CLinkTablePosix::Link& link);
    typedef SPW_CDhcpLeasePosix::JournalEntry Block;
    // One block per lease; where a file holds only one, the block bears the file's name.
    struct File {
        NameTest isFor;
        std::int64_t written;
        std::vector<Block> blocks;
    };
    // How well a lease tells what holds today: the greater the better.
    typedef std::tuple<bool, bool, std::int64_t> Rank;

    void readNetworkd();
    void readNetworkManager();
    void readDhcpcd(const std::string& folder);
    void readDhclient();
    void addAssignments(const std::string& folder, const std::string& name, NameTest isFor);
    void addDeviceState(const std::string& folder, const std::string& name);
    void addPacket(const std::string& folder, const std::string& name);
    void addJournal(const std::string& folder, const std::string& name);
    SPW_CDhcpLease renewed(SPW_CDhcpLease lease, const SPW_CLinkTablePosix::Link& link) const;
    Rank rankOf(const SPW_CDhcpLease& lease, const File& file) const;

    const std::string m_root;
    const std::int64_t m_now;
    std::vector<File> m_files;
};
