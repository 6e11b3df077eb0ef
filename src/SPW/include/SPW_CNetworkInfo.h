#pragma once

#include <cstdint>

#include "SPW_CObject.h"
#include "SPW_Types.h"

// The platform's records of its network configuration, IPv4 only. Fields, order and sizes are those of the IP Helper
// interface of Windows, whose half hands the caller's buffer straight through. Texts are 8-bit, in the system's code
// page, end with a null within their field and are empty where the platform knows none.

// One node of a list of addresses. The nodes behind the first lie in the same buffer.
struct SPW_AddressNode {
    SPW_AddressNode* next;
    char address[16];  // dotted quad
    char mask[16];     // dotted quad
    std::uint32_t context;
};

struct SPW_NetworkParameters {
    char hostName[132];
    char domainName[132];
    SPW_AddressNode* currentDnsServer;  // null where none is known
    SPW_AddressNode dnsServerList;
    std::uint32_t nodeType;  // of NetBIOS; 0 for none
    char scopeId[260];
    std::uint32_t enableRouting;
    std::uint32_t enableProxy;  // answers ARP requests on behalf of others
    std::uint32_t enableDns;
};

struct SPW_AdapterRecord {
    SPW_AdapterRecord* next;
    std::uint32_t comboIndex;
    char adapterName[260];
    char description[132];
    std::uint32_t addressLength;  // 0 to 8 bytes of address
    std::uint8_t address[8];
    std::uint32_t index;
    std::uint32_t type;  // as IANA numbers interface types: 6 Ethernet, 71 wireless ...
    std::uint32_t dhcpEnabled;
    SPW_AddressNode* currentIpAddress;
    SPW_AddressNode ipAddressList;
    SPW_AddressNode gatewayList;
    SPW_AddressNode dhcpServer;
    std::int32_t haveWins;
    SPW_AddressNode primaryWinsServer;
    SPW_AddressNode secondaryWinsServer;
    std::intptr_t leaseObtained;  // seconds since 1 January 1970 (UTC); 0 for none
    std::intptr_t leaseExpires;
};

// What the platform knows of its network. Reached through `instance`, so that a test can script it. Any thread.
//
// Both calls take two steps. A call with a size of 0 (or too small a one) writes the size that it needs and answers
// kSysBufferOverflow; a second call with a buffer of that size fills it. What is there may grow between the two: then
// the second call answers kSysBufferOverflow, too, and the buffer's content is not defined.
//   kSysOk              the buffer is filled; all pointers in it point into it, so it must not be moved
//   kSysBufferOverflow  size has been set to what is needed now
//   kSysNotSupported    this system does not have the call
//   kSysNoData          there is nothing to tell (no adapter)
//   another code        the platform failed
class SPW_CNetworkInfo : public SPW_CObject {
public:
    // The process-wide object; a test may put another in its place. Usable before main().
    static SPW_CNetworkInfo* instance;

    // buffer: null or `size` bytes, aligned as operator new aligns; size: bytes, in and out.
    [[nodiscard]] virtual SPW_Result networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) = 0;
    // The adapters as a list that begins at the buffer's start, without the loopback. Linux tells them in the order of
    // their index, Windows in one of its own, and with the address 0.0.0.0 where an adapter or gateway list has none.
    [[nodiscard]] virtual SPW_Result adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) = 0;
};
