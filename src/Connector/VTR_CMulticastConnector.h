#pragma once

#include "MulticastInterfaces.h"
#include "ProbeConnector.h"

// Sends probes to a multicast group; every device whose multicast listener hears one learns this device's address
// and name from it.
//
// With each new socket it joins the group on all interfaces. Which interface a probe leaves by is the platform's
// routing.
class VTR_CMulticastConnector : public ProbeConnector {
public:
    // group: dotted quad. ttl: time-to-live of the probes, handed to the platform unchecked; 1 stays on the segment.
    VTR_CMulticastConnector(ProbeEventSink* sink, const SPW_CString& group, std::uint32_t port, const SPW_CString& name,
                            std::int32_t periodMs, std::int32_t ttl);
    ~VTR_CMulticastConnector() override;

protected:
    SPW_Socket createSocket() override;
    int sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                  int length) override;
    // Also joins the group. Fails only when the time-to-live itself cannot be set.
    SPW_Result setTtl(SPW_Socket socket, std::int32_t ttl) override;

private:
    MulticastInterfaces m_interfaces;
    const std::uint32_t m_portCopy;
    const SPW_CString m_groupCopy;
};
