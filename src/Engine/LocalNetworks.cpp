#include "LocalNetworks.h"

#include "AdapterWalker.h"
#include "SPW_CIpAddress.h"

namespace {

// False for a text that is no dotted quad.
bool readBits(const SPW_CString& text, std::uint32_t& bits) {
    SPW_CIpAddress address;
    if (!SPW_CIpAddress::parse(text, address)) {
        return false;
    }
    bits = 0;
    for (int i = 0; i < 4; ++i) {
        bits = bits << 8 | address.octet(i);
    }
    return true;
}

}  // namespace

LocalNetworks LocalNetworks::read() {
    LocalNetworks networks;
    AdapterWalker walker;
    AdapterInfo adapter;
    for (SPW_Result code = walker.begin(adapter); code == 0; code = walker.next(adapter)) {
        AddressList addresses;
        if (adapter.ipAddressList.get(addresses) != 0) {
            continue;
        }
        for (int i = 0; i < addresses.numberOfElements(); ++i) {
            SPW_CString address;
            SPW_CString mask;
            if (addresses[i].getAddress(address) == 0 && addresses[i].getMask(mask) == 0) {
                networks.add(address, mask);
            }
        }
    }
    return networks;
}

bool LocalNetworks::contains(const SPW_CString& address) const {
    std::uint32_t bits = 0;
    if (!readBits(address, bits)) {
        return false;
    }
    for (int i = 0; i < m_networks.numberOfElements(); ++i) {
        if ((bits & m_networks[i].mask) == m_networks[i].bits) {
            return true;
        }
    }
    return false;
}

// An adapter without an address tells 0.0.0.0 on some platforms. With its mask that would be the network of everybody.
void LocalNetworks::add(const SPW_CString& address, const SPW_CString& mask) {
    Network network;
    std::uint32_t bits = 0;
    if (readBits(address, bits) && readBits(mask, network.mask) && bits != 0 && network.mask != 0) {
        network.bits = bits & network.mask;
        m_networks.append(network);
    }
}
