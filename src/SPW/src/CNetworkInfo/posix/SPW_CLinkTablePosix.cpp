#include "SPW_CLinkTablePosix.h"

#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace {

using SPW_CLinkTablePosix::Address;
using SPW_CLinkTablePosix::Gateway;
using SPW_CLinkTablePosix::Link;

constexpr std::uint32_t kForEver = 0xFFFFFFFF;
constexpr std::size_t kAlignment = 4;  // of messages, attributes and next hops

// Reads a structure off the front; false when the bytes are too few.
template <typename T>
bool copyFront(std::string_view bytes, T& value) {
    if (bytes.size() < sizeof value) {
        return false;
    }
    std::memcpy(&value, bytes.data(), sizeof value);
    return true;
}

// Something that begins with its own length: cut off the front, with the padding behind it.
bool takeSized(std::string_view& bytes, std::size_t length, std::size_t headSize, std::string_view& item) {
    if (length < headSize || length > bytes.size()) {
        return false;
    }
    item = bytes.substr(0, length);
    bytes.remove_prefix(std::min((length + kAlignment - 1) & ~(kAlignment - 1), bytes.size()));
    return true;
}

std::string_view behind(std::string_view bytes, std::size_t size) {
    return bytes.substr(std::min((size + kAlignment - 1) & ~(kAlignment - 1), bytes.size()));
}

// Calls visit(body) for each message of the type.
template <typename Visit>
void forEachMessage(std::string_view messages, std::uint16_t type, Visit visit) {
    nlmsghdr head;
    std::string_view message;
    while (copyFront(messages, head) && takeSized(messages, head.nlmsg_len, sizeof head, message)) {
        if (head.nlmsg_type == type) {
            visit(behind(message, sizeof head));
        }
    }
}

// Calls visit(type, value) for each attribute.
template <typename Visit>
void forEachAttribute(std::string_view attributes, Visit visit) {
    rtattr head;
    std::string_view attribute;
    while (copyFront(attributes, head) && takeSized(attributes, head.rta_len, sizeof head, attribute)) {
        visit(head.rta_type & NLA_TYPE_MASK, behind(attribute, sizeof head));
    }
}

std::uint32_t numberOf(std::string_view value) {
    std::uint32_t number = 0;
    (void)copyFront(value, number);
    return number;
}

// An IPv4 address as it is sent.
bool addressOf(std::string_view value, std::uint32_t& address) {
    if (value.size() != 4) {
        return false;
    }
    address = 0;
    for (const char octet : value) {
        address = address << 8 | static_cast<unsigned char>(octet);
    }
    return true;
}

std::string textOf(std::string_view value) {
    return std::string(value.substr(0, value.find('\0')));
}

std::string kindOf(std::string_view linkInfo) {
    std::string kind;
    forEachAttribute(linkInfo, [&kind](int type, std::string_view value) {
        if (type == IFLA_INFO_KIND) {
            kind = textOf(value);
        }
    });
    return kind;
}

bool isHardwareAddress(std::string_view value) {
    return value.size() == 6 || value.size() == SPW_CLinkTablePosix::kLongestHardwareAddress;
}

void addLink(std::vector<Link>& links, std::string_view body) {
    ifinfomsg head;
    if (!copyFront(body, head) || head.ifi_index <= 0) {
        return;
    }
    Link link;
    link.index = static_cast<std::uint32_t>(head.ifi_index);
    link.hardwareType = head.ifi_type;
    link.flags = head.ifi_flags;
    forEachAttribute(behind(body, sizeof head), [&link](int type, std::string_view value) {
        if (type == IFLA_IFNAME) {
            link.name = textOf(value);
        } else if (type == IFLA_ADDRESS && isHardwareAddress(value)) {
            link.hardwareAddress = std::string(value);
        } else if (type == IFLA_LINKINFO) {
            link.kind = kindOf(value);
        }
    });
    links.push_back(std::move(link));
}

Link* find(std::vector<Link>& links, std::uint32_t index) {
    const auto found = std::lower_bound(links.begin(), links.end(), index,
                                        [](const Link& link, std::uint32_t wanted) { return link.index < wanted; });
    return found != links.end() && found->index == index ? &*found : nullptr;
}

