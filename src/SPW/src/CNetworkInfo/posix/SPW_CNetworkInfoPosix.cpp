#include "SPW_CNetworkInfoPosix.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "SPW_CAdaptersPosix.h"
#include "SPW_CAddressTextPosix.h"
#include "SPW_CImmortal.h"
#include "SPW_CResolverFilePosix.h"
#include "SPW_CSmallFilePosix.h"
#include "SPW_CSysError.h"

namespace {

using SPW_CAddressTextPosix::maskText;
using SPW_CLinkTablePosix::Address;
using SPW_CLinkTablePosix::Gateway;
using SPW_CLinkTablePosix::Link;
using SPW_CResolverFilePosix::Resolver;

constexpr std::size_t kLargestResolverFile = 1048576;
constexpr std::size_t kLongestFlag = 16;
static_assert(SPW_CLinkTablePosix::kLongestHardwareAddress == sizeof(SPW_AdapterRecord::address));
// NetBIOS's "hybrid", what a server hands out as a rule.
constexpr std::uint32_t kHybridNode = 8;

// --- What there is to tell

struct Network {
    std::string hostName;
    Resolver resolver;
    bool usesDhcp = false;
    bool routes = false;
    bool isProxy = false;
};

// False where there is no such file; the resolver is empty then.
bool readResolverFile(const std::string& path, Resolver& resolver) {
    std::string text;
    const bool isThere = SPW_CSmallFilePosix::read(path.c_str(), kLargestResolverFile, text);
    // Where the limit cuts amid a line, the beginning of an address may look like one.
    if (text.size() == kLargestResolverFile) {
        text.erase(text.rfind('\n') + 1);
    }
    resolver = SPW_CResolverFilePosix::parse(text);
    return isThere;
}

// The servers that a service on this device asks, for a resolver file that names nothing but the service. False for a
// service other than these two, such as a name server of the device's own: only the service knows.
bool readServiceList(const std::string& root, const Resolver& stub, Resolver& list) {
    return (SPW_CResolverFilePosix::namesOnlyResolved(stub) &&
            readResolverFile(root + "/run/systemd/resolve/resolv.conf", list)) ||
           readResolverFile(root + "/run/NetworkManager/no-stub-resolv.conf", list);
}

// Where the file names only a service on this device, the list of that service tells the servers that are really asked.
// An empty list means that none is.
Resolver readResolver(const std::string& root) {
    Resolver resolver;
    (void)readResolverFile(root + "/etc/resolv.conf", resolver);  // without a file there is no server and no domain
    Resolver list;
    if (!SPW_CResolverFilePosix::namesOnlyThisDevice(resolver) || !readServiceList(root, resolver, list)) {
        return resolver;
    }
    if (!resolver.domain.empty()) {
        list.domain = resolver.domain;
    }
    return list;
}

std::string readHostName() {
    char name[256];
    if (::gethostname(name, sizeof name) != 0) {
        return std::string();
    }
    name[sizeof name - 1] = 0;
    return name;
}

bool isSet(const std::string& path) {
    std::string text;
    return SPW_CSmallFilePosix::read(path.c_str(), kLongestFlag, text) && !text.empty() && text[0] != '0';
}

// A setting of the kernel's for all links, or for one of them.
bool isSetForAny(const std::string& root, const char* setting, const std::vector<SPW_CAdapterPosix>& adapters) {
    const std::string folder = root + "/proc/sys/net/ipv4/conf/";
    return isSet(folder + "all/" + setting) ||
           std::any_of(adapters.begin(), adapters.end(), [&folder, setting](const SPW_CAdapterPosix& adapter) {
               return isSet(folder + adapter.link.name + "/" + setting);
           });
}

SPW_Result readNetwork(const std::string& root, Network& network) {
    std::vector<SPW_CAdapterPosix> adapters;
    const SPW_Result code = SPW_AdaptersPosix(root, adapters);
    if (code != kSysOk) {
        return code;
    }
    network.hostName = readHostName();
    network.resolver = readResolver(root);
    const std::size_t dot = network.hostName.find('.');
    if (network.resolver.domain.empty() && dot != std::string::npos) {
        network.resolver.domain = network.hostName.substr(dot + 1);
    }
    network.usesDhcp = std::any_of(adapters.begin(), adapters.end(),
                                   [](const SPW_CAdapterPosix& adapter) { return adapter.usesDhcp; });
    network.routes = isSetForAny(root, "forwarding", adapters);
    network.isProxy = isSetForAny(root, "proxy_arp", adapters);
    return kSysOk;
}

// --- How it is told

// Cut between two characters where it is too long (UTF-8).
template <std::size_t size>
void writeText(char (&field)[size], const std::string& text) {
    std::size_t length = std::min(text.size(), size - 1);
    while (length > 0 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        --length;
    }
    std::memcpy(field, text.data(), length);
    field[length] = 0;
}

struct ListedAddress {
    std::string address;
    std::string mask;  // empty where none is known
};
typedef std::vector<ListedAddress> AddressList;

std::size_t nodesBehindFirst(const AddressList& list) {
    return list.empty() ? 0 : list.size() - 1;
}

// The nodes behind the first take the places from `free` on.
void writeList(SPW_AddressNode& first, const AddressList& list, SPW_AddressNode*& free) {
    SPW_AddressNode* node = &first;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i > 0) {
            node->next = new (free++) SPW_AddressNode();
            node = node->next;
        }
        writeText(node->address, list[i].address);
        writeText(node->mask, list[i].mask);
    }
}

