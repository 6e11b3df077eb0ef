#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"

// The networks that this device's interfaces are in, as their addresses and masks tell at one moment.
// Threads: none; the owner locks.
class LocalNetworks {
public:
    // Asks the platform. Empty where it cannot tell, or where no interface has an address.
    static LocalNetworks read();
    // address: a dotted quad. False for any other text, and for any address while there are no networks.
    bool contains(const SPW_CString& address) const;

private:
    struct Network {
        std::uint32_t bits = 0;
        std::uint32_t mask = 0;
    };

    void add(const SPW_CString& address, const SPW_CString& mask);

    SPW_CArray<Network> m_networks;
};
