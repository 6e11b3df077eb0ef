#pragma once

#include <string>
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

    // The lease under which the link has one of its addresses; of several the latest. False when there is none: files
    // outlive their leases, so one for an address that the link does not have says nothing about today.
    bool find(const SPW_CLinkTablePosix::Link& link, SPW_CDhcpLease& lease) const;

private:
    // Whether what a client calls a file, or a block in it, means the link.
    typedef bool (*NameTest)(const std::string& name, const SPW_CLinkTablePosix::Link& link);
    struct Entry {
        std::string name;
        NameTest isFor;
        SPW_CDhcpLease lease;
    };

    void addAssignments(const std::string& folder, const std::string& name, NameTest isFor);
    void addPacket(const std::string& folder, const std::string& name);
    void addJournal(const std::string& folder, const std::string& name);

    std::vector<Entry> m_entries;
};
