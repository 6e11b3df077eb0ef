#pragma once

#include "SPW_CNetworkInfo.h"

// The platform's network configuration on Linux: links, addresses and routes from the kernel, the resolver's servers
// from its files, leases from the files of the DHCP clients. Any thread; sees the network namespace of its thread.
class SPW_CNetworkInfoPosix : public SPW_CNetworkInfo {
public:
    // root: the folder that stands for "/", without a slash at its end; empty for the real one. Must outlive the
    // object.
    constexpr explicit SPW_CNetworkInfoPosix(const char* root = "") : m_root(root) {}

    SPW_Result networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) override;
    SPW_Result adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) override;

private:
    const char* const m_root;
};
