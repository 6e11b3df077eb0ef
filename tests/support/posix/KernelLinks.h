#pragma once

#include <arpa/inet.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

// Makes network links in the thread's network namespace, which must be the test's own (OwnNetwork). Each operation is
// false when the kernel refuses; reason() says why.
class KernelLinks {
public:
    KernelLinks() : m_descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {}
    ~KernelLinks() { (void)::close(m_descriptor); }
    KernelLinks(const KernelLinks&) = delete;
    KernelLinks& operator=(const KernelLinks&) = delete;

    const std::string& reason() const { return m_reason; }

    // Two Ethernet devices that are the two ends of one cable.
    bool addVethPair(const std::string& one, const std::string& other) {
        const ifinfomsg noLink{};
        const std::string peer = bytesOf(noLink) + attribute(IFLA_IFNAME, other + '\0');
        const std::string info =
            attribute(IFLA_INFO_KIND, "veth") + attribute(IFLA_INFO_DATA, attribute(VETH_INFO_PEER, peer));
        return request(RTM_NEWLINK,
                       bytesOf(noLink) + attribute(IFLA_IFNAME, one + '\0') + attribute(IFLA_LINKINFO, info));
    }

    bool addAddress(const std::string& link, const char* address, std::uint8_t prefixLength) {
        ifaddrmsg head{};
        head.ifa_family = AF_INET;
        head.ifa_prefixlen = prefixLength;
        head.ifa_index = ::if_nametoindex(link.c_str());
        const in_addr_t binary = ::inet_addr(address);
        return request(RTM_NEWADDR, bytesOf(head) + attribute(IFA_LOCAL, bytesOf(binary)));
    }

private:
    template <typename T>
    static std::string bytesOf(const T& value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    }
    static std::string attribute(std::uint16_t type, const std::string& value) {
        rtattr head{};
        head.rta_len = static_cast<std::uint16_t>(sizeof head + value.size());
        head.rta_type = type;
        std::string bytes = bytesOf(head) + value;
        bytes.resize((bytes.size() + 3) & ~std::size_t{3});
        return bytes;
    }
    bool request(std::uint16_t type, const std::string& body) {
        nlmsghdr head{};
        head.nlmsg_len = static_cast<std::uint32_t>(sizeof head + body.size());
        head.nlmsg_type = type;
        head.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL;
        const std::string bytes = bytesOf(head) + body;
        struct {
            nlmsghdr head;
            nlmsgerr error;
            char request[512];
        } answer{};
        if (::send(m_descriptor, bytes.data(), bytes.size(), 0) == -1 ||
            ::recv(m_descriptor, &answer, sizeof answer, 0) == -1) {
            m_reason = std::strerror(errno);
            return false;
        }
        m_reason = std::strerror(-answer.error.error);
        return answer.head.nlmsg_type == NLMSG_ERROR && answer.error.error == 0;
    }

    const int m_descriptor;
    std::string m_reason;
};
