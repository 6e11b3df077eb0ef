#include "SPW_CAdaptersPosix.h"

#include <linux/rtnetlink.h>
#include <net/if.h>

#include <algorithm>

#include "SPW_CClock.h"
#include "SPW_CDhcpLeaseFilesPosix.h"
#include "SPW_CInterfaceDriverPosix.h"
#include "SPW_CInterfaceTypePosix.h"
#include "SPW_CNetlinkPosix.h"
#include "SPW_CSmallFilePosix.h"
#include "SPW_CSysError.h"
#include "SPW_CTextLinesPosix.h"

namespace {

using SPW_CLinkTablePosix::Address;
using SPW_CLinkTablePosix::Link;

constexpr std::size_t kLargestDescription = 4096;
constexpr std::int64_t k100nsPerSecond = 10000000;

SPW_Result readLinks(std::vector<Link>& links) {
    std::string tables[3];
    const std::uint16_t requests[3] = {RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE};
    for (int i = 0; i < 3; ++i) {
        const SPW_Result code = SPW_CNetlinkPosix::readTable(requests[i], tables[i]);
        if (code != kSysOk) {
            return code;
        }
    }
    links = SPW_CLinkTablePosix::read(tables[0], tables[1], tables[2]);
    return kSysOk;
}

// The type of the device in the kernel's own description; empty where there is none. The file may describe a device of
// the same name in another network namespace: then the index differs.
std::string deviceTypeOf(const std::string& root, const Link& link) {
    constexpr std::string_view kDeviceType = "DEVTYPE=";
    std::string description;
    (void)SPW_CSmallFilePosix::read((root + "/sys/class/net/" + link.name + "/uevent").c_str(), kLargestDescription,
                                    description);
    std::string deviceType;
    bool isThisLink = false;
    for (std::string_view rest = description; !rest.empty();) {
        const std::string_view line = SPW_CTextLinesPosix::takeLine(rest);
        if (line.substr(0, kDeviceType.size()) == kDeviceType) {
            deviceType = line.substr(kDeviceType.size());
        }
        isThisLink = isThisLink || line == "IFINDEX=" + std::to_string(link.index);
    }
    return isThisLink ? deviceType : std::string();
}

std::int64_t now() {
    return static_cast<std::int64_t>(SPW_CClock::instance->wall100ns()) / k100nsPerSecond -
           SPW_CClock::kSecondsFrom1601To1970;
}

// What no file tells, the kernel may: a client gives its address to the link for the time of the lease.
void completeLease(SPW_CAdapterPosix& adapter) {
    const std::vector<Address>& addresses = adapter.link.addresses;
    const auto leased = std::find_if(addresses.begin(), addresses.end(), [&adapter](const Address& address) {
        return address.isLeased && (!adapter.usesDhcp || address.address == adapter.lease.address);
    });
    if (leased == addresses.end()) {
        return;
    }
    adapter.usesDhcp = true;
    adapter.lease.address = leased->address;
    if (adapter.lease.expires == 0) {
        adapter.lease.expires = now() + leased->validForSeconds;
    }
}

}  // namespace

SPW_Result SPW_AdaptersPosix(const std::string& root, std::vector<SPW_CAdapterPosix>& adapters) {
    adapters.clear();
    std::vector<Link> links;
    const SPW_Result code = readLinks(links);
    if (code != kSysOk) {
        return code;
    }
    const SPW_CDhcpLeaseFilesPosix leases(root);
    for (Link& link : links) {
        if ((link.flags & IFF_LOOPBACK) != 0) {
            continue;
        }
        SPW_CAdapterPosix adapter;
        adapter.link = std::move(link);
        adapter.driver = SPW_InterfaceDriverPosix(adapter.link.name);
        adapter.type = SPW_InterfaceTypePosix(adapter.link, deviceTypeOf(root, adapter.link));
        adapter.usesDhcp = leases.find(adapter.link, adapter.lease);
        completeLease(adapter);
        adapters.push_back(std::move(adapter));
    }
    return kSysOk;
}
