#pragma once

#include <ostream>
#include <string>
#include <vector>

// What a test of SPW_CNetworkInfo expects to be told of an adapter.
struct ExpectedAdapter {
    std::string name;
    std::vector<std::string> addresses;  // as "address/mask"

    bool operator==(const ExpectedAdapter& other) const { return name == other.name && addresses == other.addresses; }
};

inline void PrintTo(const ExpectedAdapter& adapter, std::ostream* stream) {
    *stream << adapter.name;
    for (const std::string& address : adapter.addresses) {
        *stream << ' ' << address;
    }
}
