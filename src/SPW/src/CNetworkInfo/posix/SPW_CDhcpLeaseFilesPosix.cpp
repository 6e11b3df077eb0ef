#include "SPW_CDhcpLeaseFilesPosix.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>

#include "SPW_CSmallFilePosix.h"

namespace {

using SPW_CLinkTablePosix::Link;

// dhclient shortens its journal now and then; a file that is larger is none of theirs.
constexpr std::size_t kLargestFile = 262144;
constexpr std::size_t kMostFiles = 256;  // of one folder

std::vector<std::string> filesIn(const std::string& folder) {
    std::vector<std::string> names;
    DIR* const directory = ::opendir(folder.c_str());
    if (directory == nullptr)
        return names;
    while (const dirent* entry = ::readdir(directory)) {
        if (entry->d_name[0] != '.' && names.size() < kMostFiles)
            names.emplace_back(entry->d_name);
    }
    (void)::closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::int64_t writtenAt(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? status.st_mtime : 0;
}

// systemd-networkd: the file bears the link's index.
bool isIndexOf(const std::string& name, const Link& link) {
    return name == std::to_string(link.index);
}

// NetworkManager: "internal-<connection>-<link>.lease".
bool endsWithNameOf(const std::string& name, const Link& link) {
    return endsWith(name, "-" + link.name + ".lease");
}

// dhcpcd: "<link>.lease", and "<link>-<network>.lease" for a wireless network.
bool beginsWithNameOf(const std::string& name, const Link& link) {
    return name == link.name + ".lease" || beginsWith(name, link.name + "-");
}

// dhclient: the block names the link, or nobody.
bool isNameOf(const std::string& name, const Link& link) {
    return name.empty() || name == link.name;
}

bool hasAddress(const Link& link, std::uint32_t address) {
    return std::any_of(link.addresses.begin(), link.addresses.end(),
                       [address](const SPW_CLinkTablePosix::Address& own) { return own.address == address; });
}

// When a lease is the newest that is known; one that tells no time is older than all.
std::int64_t age(const SPW_CDhcpLease& lease) {
    return std::max(lease.obtained, lease.expires);
}

}  // namespace

SPW_CDhcpLeaseFilesPosix::SPW_CDhcpLeaseFilesPosix(const std::string& root) {
    const std::string networkd = root + "/run/systemd/netif/leases/";
    for (const std::string& name : filesIn(networkd))
        addAssignments(networkd, name, isIndexOf);

    const std::string networkManager = root + "/var/lib/NetworkManager/";
    for (const std::string& name : filesIn(networkManager)) {
        if (beginsWith(name, "internal-"))
            addAssignments(networkManager, name, endsWithNameOf);
        else if (beginsWith(name, "dhclient-"))
            addJournal(networkManager, name);
    }
    for (const char* const folder : {"/var/lib/dhcpcd/", "/var/lib/dhcpcd5/"}) {
        for (const std::string& name : filesIn(root + folder)) {
            if (endsWith(name, ".lease"))
                addPacket(root + folder, name);
        }
    }
    const std::string dhclient = root + "/var/lib/dhcp/";
    for (const std::string& name : filesIn(dhclient)) {
        if (beginsWith(name, "dhclient") && endsWith(name, ".leases"))
            addJournal(dhclient, name);
    }
}

bool SPW_CDhcpLeaseFilesPosix::find(const Link& link, SPW_CDhcpLease& lease) const {
    const Entry* latest = nullptr;
    for (const Entry& entry : m_entries) {
        if (entry.isFor(entry.name, link) && hasAddress(link, entry.lease.address) &&
            (latest == nullptr || age(entry.lease) >= age(latest->lease)))
            latest = &entry;
    }
    if (latest != nullptr)
        lease = latest->lease;
    return latest != nullptr;
}

void SPW_CDhcpLeaseFilesPosix::addAssignments(const std::string& folder, const std::string& name, NameTest isFor) {
    std::string text;
    SPW_CDhcpLease lease;
    if (SPW_CSmallFilePosix::read((folder + name).c_str(), kLargestFile, text) &&
        SPW_CDhcpLeasePosix::parseAssignments(text, writtenAt(folder + name), lease))
        m_entries.push_back({name, isFor, lease});
}

void SPW_CDhcpLeaseFilesPosix::addPacket(const std::string& folder, const std::string& name) {
    std::string packet;
    SPW_CDhcpLease lease;
    if (SPW_CSmallFilePosix::read((folder + name).c_str(), kLargestFile, packet) &&
        SPW_CDhcpLeasePosix::parsePacket(packet, writtenAt(folder + name), lease))
        m_entries.push_back({name, beginsWithNameOf, lease});
}

void SPW_CDhcpLeaseFilesPosix::addJournal(const std::string& folder, const std::string& name) {
    std::string journal;
    (void)SPW_CSmallFilePosix::read((folder + name).c_str(), kLargestFile, journal);
    for (const SPW_CDhcpLeasePosix::JournalEntry& entry : SPW_CDhcpLeasePosix::parseJournal(journal))
        m_entries.push_back({entry.interfaceName, isNameOf, entry.lease});
}
