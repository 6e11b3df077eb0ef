#include "SPW_CLinkTablePosix.h"

#include <gtest/gtest.h>
#include <linux/if_addr.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <initializer_list>
#include <string>

#include "SPW_CInterfaceTypePosix.h"

namespace {

using SPW_CLinkTablePosix::Link;
using SPW_CLinkTablePosix::read;

template <typename T>
std::string bytesOf(const T& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string padded(std::string bytes) {
    bytes.resize((bytes.size() + 3) & ~std::size_t{3});
    return bytes;
}

std::string attribute(std::uint16_t type, const std::string& value) {
    rtattr head{};
    head.rta_len = static_cast<std::uint16_t>(sizeof head + value.size());
    head.rta_type = type;
    return padded(bytesOf(head) + value);
}

std::string message(std::uint16_t type, const std::string& body) {
    nlmsghdr head{};
    head.nlmsg_len = static_cast<std::uint32_t>(sizeof head + body.size());
    head.nlmsg_type = type;
    return padded(bytesOf(head) + body);
}

std::string link(int index, const std::string& name, const std::string& more = std::string()) {
    ifinfomsg head{};
    head.ifi_index = index;
    head.ifi_type = ARPHRD_ETHER;
    head.ifi_flags = 1;
    return message(RTM_NEWLINK, bytesOf(head) + attribute(IFLA_IFNAME, name + '\0') + more);
}

std::string address(std::uint32_t index, std::uint8_t prefix, const std::string& attributes,
                    std::uint8_t flags = IFA_F_PERMANENT) {
    ifaddrmsg head{};
    head.ifa_family = AF_INET;
    head.ifa_index = index;
    head.ifa_prefixlen = prefix;
    head.ifa_flags = flags;
    return message(RTM_NEWADDR, bytesOf(head) + attributes);
}

std::string route(const std::string& attributes, std::uint8_t prefix = 0, std::uint8_t table = RT_TABLE_MAIN,
                  std::uint8_t type = RTN_UNICAST) {
    rtmsg head{};
    head.rtm_family = AF_INET;
    head.rtm_dst_len = prefix;
    head.rtm_table = table;
    head.rtm_type = type;
    return message(RTM_NEWROUTE, bytesOf(head) + attributes);
}

std::string number(std::uint32_t value) {
    return bytesOf(value);
}

const std::string kA("\x0A\x00\x00\x05", 4);
const std::string kB("\x0A\x00\x00\x06", 4);
const std::string kC("\x0A\x00\x00\x07", 4);

TEST(LinkTablePosixTest, LinksComeInTheOrderOfTheirIndex) {
    const std::vector<Link> links = read(link(7, "c") + link(1, "lo") + link(3, "eth0"), "", "");
    ASSERT_EQ(links.size(), 3u);
    EXPECT_EQ(links[0].name, "lo");
    EXPECT_EQ(links[1].name, "eth0");
    EXPECT_EQ(links[1].index, 3u);
    EXPECT_EQ(links[1].hardwareType, static_cast<unsigned>(ARPHRD_ETHER));
    EXPECT_EQ(links[1].flags, 1u);
    EXPECT_EQ(links[2].name, "c");
}

TEST(LinkTablePosixTest, ALinkThatIsToldTwiceIsThereOnce) {
    const std::vector<Link> links = read(link(3, "eth0") + link(7, "c") + link(3, "renamed"), "", "");
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0].name, "eth0");
    EXPECT_EQ(links[1].name, "c");
}

TEST(LinkTablePosixTest, HardwareAddressAndKindAreTheLinksOwn) {
    const std::string more = attribute(IFLA_ADDRESS, std::string("\x02\x00\x5E\x10\x20\x30", 6)) +
                             attribute(IFLA_LINKINFO, attribute(IFLA_INFO_KIND, std::string("bridge\0", 7)));
    const std::vector<Link> links = read(link(1, "br0", more), "", "");
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(links[0].hardwareAddress, std::string("\x02\x00\x5E\x10\x20\x30", 6));
    EXPECT_EQ(links[0].kind, "bridge");
}

TEST(LinkTablePosixTest, OnlySixOrEightBytesAreAHardwareAddress) {
    for (std::size_t size = 0; size <= 32; ++size) {
        const std::string address(size, '\x17');
        const std::vector<Link> links = read(link(1, "tunl0", attribute(IFLA_ADDRESS, address)), "", "");
        ASSERT_EQ(links.size(), 1u);
        EXPECT_EQ(links[0].hardwareAddress, size == 6 || size == 8 ? address : std::string()) << size;
    }
}

