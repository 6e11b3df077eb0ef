#pragma once

#include "ProbeConnector.h"

// Sends probes to one peer as UDP datagrams, whether or not anything listens there.
class VTR_CUdpConnector : public ProbeConnector {
public:
    // address: dotted quad. port: host order, low 16 bits. name: the text that every probe carries.
    VTR_CUdpConnector(ProbeEventSink* sink, const SPW_CString& address, std::uint32_t port, const SPW_CString& name,
                      std::int32_t periodMs);
    ~VTR_CUdpConnector() override;

protected:
    SPW_Socket createSocket() override;
    int sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                  int length) override;
};
