#pragma once

#include "ProbeListener.h"

// Receives the probes that arrive on a port as UDP datagrams.
class VTR_CUdpListener : public ProbeListener {
public:
    // port: host order, low 16 bits.
    VTR_CUdpListener(ProbeEventSink* sink, std::uint32_t port, const ListenerLimits& limits = ListenerLimits());
    ~VTR_CUdpListener() override;

protected:
    SPW_Socket createSocket() override;
    void receiveStep(SPW_Socket socket) override;
};
