#include "ProbeConnector.h"

#include "ProbePacket.h"
#include "SPW_CSysError.h"

ProbeConnector::ProbeConnector(ProbeKind kind, ProbeEventSink* sink, const SPW_CString& targetAddress,
                               std::uint32_t targetPort, const SPW_CString& name, std::int32_t periodMs,
                               std::int32_t ttl, bool needsConnect, bool needsTtl)
    : m_sink(sink),
      m_kind(kind),
      m_targetAddress(targetAddress),
      m_targetPort(targetPort),
      m_name(name),
      m_ttl(ttl),
      m_needsConnect(needsConnect),
      m_needsTtl(needsTtl),
      m_schedule(periodMs, m_worker.wake()),
      m_out(sink, kind, m_targetAddress, periodMs) {
    m_worker.begin(*this);
}

ProbeConnector::~ProbeConnector() {
    endThread();
}

SPW_Result ProbeConnector::StartSending() {
    if (m_state == 1) {
        return kProbeAlreadyRunning;
    }
    if (!m_worker.hasThread()) {
        m_lastErrorText = m_worker.failureText();
        return kProbeFailed;
    }
    m_state = 1;
    m_worker.openGate(*this);
    return 0;
}

void ProbeConnector::askToStop() {
    if (m_worker.askToStop()) {
        (void)SPW_CSocket::instance->close(m_socket);  // there may be none, or one that failed meanwhile
    }
}

SPW_Result ProbeConnector::StopSending() {
    if (m_state == 0) {
        m_lastErrorText = u"Not currently sending";
        return kProbeNotRunning;
    }
    askToStop();
    m_state = 0;
    m_worker.closeGate();
    return 0;
}

void ProbeConnector::askToEnd() {
    m_stopRequested = true;
    if (m_worker.askToEnd(*this)) {
        (void)SPW_CSocket::instance->close(m_socket);  // there may be none, or one that is closed
    }
}

void ProbeConnector::endThread() {
    askToEnd();
    m_worker.end(*this);
}

void ProbeConnector::onThreadEnd() {
    m_worker.signalEnd();
}

void ProbeConnector::sendStep() {
    if (m_stopRequested) {
        return;
    }
    if (!m_schedule.isDue(m_state == 1)) {
        return;
    }
    if (m_socketNeeded) {
        if (m_needsConnect) {
            m_out.beginConnecting();
        }
        openSocket();
    }
    if (!m_socketNeeded) {
        connectIfNeeded();
    }
    // After a failure the next attempt comes one full period later.
    if (m_socketNeeded || (m_needsConnect && !m_connected)) {
        return;
    }
    sendOne();
}

void ProbeConnector::openSocket() {
    const SPW_Socket socket = createSocket();
    if (socket == kInvalidSocket) {
        fail(u"createSocket failed ", SPW_CSocket::instance->lastError());
        return;
    }
    publishSocket(socket);
    if (SPW_CSocket::instance->bind(socket, 0) == -1) {
        const SPW_Result code = SPW_CSocket::instance->lastError();
        abandonSocket();
        fail(u"bind failed ", code);
        return;
    }
    m_socketNeeded = false;
    const SPW_Result code = m_needsTtl ? setTtl(socket, m_ttl) : SPW_Result{kSysOk};
    if (code != kSysOk) {
        // The socket is used all the same: its probes reach at least the nearest devices.
        report(u"set ttl failed ", code);
    }
}

// A socket that is made while a stop is under way must be closed: a connect to a silent address would hold the stop up
// until the platform gives up.
//
//     owner: say "stop"  ->  close the published socket
//     here:  publish     ->  look for a stop, and close
//
// All four are sequentially consistent. At least one side therefore sees what the other did first, and closes.
void ProbeConnector::publishSocket(SPW_Socket socket) {
    m_socket = socket;
    if (isStopping()) {
        (void)SPW_CSocket::instance->close(socket);  // the owner may have closed it already
    }
}

void ProbeConnector::connectIfNeeded() {
    if (!m_needsConnect || m_connected) {
        return;
    }
    if (connectSocket(m_socket, m_targetAddress, m_targetPort) < 0) {
        fail(u"connect failed ", SPW_CSocket::instance->lastError());
        abandonSocket();
        return;
    }
    m_connected = true;
    m_out.open();
}

void ProbeConnector::sendOne() {
    if (m_connected) {
        m_out.look(m_socket, m_schedule.latest100ns());
    }
    const ProbePacket::Bytes packet(ProbePacket::compose(m_sequence, m_name));
    if (sendProbe(m_socket, m_targetAddress, m_targetPort, packet.data(), packet.length()) == -1) {
        fail(u"send failed ", SPW_CSocket::instance->lastError());
        abandonSocket();
        return;
    }
    if (!m_connected) {
        m_out.open();
    }
    m_sink->onDataSent(m_kind, m_targetPort, m_targetAddress, m_sequence, m_name);
    m_sequence = nextSequence(m_sequence);
}

void ProbeConnector::abandonSocket() {
    (void)SPW_CSocket::instance->close(m_socket);  // the owner may have closed it already
    m_socketNeeded = true;
    m_connected = false;
}

void ProbeConnector::report(const char16_t* failure, SPW_Result code) {
    m_sink->onSocketError(m_kind, m_targetPort, m_targetAddress, code, probeFailureText(failure, code));
}

void ProbeConnector::fail(const char16_t* failure, SPW_Result code) {
    report(failure, code);
    m_out.fail(code);
}

SPW_Result ProbeConnector::setTtl(SPW_Socket, std::int32_t) {
    return kSockNotSupported;
}

int ProbeConnector::connectSocket(SPW_Socket, const SPW_CString&, std::uint32_t) {
    return -1;
}

SPW_CIpAddress ProbeConnector::parseAddress(const SPW_CString& address) {
    SPW_CIpAddress parsed;
    (void)SPW_CIpAddress::parse(address, parsed);  // what is none becomes none(), which the socket layer refuses
    return parsed;
}

int ProbeConnector::sendDatagram(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                                 int length) {
    return SPW_CSocket::instance->sendTo(socket, parseAddress(address), static_cast<std::uint16_t>(port), bytes,
                                         length);
}