TEST(LinkTablePosixTest, AddressesBelongToTheirLinkInTheKernelsOrder) {
    const std::vector<Link> links =
        read(link(1, "a") + link(2, "b"),
             address(2, 24, attribute(IFA_ADDRESS, kA) + attribute(IFA_LOCAL, kA)) +
                 address(9, 24, attribute(IFA_LOCAL, kB)) + address(2, 8, attribute(IFA_LOCAL, kC)),
             "");
    ASSERT_EQ(links.size(), 2u);
    EXPECT_TRUE(links[0].addresses.empty());
    ASSERT_EQ(links[1].addresses.size(), 2u);
    EXPECT_EQ(links[1].addresses[0].address, 0x0A000005u);
    EXPECT_EQ(links[1].addresses[0].prefixLength, 24u);
    EXPECT_FALSE(links[1].addresses[0].isLeased);
    EXPECT_EQ(links[1].addresses[1].address, 0x0A000007u);
}

TEST(LinkTablePosixTest, OfALineWithTwoEndsOurOwnIsTheAddress) {
    const std::vector<Link> links =
        read(link(1, "ppp0"), address(1, 32, attribute(IFA_ADDRESS, kB) + attribute(IFA_LOCAL, kA)), "");
    ASSERT_EQ(links[0].addresses.size(), 1u);
    EXPECT_EQ(links[0].addresses[0].address, 0x0A000005u);
}

TEST(LinkTablePosixTest, AnAddressForATimeOnlyIsLeased) {
    ifa_cacheinfo times{};
    times.ifa_valid = 600;
    const std::string leased = attribute(IFA_LOCAL, kA) + attribute(IFA_CACHEINFO, bytesOf(times));
    const std::vector<Link> links =
        read(link(1, "a"),
             address(1, 24, leased, 0) + address(1, 24, leased + attribute(IFA_FLAGS, number(IFA_F_PERMANENT)), 0), "");
    ASSERT_EQ(links[0].addresses.size(), 2u);
    EXPECT_TRUE(links[0].addresses[0].isLeased);
    EXPECT_EQ(links[0].addresses[0].validForSeconds, 600u);
    EXPECT_FALSE(links[0].addresses[1].isLeased) << "the wide flags replace the narrow ones";
}

TEST(LinkTablePosixTest, GatewaysAreThoseOfTheDefaultRoutesTheMostPreferredFirst) {
    const std::string out = attribute(RTA_OIF, number(1));
    const std::vector<Link> links =
        read(link(1, "a"), "",
             route(out + attribute(RTA_GATEWAY, kA) + attribute(RTA_PRIORITY, number(200))) +
                 route(out + attribute(RTA_GATEWAY, kB) + attribute(RTA_PRIORITY, number(100))) +
                 route(out + attribute(RTA_GATEWAY, kC), 8) +                  // to some network only
                 route(out) +                                                  // directly
                 route(out + attribute(RTA_GATEWAY, kC), 0, RT_TABLE_LOCAL) +  // another table
                 route(out + attribute(RTA_GATEWAY, kC), 0, RT_TABLE_MAIN, RTN_UNREACHABLE) +
                 route(attribute(RTA_OIF, number(9)) + attribute(RTA_GATEWAY, kC)));  // of nobody's link
    ASSERT_EQ(links[0].gateways.size(), 2u);
    EXPECT_EQ(links[0].gateways[0].address, 0x0A000006u);
    EXPECT_EQ(links[0].gateways[1].address, 0x0A000005u);
}

TEST(LinkTablePosixTest, AGatewayOfSeveralRoutesIsThereOnceWhereItIsMostPreferred) {
    const auto through = [](const std::string& gateway, std::uint32_t metric) {
        return route(attribute(RTA_OIF, number(1)) + attribute(RTA_GATEWAY, gateway) +
                     attribute(RTA_PRIORITY, number(metric)));
    };
    const std::vector<Link> links =
        read(link(1, "a"), "", through(kA, 300) + through(kB, 200) + through(kA, 100) + through(kB, 200));
    ASSERT_EQ(links[0].gateways.size(), 2u);
    EXPECT_EQ(links[0].gateways[0].address, 0x0A000005u);
    EXPECT_EQ(links[0].gateways[0].metric, 100u);
    EXPECT_EQ(links[0].gateways[1].address, 0x0A000006u);
}

TEST(LinkTablePosixTest, ARouteOfSeveralWaysHasAGatewayForEach) {
    const auto hop = [](int index, const std::string& gateway) {
        const std::string attributes = attribute(RTA_GATEWAY, gateway);
        rtnexthop head{};
        head.rtnh_len = static_cast<std::uint16_t>(sizeof head + attributes.size());
        head.rtnh_ifindex = index;
        return bytesOf(head) + attributes;
    };
    const std::vector<Link> links =
        read(link(1, "a") + link(2, "b"), "", route(attribute(RTA_MULTIPATH, hop(1, kA) + hop(2, kB))));
    ASSERT_EQ(links[0].gateways.size(), 1u);
    EXPECT_EQ(links[0].gateways[0].address, 0x0A000005u);
    ASSERT_EQ(links[1].gateways.size(), 1u);
    EXPECT_EQ(links[1].gateways[0].address, 0x0A000006u);
}

