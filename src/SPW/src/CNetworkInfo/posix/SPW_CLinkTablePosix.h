#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What the kernel knows of the network interfaces, taken from the messages with which it answers requests for its
// tables (rtnetlink). Pure functions over bytes that may hold anything: a message or attribute that does not fit into
// what is there ends the reading. Any thread.
namespace SPW_CLinkTablePosix {

struct Address {
    std::uint32_t address = 0;  // first octet on top
    unsigned prefixLength = 0;
    // It was given for a time only: seconds until it is taken away.
    bool isLeased = false;
    std::uint32_t validForSeconds = 0;
};

struct Gateway {
    std::uint32_t address = 0;
    std::uint32_t metric = 0;
};

constexpr std::size_t kLongestHardwareAddress = 8;

struct Link {
    std::uint32_t index = 0;
    std::string name;
    unsigned hardwareType = 0;  // ARPHRD_...
    unsigned flags = 0;         // IFF_...
    // 6 or kLongestHardwareAddress bytes, or none: tunnels bear their own address in the field, InfiniBand twenty bytes
    // that are no hardware's alone.
    std::string hardwareAddress;
    std::string kind;  // of a virtual device: "bridge", "veth"; empty for others
    std::vector<Address> addresses;
    std::vector<Gateway> gateways;  // of its default routes, each once, the most preferred first
};

// The answers to the three requests, in this order. Links come out in the order of their index, each once; an address
// or a route of a link that is not there is dropped.
std::vector<Link> read(std::string_view links, std::string_view addresses, std::string_view routes);

}  // namespace SPW_CLinkTablePosix
