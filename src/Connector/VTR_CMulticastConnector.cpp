#include "VTR_CMulticastConnector.h"

#include "SPW_CSysError.h"

VTR_CMulticastConnector::VTR_CMulticastConnector(ProbeEventSink* sink, const SPW_CString& group, std::uint32_t port,
                                                 const SPW_CString& name, std::int32_t periodMs, std::int32_t ttl)
    : ProbeConnector(kMulticastConnector, sink, group, port, name, periodMs, ttl, false, true),
      m_interfaces(MulticastInterfaces::kConnectorPlace),
      m_portCopy(port),
      m_groupCopy(group) {}

VTR_CMulticastConnector::~VTR_CMulticastConnector() {
    endThread();
}

SPW_Socket VTR_CMulticastConnector::createSocket() {
    return SPW_CSocket::instance->openUdp();
}

int VTR_CMulticastConnector::sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port,
                                       const void* bytes, int length) {
    return sendDatagram(socket, address, port, bytes, length);
}

SPW_Result VTR_CMulticastConnector::setTtl(SPW_Socket socket, std::int32_t ttl) {
    SPW_Result result = kSysOk;
    if (SPW_CSocket::instance->setMulticastTtl(socket, ttl) == -1) {
        // Read before the joins, which may fail with codes of their own.
        result = SPW_CSocket::instance->lastError();
    }
    m_interfaces.rejoin(socket, m_groupCopy, [this](SPW_Result code, const SPW_CString& message) {
        m_sink->onSocketError(kMulticastConnector, m_portCopy, m_groupCopy, code, message);
    });
    return result;
}
