#include "SPW_CDhcpLeaseFilesPosix.h"

#include <dirent.h>

#include <algorithm>

#include "SPW_CClock.h"
#include "SPW_CSmallFilePosix.h"

namespace {

using SPW_CLinkTablePosix::Link;

// A file with one lease that is larger is none of theirs.
constexpr std::size_t kLargestFile = 16384;
// The end of a journal counts. dhclient shortens its journal now and then: mostly this is all of it.
constexpr std::size_t kEndOfJournal = 262144;
constexpr std::size_t kMostFiles = 1024;     // of one client in one folder
constexpr std::size_t kMostEntries = 65536;  // of one folder, looked at
constexpr std::int64_t k100nsPerSecond = 10000000;

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The names of the files in a folder with this beginning and end, sorted.
std::vector<std::string> filesIn(const std::string& folder, const char* beginning, const char* end) {
    std::vector<std::string> names;
    DIR* const directory = ::opendir(folder.c_str());
    if (directory == nullptr) {
        return names;
    }
    for (std::size_t i = 0; i < kMostEntries && names.size() < kMostFiles; ++i) {
        const dirent* const entry = ::readdir(directory);
        if (entry == nullptr) {
            break;
        }
        const std::string name = entry->d_name;
        if (name[0] != '.' && beginsWith(name, beginning) && endsWith(name, end)) {
            names.push_back(name);
        }
    }
    (void)::closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

std::int64_t now() {
    return static_cast<std::int64_t>(SPW_CClock::instance->wall100ns()) / k100nsPerSecond -
           SPW_CClock::kSecondsFrom1601To1970;
}

// A journal without its beginning may start inside a text in quotes. It is read from its next block on.
void skipToBlock(std::string& journal) {
    journal.erase(0, std::min(journal.find("\nlease {"), journal.size()));
}

// systemd-networkd, and NetworkManager's devices: the file bears the link's index.
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

// dhclient: the block names the link, or no link.
bool isNameOf(const std::string& name, const Link& link) {
    return name.empty() || name == link.name;
}

bool hasAddress(const Link& link, std::uint32_t address) {
    return std::any_of(link.addresses.begin(), link.addresses.end(),
                       [address](const SPW_CLinkTablePosix::Address& own) { return own.address == address; });
}

}  // namespace

SPW_CDhcpLeaseFilesPosix::SPW_CDhcpLeaseFilesPosix(const std::string& root) : m_root(root), m_now(now()) {
    readNetworkd();
    readNetworkManager();
    readDhcpcd("/var/lib/dhcpcd/");
    readDhcpcd("/var/lib/dhcpcd5/");  // Debian's older place
    readDhclient();
}

bool SPW_CDhcpLeaseFilesPosix::find(const Link& link, SPW_CDhcpLease& lease) const {
    bool isFound = false;
    Rank best;
    for (const File& file : m_files) {
        const auto last = std::find_if(file.blocks.rbegin(), file.blocks.rend(), [&file, &link](const Block& block) {
            return file.isFor(block.interfaceName, link) && hasAddress(link, block.lease.address);
        });
        if (last == file.blocks.rend()) {
            continue;
        }
        const SPW_CDhcpLease candidate = renewed(last->lease, link);
        const Rank rank = rankOf(candidate, file);
        if (isFound && rank < best) {
            continue;
        }
        isFound = true;
        best = rank;
        lease = candidate;
    }
    return isFound;
}

void SPW_CDhcpLeaseFilesPosix::readNetworkd() {
    const std::string folder = m_root + "/run/systemd/netif/leases/";
    for (const std::string& name : filesIn(folder, "", "")) {
        addAssignments(folder, name, isIndexOf);
    }
}

// Its own client leaves nothing but the address in the lease file; server and times stand in the device's state.
void SPW_CDhcpLeaseFilesPosix::readNetworkManager() {
    const std::string devices = m_root + "/run/NetworkManager/devices/";
    for (const std::string& name : filesIn(devices, "", "")) {
        addDeviceState(devices, name);
    }
    const std::string leases = m_root + "/var/lib/NetworkManager/";
    for (const std::string& name : filesIn(leases, "internal-", ".lease")) {
        addAssignments(leases, name, endsWithNameOf);
    }
    for (const std::string& name : filesIn(leases, "dhclient-", ".lease")) {
        addJournal(leases, name);
    }
}

void SPW_CDhcpLeaseFilesPosix::readDhcpcd(const std::string& folder) {
    for (const std::string& name : filesIn(m_root + folder, "", ".lease")) {
        addPacket(m_root + folder, name);
    }
}

void SPW_CDhcpLeaseFilesPosix::readDhclient() {
    const std::string folder = m_root + "/var/lib/dhcp/";
    for (const std::string& name : filesIn(folder, "dhclient", ".leases")) {
        addJournal(folder, name);
    }
}

void SPW_CDhcpLeaseFilesPosix::addAssignments(const std::string& folder, const std::string& name, NameTest isFor) {
    std::string text;
    std::int64_t written = 0;
    SPW_CDhcpLease lease;
    if (SPW_CSmallFilePosix::readEnd((folder + name).c_str(), kLargestFile, text, written) &&
        SPW_CDhcpLeasePosix::parseAssignments(text, written, lease)) {
        m_files.push_back({isFor, written, {{name, lease}}});
    }
}

void SPW_CDhcpLeaseFilesPosix::addDeviceState(const std::string& folder, const std::string& name) {
    std::string text;
    std::int64_t written = 0;
    SPW_CDhcpLease lease;
    if (SPW_CSmallFilePosix::readEnd((folder + name).c_str(), kLargestFile, text, written) &&
        SPW_CDhcpLeasePosix::parseDeviceState(text, lease)) {
        m_files.push_back({isIndexOf, written, {{name, lease}}});
    }
}

void SPW_CDhcpLeaseFilesPosix::addPacket(const std::string& folder, const std::string& name) {
    std::string packet;
    std::int64_t written = 0;
    SPW_CDhcpLease lease;
    if (SPW_CSmallFilePosix::readEnd((folder + name).c_str(), kLargestFile, packet, written) &&
        SPW_CDhcpLeasePosix::parsePacket(packet, written, lease)) {
        m_files.push_back({beginsWithNameOf, written, {{name, lease}}});
    }
}

void SPW_CDhcpLeaseFilesPosix::addJournal(const std::string& folder, const std::string& name) {
    std::string journal;
    std::int64_t written = 0;
    if (!SPW_CSmallFilePosix::readEnd((folder + name).c_str(), kEndOfJournal, journal, written)) {
        return;
    }
    if (journal.size() == kEndOfJournal) {
        skipToBlock(journal);
    }
    m_files.push_back({isNameOf, written, SPW_CDhcpLeasePosix::parseJournal(journal)});
}

// Clients give the address to the link for the time of the lease, and again at each renewal. The kernel therefore knows
// of renewals that the file does not show.
SPW_CDhcpLease SPW_CDhcpLeaseFilesPosix::renewed(SPW_CDhcpLease lease, const Link& link) const {
    for (const SPW_CLinkTablePosix::Address& own : link.addresses) {
        const std::int64_t expires = m_now + own.validForSeconds;
        if (!lease.mayBeRenewed || own.address != lease.address || !own.isLeased || expires <= lease.expires) {
            continue;
        }
        lease.obtained += expires - lease.expires;
        lease.expires = expires;
    }
    return lease;
}

SPW_CDhcpLeaseFilesPosix::Rank SPW_CDhcpLeaseFilesPosix::rankOf(const SPW_CDhcpLease& lease, const File& file) const {
    const bool tellsMore = lease.server != 0 || lease.expires != 0;
    const bool holds = tellsMore && (lease.expires == 0 || lease.expires > m_now);
    return {holds, tellsMore, lease.obtained != 0 ? lease.obtained : file.written};
}