AddressList addressesOf(const Link& link) {
    AddressList list;
    for (const Address& address : link.addresses) {
        list.push_back({SPW_CAddressTextPosix::text(address.address), maskText(address.prefixLength)});
    }
    return list;
}

AddressList gatewaysOf(const Link& link) {
    AddressList list;
    for (const Gateway& gateway : link.gateways) {
        list.push_back({SPW_CAddressTextPosix::text(gateway.address), std::string()});
    }
    return list;
}

AddressList dhcpServersOf(const SPW_CAdapterPosix& adapter) {
    if (adapter.lease.server == 0) {
        return AddressList();
    }
    return {{SPW_CAddressTextPosix::text(adapter.lease.server), std::string()}};
}

AddressList dnsServersOf(const Resolver& resolver) {
    AddressList list;
    for (const std::string& server : resolver.servers) {
        list.push_back({server, std::string()});
    }
    return list;
}

void writeAdapter(SPW_AdapterRecord& record, const SPW_CAdapterPosix& adapter, SPW_AddressNode*& free) {
    writeText(record.adapterName, adapter.link.name);
    writeText(record.description, adapter.driver.empty() ? adapter.link.kind : adapter.driver);
    record.addressLength = static_cast<std::uint32_t>(adapter.link.hardwareAddress.size());
    std::memcpy(record.address, adapter.link.hardwareAddress.data(), record.addressLength);
    record.comboIndex = adapter.link.index;
    record.index = adapter.link.index;
    record.type = adapter.type;
    record.dhcpEnabled = adapter.usesDhcp ? 1 : 0;
    writeList(record.ipAddressList, addressesOf(adapter.link), free);
    writeList(record.gatewayList, gatewaysOf(adapter.link), free);
    writeList(record.dhcpServer, dhcpServersOf(adapter), free);
    record.leaseObtained = static_cast<std::intptr_t>(adapter.lease.obtained);
    record.leaseExpires = static_cast<std::intptr_t>(adapter.lease.expires);
}

// Whether the caller's buffer can be filled; else size becomes what is needed.
bool fits(const void* buffer, std::size_t needed, std::uint32_t& size) {
    const bool isLargeEnough = buffer != nullptr && size >= needed;
    if (!isLargeEnough) {
        size = static_cast<std::uint32_t>(needed);
    }
    return isLargeEnough;
}

SPW_CImmortal<SPW_CNetworkInfoPosix> networkInfo;

}  // namespace

SPW_CNetworkInfo* SPW_CNetworkInfo::instance = &networkInfo.value;

SPW_Result SPW_CNetworkInfoPosix::networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) {
    Network network;
    const SPW_Result code = readNetwork(m_root, network);
    if (code != kSysOk) {
        return code;
    }
    const AddressList servers = dnsServersOf(network.resolver);
    // The first server is told twice: as the head of the list, and as the one that is asked first.
    if (!fits(buffer, sizeof *buffer + servers.size() * sizeof(SPW_AddressNode), size)) {
        return kSysBufferOverflow;
    }
    SPW_NetworkParameters& record = *new (buffer) SPW_NetworkParameters();
    SPW_AddressNode* free = reinterpret_cast<SPW_AddressNode*>(buffer + 1);
    writeText(record.hostName, network.hostName);
    writeText(record.domainName, network.resolver.domain);
    if (!servers.empty()) {
        record.currentDnsServer = new (free++) SPW_AddressNode();
        writeList(*record.currentDnsServer, {servers.front()}, free);
    }
    writeList(record.dnsServerList, servers, free);
    // Linux has no NetBIOS node; but the report shows this field as the answer to whether the device uses DHCP.
    record.nodeType = network.usesDhcp ? kHybridNode : 0;
    record.enableRouting = network.routes ? 1 : 0;
    record.enableProxy = network.isProxy ? 1 : 0;
    record.enableDns = servers.empty() && !network.resolver.hasOtherServers ? 0 : 1;
    return kSysOk;
}

SPW_Result SPW_CNetworkInfoPosix::adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) {
    std::vector<SPW_CAdapterPosix> adapters;
    const SPW_Result code = SPW_AdaptersPosix(m_root, adapters);
    if (code != kSysOk) {
        return code;
    }
    if (adapters.empty()) {
        return kSysNoData;
    }
    std::size_t nodes = 0;
    for (const SPW_CAdapterPosix& adapter : adapters) {
        nodes += nodesBehindFirst(addressesOf(adapter.link)) + nodesBehindFirst(gatewaysOf(adapter.link));
    }
    if (!fits(buffer, adapters.size() * sizeof *buffer + nodes * sizeof(SPW_AddressNode), size)) {
        return kSysBufferOverflow;
    }
    SPW_AddressNode* free = reinterpret_cast<SPW_AddressNode*>(buffer + adapters.size());
    for (std::size_t i = 0; i < adapters.size(); ++i) {
        writeAdapter(*new (buffer + i) SPW_AdapterRecord(), adapters[i], free);
        buffer[i].next = i + 1 < adapters.size() ? buffer + i + 1 : nullptr;
    }
    return kSysOk;
}