void addAddress(std::vector<Link>& links, std::string_view body) {
    ifaddrmsg head;
    if (!copyFront(body, head) || head.ifa_family != AF_INET) {
        return;
    }
    Address address;
    address.prefixLength = head.ifa_prefixlen;
    std::uint32_t flags = head.ifa_flags;
    std::uint32_t peer = 0;
    bool hasLocal = false;
    bool hasPeer = false;
    forEachAttribute(behind(body, sizeof head), [&](int type, std::string_view value) {
        ifa_cacheinfo times;
        if (type == IFA_LOCAL) {
            hasLocal = addressOf(value, address.address);
        } else if (type == IFA_ADDRESS) {
            hasPeer = addressOf(value, peer);  // the far end's where a line has two ends, else our own
        } else if (type == IFA_FLAGS) {
            flags = numberOf(value);
        } else if (type == IFA_CACHEINFO && copyFront(value, times)) {
            address.validForSeconds = times.ifa_valid;
        }
    });
    if (!hasLocal) {
        address.address = peer;
    }
    address.isLeased = (flags & IFA_F_PERMANENT) == 0 && address.validForSeconds != kForEver;
    Link* const link = find(links, head.ifa_index);
    if (link != nullptr && (hasLocal || hasPeer)) {
        link->addresses.push_back(address);
    }
}

void addGateway(std::vector<Link>& links, std::uint32_t index, const Gateway& gateway) {
    if (Link* const link = find(links, index)) {
        link->gateways.push_back(gateway);
    }
}

// A route that leads to several gateways lists them in an attribute.
void addNextHops(std::vector<Link>& links, std::string_view hops, std::uint32_t metric) {
    rtnexthop head;
    std::string_view hop;
    while (copyFront(hops, head) && takeSized(hops, head.rtnh_len, sizeof head, hop)) {
        forEachAttribute(behind(hop, sizeof head), [&](int type, std::string_view value) {
            Gateway gateway{0, metric};
            if (type == RTA_GATEWAY && addressOf(value, gateway.address)) {
                addGateway(links, static_cast<std::uint32_t>(head.rtnh_ifindex), gateway);
            }
        });
    }
}

// Only what leads everywhere counts, and only where the kernel looks without being told otherwise.
void addDefaultRoute(std::vector<Link>& links, std::string_view body) {
    rtmsg head;
    if (!copyFront(body, head) || head.rtm_family != AF_INET || head.rtm_dst_len != 0 ||
        head.rtm_table != RT_TABLE_MAIN || head.rtm_type != RTN_UNICAST) {
        return;
    }
    Gateway gateway;
    std::uint32_t index = 0;
    bool hasGateway = false;
    std::string_view hops;
    forEachAttribute(behind(body, sizeof head), [&](int type, std::string_view value) {
        if (type == RTA_GATEWAY) {
            hasGateway = addressOf(value, gateway.address);
        } else if (type == RTA_OIF) {
            index = numberOf(value);
        } else if (type == RTA_PRIORITY) {
            gateway.metric = numberOf(value);
        } else if (type == RTA_MULTIPATH) {
            hops = value;
        }
    });
    if (hasGateway) {
        addGateway(links, index, gateway);
    }
    addNextHops(links, hops, gateway.metric);
}

// Several routes may lead to the same gateway, for different metrics or types of service: the most preferred one
// counts.
void sortGateways(std::vector<Gateway>& gateways) {
    std::stable_sort(gateways.begin(), gateways.end(),
                     [](const Gateway& a, const Gateway& b) { return a.metric < b.metric; });
    std::unordered_set<std::uint32_t> known;
    gateways.erase(std::remove_if(gateways.begin(), gateways.end(),
                                  [&known](const Gateway& gateway) { return !known.insert(gateway.address).second; }),
                   gateways.end());
}

}  // namespace

std::vector<Link> SPW_CLinkTablePosix::read(std::string_view links, std::string_view addresses,
                                            std::string_view routes) {
    std::vector<Link> table;
    forEachMessage(links, RTM_NEWLINK, [&table](std::string_view body) { addLink(table, body); });
    std::stable_sort(table.begin(), table.end(), [](const Link& a, const Link& b) { return a.index < b.index; });
    table.erase(
        std::unique(table.begin(), table.end(), [](const Link& a, const Link& b) { return a.index == b.index; }),
        table.end());
    forEachMessage(addresses, RTM_NEWADDR, [&table](std::string_view body) { addAddress(table, body); });
    forEachMessage(routes, RTM_NEWROUTE, [&table](std::string_view body) { addDefaultRoute(table, body); });
    for (Link& link : table) {
        sortGateways(link.gateways);
    }
    return table;
}
