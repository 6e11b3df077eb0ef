#include "VTR_CUdpConnector.h"

VTR_CUdpConnector::VTR_CUdpConnector(ProbeEventSink* sink, const SPW_CString& address, std::uint32_t port,
                                     const SPW_CString& name, std::int32_t periodMs)
    : ProbeConnector(kUdpConnector, sink, address, port, name, periodMs, 0, false, false) {}

VTR_CUdpConnector::~VTR_CUdpConnector() {
    endThread();
}

SPW_Socket VTR_CUdpConnector::createSocket() {
    return SPW_CSocket::instance->openUdp();
}

int VTR_CUdpConnector::sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                                 int length) {
    return sendDatagram(socket, address, port, bytes, length);
}
