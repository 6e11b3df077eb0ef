#pragma once

#include "MulticastInterfaces.h"
#include "ProbeListener.h"

// Receives the probes that arrive on a port for a multicast group.
//
// It joins the group, on the interfaces there are at that time, whenever 5 seconds pass without traffic, and never
// at any other time. A new listener therefore hears the group only after its first silence of 5 seconds. While traffic
// keeps coming, new interfaces are not noticed. Both are deliberate.
class VTR_CMulticastListener : public ProbeListener {
public:
    static constexpr std::uint32_t kSilenceMs = 5000;

    // port: host order, low 16 bits. group: dotted quad.
    VTR_CMulticastListener(ProbeEventSink* sink, std::uint32_t port, const SPW_CString& group,
                           const ListenerLimits& limits = ListenerLimits());
    ~VTR_CMulticastListener() override;

protected:
    SPW_Socket createSocket() override;
    void receiveStep(SPW_Socket socket) override;

private:
    void receive(SPW_Socket socket);
    void reportUnlessStopped(const char16_t* message);
    void joinFailed(SPW_Result code, const SPW_CString& message);

    MulticastInterfaces m_interfaces;
    const SPW_CString m_group;
};
