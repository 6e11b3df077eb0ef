#include "NetworkParams.h"

#include "RecordFields.h"
#include "SPW_CNetworkInfo.h"
#include "SystemBuffer.h"

SPW_Result readNetworkParams(NetworkParams& params) {
    SystemBuffer buffer;
    const SPW_Result status = buffer.read(&SPW_CNetworkInfo::networkParameters);
    if (status != 0) {
        return status;
    }
    const SPW_NetworkParameters& system = *buffer.first<SPW_NetworkParameters>();
    setUnlessEmpty(params.dnsServerList, buffer, &system.dnsServerList);
    setUnlessEmpty(params.currentDns, buffer, system.currentDnsServer);
    setUnlessEmpty(params.dhcpScopeName, fieldText(system.scopeId));
    setUnlessEmpty(params.domainName, fieldText(system.domainName));
    setUnlessEmpty(params.hostName, fieldText(system.hostName));
    setFlag(params.actingAsProxy, system.enableProxy != 0);
    setFlag(params.dnsEnabled, system.enableDns != 0);
    setFlag(params.routingEnabled, system.enableRouting != 0);
    // Deliberately the NetBIOS node type, which has nothing to do with DHCP. The line "Using Dhcp" has always shown it,
    // and users compare the reports of different devices.
    setFlag(params.usingDhcp, system.nodeType != 0);
    return 0;
}