TEST(LinkTablePosixTest, WhateverIsCutOffEndsTheReading) {
    const std::string links = link(1, "a", attribute(IFLA_LINKINFO, attribute(IFLA_INFO_KIND, "veth")));
    const std::string addresses = address(1, 24, attribute(IFA_LOCAL, kA));
    const std::string routes = route(attribute(RTA_OIF, number(1)) + attribute(RTA_GATEWAY, kB));
    for (std::size_t cut = 0; cut < links.size(); ++cut) {
        EXPECT_TRUE(read(links.substr(0, cut), addresses, routes).empty()) << cut;
    }
    for (std::size_t cut = 0; cut < addresses.size(); ++cut) {
        EXPECT_TRUE(read(links, addresses.substr(0, cut), "")[0].addresses.empty()) << cut;
    }
    for (std::size_t cut = 0; cut < routes.size(); ++cut) {
        EXPECT_TRUE(read(links, "", routes.substr(0, cut))[0].gateways.empty()) << cut;
    }
}

TEST(LinkTablePosixTest, LengthsThatCannotBeEndTheReading) {
    for (const std::uint32_t length : {0u, 1u, 15u, 17u, 0xFFFFFFFFu}) {
        std::string bad = link(1, "a");
        bad.replace(0, 4, number(length));
        EXPECT_TRUE(read(bad + link(2, "b"), "", "").empty()) << length;
    }
    std::string none = attribute(IFLA_IFNAME, "x");
    none.replace(0, 2, std::string(2, '\0'));
    EXPECT_EQ(read(link(1, "a", none), "", "")[0].name, "a");
    EXPECT_TRUE(read(link(0, "zero") + link(-1, "minus"), "", "").empty());
}

TEST(LinkTablePosixTest, AddressesOfOtherFamiliesAndSizesAreDropped) {
    EXPECT_TRUE(read(link(1, "a"), address(1, 24, attribute(IFA_LOCAL, "123456")), "")[0].addresses.empty());
    std::string other = address(1, 64, attribute(IFA_ADDRESS, kA));
    other[sizeof(nlmsghdr)] = AF_INET6;
    EXPECT_TRUE(read(link(1, "a"), other, "")[0].addresses.empty());
}

// --- Types

unsigned typeOf(unsigned hardwareType, const char* kind = "", const char* deviceType = "") {
    Link link;
    link.hardwareType = hardwareType;
    link.kind = kind;
    return SPW_InterfaceTypePosix(link, deviceType);
}

TEST(InterfaceTypePosixTest, TypesAreIanasNumbers) {
    EXPECT_EQ(typeOf(ARPHRD_ETHER), 6u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "veth"), 6u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "", "wlan"), 71u);
    EXPECT_EQ(typeOf(ARPHRD_IEEE80211_RADIOTAP), 71u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "bridge"), 209u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "bond"), 161u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "team"), 161u);
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "vlan"), 135u);
    EXPECT_EQ(typeOf(ARPHRD_X25), 5u);
    EXPECT_EQ(typeOf(ARPHRD_IEEE802_TR), 9u);
    EXPECT_EQ(typeOf(ARPHRD_FDDI), 15u);
    EXPECT_EQ(typeOf(ARPHRD_LAPB), 16u);
    EXPECT_EQ(typeOf(ARPHRD_PPP), 23u);
    EXPECT_EQ(typeOf(ARPHRD_LOOPBACK), 24u);
    EXPECT_EQ(typeOf(ARPHRD_SLIP), 28u);
    EXPECT_EQ(typeOf(ARPHRD_FRAD), 32u);
    EXPECT_EQ(typeOf(ARPHRD_ARCNET), 35u);
    EXPECT_EQ(typeOf(ARPHRD_ATM), 37u);
    EXPECT_EQ(typeOf(ARPHRD_HIPPI), 47u);
    EXPECT_EQ(typeOf(ARPHRD_FCFABRIC), 56u);
    EXPECT_EQ(typeOf(ARPHRD_HDLC), 118u);
    EXPECT_EQ(typeOf(ARPHRD_NONE, "wireguard"), 131u);
    EXPECT_EQ(typeOf(ARPHRD_IPGRE), 131u);
    EXPECT_EQ(typeOf(ARPHRD_IEEE1394), 144u);
    EXPECT_EQ(typeOf(ARPHRD_INFINIBAND), 199u);
    EXPECT_EQ(typeOf(ARPHRD_IEEE802154), 259u);
    EXPECT_EQ(typeOf(ARPHRD_CAN), 1u) << "other";
}

TEST(InterfaceTypePosixTest, AModemIsOneWhateverItLooksLike) {
    EXPECT_EQ(typeOf(ARPHRD_ETHER, "", "wwan"), 243u);
    EXPECT_EQ(typeOf(ARPHRD_NONE, "", "wwan"), 243u) << "not a tunnel";
    EXPECT_EQ(typeOf(ARPHRD_RAWIP, "rmnet"), 243u);
    EXPECT_EQ(typeOf(ARPHRD_PPP, "", "ppp"), 23u);
}

}  // namespace
