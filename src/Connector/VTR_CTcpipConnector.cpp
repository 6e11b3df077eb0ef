#include "VTR_CTcpipConnector.h"

VTR_CTcpipConnector::VTR_CTcpipConnector(ProbeEventSink* sink, const SPW_CString& address, std::uint32_t port,
                                         const SPW_CString& name, std::int32_t periodMs)
    : ProbeConnector(kTcpipConnector, sink, address, port, name, periodMs, 0, true, false) {}

VTR_CTcpipConnector::~VTR_CTcpipConnector() {
    endThread();
}

SPW_Socket VTR_CTcpipConnector::createSocket() {
    return SPW_CSocket::instance->openTcp();
}

int VTR_CTcpipConnector::connectSocket(SPW_Socket socket, const SPW_CString& address, std::uint32_t port) {
    return SPW_CSocket::instance->connect(socket, parseAddress(address), static_cast<std::uint16_t>(port));
}

int VTR_CTcpipConnector::sendProbe(SPW_Socket socket, const SPW_CString&, std::uint32_t, const void* bytes,
                                   int length) {
    return SPW_CSocket::instance->send(socket, bytes, length);
}
