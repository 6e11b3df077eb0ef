#include "VTR_CUdpListener.h"

#include "SPW_CSysError.h"

VTR_CUdpListener::VTR_CUdpListener(ProbeEventSink* sink, std::uint32_t port, const ListenerLimits& limits)
    : ProbeListener(sink, kUdpListener, port, false, false, false, limits) {}

VTR_CUdpListener::~VTR_CUdpListener() {
    m_stopping = true;
    endThread();
}

SPW_Socket VTR_CUdpListener::createSocket() {
    return SPW_CSocket::instance->openUdp();
}

void VTR_CUdpListener::receiveStep(SPW_Socket socket) {
    char chunk[ProbePacket::kBufferSize];
    SPW_CIpAddress sender;
    const int count = SPW_CSocket::instance->receiveFrom(socket, chunk, ProbePacket::kReceiveSize, sender);
    if (m_stopping || count == 0) {
        return;
    }
    if (count != -1) {
        (void)handleChunk(chunk, count, sender);  // what is no probe leaves no trace
        return;
    }
    noteStepFailure();
    const SPW_Result code = SPW_CSocket::instance->lastError();
    // A stop wakes the receive with the first.
    if (code != kSockInterrupted && !isFromStop(code)) {
        report(SPW_CString(), code, u"recvfrom failed");
    }
}
