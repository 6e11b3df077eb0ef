#pragma once

#include "ProbeConnector.h"

// Sends probes to one peer over a TCP connection, which stays open from probe to probe.
class VTR_CTcpipConnector : public ProbeConnector {
public:
    // address: dotted quad. port: host order, low 16 bits. name: the text that every probe carries.
    VTR_CTcpipConnector(ProbeEventSink* sink, const SPW_CString& address, std::uint32_t port, const SPW_CString& name,
                        std::int32_t periodMs);
    ~VTR_CTcpipConnector() override;

protected:
    SPW_Socket createSocket() override;
    int sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                  int length) override;
    int connectSocket(SPW_Socket socket, const SPW_CString& address, std::uint32_t port) override;
};
