#include "VTR_CMulticastListener.h"

#include "SPW_CSysError.h"

VTR_CMulticastListener::VTR_CMulticastListener(ProbeEventSink* sink, std::uint32_t port, const SPW_CString& group,
                                               const ListenerLimits& limits)
    : ProbeListener(sink, kMulticastListener, port, false, false, false, limits),
      m_interfaces(MulticastInterfaces::kListenerPlace),
      m_group(group) {}

VTR_CMulticastListener::~VTR_CMulticastListener() {
    m_stopping = true;
    endThread();
}

SPW_Socket VTR_CMulticastListener::createSocket() {
    return SPW_CSocket::instance->openUdpShared();
}

void VTR_CMulticastListener::receiveStep(SPW_Socket socket) {
    SPW_CSocketSet readable;
    SPW_CSocketSet exceptional;
    readable.add(socket);
    exceptional.add(socket);
    const int ready = SPW_CSocket::instance->select(&readable, &exceptional, kSilenceMs);
    if (m_stopping) {
        return;
    }
    if (ready < 0) {
        reportUnlessStopped(u"select failed");
    } else if (ready == 0) {
        m_interfaces.rejoin(socket, m_group,
                            [this](SPW_Result code, const SPW_CString& message) { joinFailed(code, message); });
    } else if (ready == 1) {
        receive(socket);
    } else {
        // A socket that is ready in both sets counts twice and is left for the next step, deliberately. Nothing comes
        // of such a step.
        noteStepFailure();
    }
}

void VTR_CMulticastListener::receive(SPW_Socket socket) {
    char chunk[ProbePacket::kBufferSize];
    SPW_CIpAddress sender;
    const int count = SPW_CSocket::instance->receiveFrom(socket, chunk, ProbePacket::kReceiveSize, sender);
    if (count == -1) {
        reportUnlessStopped(u"recvfrom failed");
        return;
    }
    (void)handleChunk(chunk, count, sender);  // what is no probe leaves no trace
}

void VTR_CMulticastListener::reportUnlessStopped(const char16_t* message) {
    noteStepFailure();
    const SPW_Result code = SPW_CSocket::instance->lastError();
    // A stop wakes a wait with one of these.
    if (code != kSockInterrupted && code != kSockNotSocket) {
        report(m_group, code, message);
    }
}

void VTR_CMulticastListener::joinFailed(SPW_Result code, const SPW_CString& message) {
    if (!isFromStop(code)) {
        report(m_group, code, message);
    }
}
