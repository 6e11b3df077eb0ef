#include <winsock.h>

#include <cstddef>

#include <iphlpapi.h>

#include "SPW_CImmortal.h"
#include "SPW_CIpHelperW32.h"
#include "SPW_CNetworkInfo.h"
#include "SPW_CSysError.h"

namespace {

// The caller's buffer is given to the platform as it is.
#define SAME_PLACE(ours, ourField, theirs, theirField)                      \
    static_assert(offsetof(ours, ourField) == offsetof(theirs, theirField), \
                  "the record is laid out as the "                          \
                  "platform's")

static_assert(sizeof(SPW_AddressNode) == sizeof(IP_ADDR_STRING), "the record is laid out as the platform's");
SAME_PLACE(SPW_AddressNode, address, IP_ADDR_STRING, IpAddress);
SAME_PLACE(SPW_AddressNode, mask, IP_ADDR_STRING, IpMask);
SAME_PLACE(SPW_AddressNode, context, IP_ADDR_STRING, Context);

static_assert(sizeof(SPW_NetworkParameters) == sizeof(FIXED_INFO), "the record is laid out as the platform's");
SAME_PLACE(SPW_NetworkParameters, domainName, FIXED_INFO, DomainName);
SAME_PLACE(SPW_NetworkParameters, currentDnsServer, FIXED_INFO, CurrentDnsServer);
SAME_PLACE(SPW_NetworkParameters, dnsServerList, FIXED_INFO, DnsServerList);
SAME_PLACE(SPW_NetworkParameters, nodeType, FIXED_INFO, NodeType);
SAME_PLACE(SPW_NetworkParameters, scopeId, FIXED_INFO, ScopeId);
SAME_PLACE(SPW_NetworkParameters, enableRouting, FIXED_INFO, EnableRouting);
SAME_PLACE(SPW_NetworkParameters, enableProxy, FIXED_INFO, EnableProxy);
SAME_PLACE(SPW_NetworkParameters, enableDns, FIXED_INFO, EnableDns);

static_assert(sizeof(SPW_AdapterRecord) == sizeof(IP_ADAPTER_INFO), "the record is laid out as the platform's");
SAME_PLACE(SPW_AdapterRecord, comboIndex, IP_ADAPTER_INFO, ComboIndex);
SAME_PLACE(SPW_AdapterRecord, adapterName, IP_ADAPTER_INFO, AdapterName);
SAME_PLACE(SPW_AdapterRecord, description, IP_ADAPTER_INFO, Description);
SAME_PLACE(SPW_AdapterRecord, addressLength, IP_ADAPTER_INFO, AddressLength);
SAME_PLACE(SPW_AdapterRecord, address, IP_ADAPTER_INFO, Address);
SAME_PLACE(SPW_AdapterRecord, index, IP_ADAPTER_INFO, Index);
SAME_PLACE(SPW_AdapterRecord, type, IP_ADAPTER_INFO, Type);
SAME_PLACE(SPW_AdapterRecord, dhcpEnabled, IP_ADAPTER_INFO, DhcpEnabled);
SAME_PLACE(SPW_AdapterRecord, currentIpAddress, IP_ADAPTER_INFO, CurrentIpAddress);
SAME_PLACE(SPW_AdapterRecord, ipAddressList, IP_ADAPTER_INFO, IpAddressList);
SAME_PLACE(SPW_AdapterRecord, gatewayList, IP_ADAPTER_INFO, GatewayList);
SAME_PLACE(SPW_AdapterRecord, dhcpServer, IP_ADAPTER_INFO, DhcpServer);
SAME_PLACE(SPW_AdapterRecord, haveWins, IP_ADAPTER_INFO, HaveWins);
SAME_PLACE(SPW_AdapterRecord, primaryWinsServer, IP_ADAPTER_INFO, PrimaryWinsServer);
SAME_PLACE(SPW_AdapterRecord, secondaryWinsServer, IP_ADAPTER_INFO, SecondaryWinsServer);
SAME_PLACE(SPW_AdapterRecord, leaseObtained, IP_ADAPTER_INFO, LeaseObtained);
SAME_PLACE(SPW_AdapterRecord, leaseExpires, IP_ADAPTER_INFO, LeaseExpires);

#undef SAME_PLACE

// Both functions of the platform have this form. Both work in the two steps that the class promises.
typedef DWORD WINAPI Query(void* buffer, ULONG* size);

SPW_CIpHelperW32::Function<Query> getNetworkParams("GetNetworkParams");
SPW_CIpHelperW32::Function<Query> getAdaptersInfo("GetAdaptersInfo");

SPW_Result ask(SPW_CIpHelperW32::Function<Query>& function, void* buffer, std::uint32_t& size) {
    Query* const query = function.get();
    if (query == nullptr) {
        return kSysNotSupported;
    }
    ULONG bytes = size;
    const DWORD code = query(buffer, &bytes);
    size = bytes;
    return code;
}

class NetworkInfoW32 : public SPW_CNetworkInfo {
public:
    constexpr NetworkInfoW32() = default;

    SPW_Result networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) override {
        return ask(getNetworkParams, buffer, size);
    }

    SPW_Result adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) override {
        return ask(getAdaptersInfo, buffer, size);
    }
};

SPW_CImmortal<NetworkInfoW32> networkInfo;

}  // namespace

SPW_CNetworkInfo* SPW_CNetworkInfo::instance = &networkInfo.value;
