#include "ProbeListener.h"

#include "SPW_CClock.h"
#include "SPW_CReceivedText.h"
#include "SPW_CSysError.h"

static const int kListenBacklog = 5;
static const std::uint64_t k100nsPerMs = 10000;

ProbeListener::ProbeListener(ProbeEventSink* sink, ProbeKind kind, std::uint32_t port, bool needsListen,
                             bool hasClients, bool reserved, const ListenerLimits& limits)
    : m_sink(sink),
      m_kind(kind),
      m_port(port),
      m_limits(limits),
      m_needsListen(needsListen),
      m_hasClients(hasClients),
      m_reserved(reserved),
      m_backOff(limits.failuresBeforePause) {
    m_worker.begin(*this);
}

ProbeListener::~ProbeListener() {
    endThread();
}

SPW_Result ProbeListener::StartListening() {
    if (m_state == 1) {
        return kProbeAlreadyRunning;
    }
    if (!m_worker.hasThread()) {
        m_lastErrorText = m_worker.failureText();
        return kProbeFailed;
    }
    // No check here: bind() refuses an invalid socket.
    const SPW_Socket socket = createSocket();
    m_socket = socket;
    if (SPW_CSocket::instance->bind(socket, static_cast<std::uint16_t>(m_port)) == -1) {
        return refuseStart(u"bind failed ", socket);
    }
    if (m_needsListen && SPW_CSocket::instance->listen(socket, kListenBacklog) == -1) {
        return refuseStart(u"listen failed ", socket);
    }
    m_state = 1;
    m_worker.openGate(*this);
    return 0;
}

SPW_Result ProbeListener::refuseStart(const char16_t* failure, SPW_Socket socket) {
    m_lastErrorText = probeFailureText(failure, SPW_CSocket::instance->lastError());
    (void)SPW_CSocket::instance->close(socket);  // it may never have been opened
    return kProbeFailed;
}

// The order matters. The stop is said first: a step that accepts a connection after closeClients() then closes it
// itself. The clients are closed before the wait for the gate: that wakes a step that waits on one of them.
void ProbeListener::askToStop() {
    if (!m_worker.askToStop()) {
        return;
    }
    (void)SPW_CSocket::instance->close(m_socket);  // cannot fail: only stops close it
    if (m_hasClients) {
        closeClients();
    }
}

SPW_Result ProbeListener::StopListening() {
    if (m_state == 0) {
        m_lastErrorText = u"Not currently listening";
        return kProbeNotRunning;
    }
    askToStop();
    m_state = 0;
    m_worker.closeGate();
    return 0;
}

SPW_CString ProbeListener::GetLastErrorText() {
    SPW_CString text(probeKindName(m_kind));
    text.append(u" : ");
    text.append(m_lastErrorText);
    m_lastErrorText.clear();
    return text;
}

void ProbeListener::askToEnd() {
    m_stopping = true;
    m_stopRequested = true;
    if (!m_worker.askToEnd(*this)) {
        return;
    }
    (void)SPW_CSocket::instance->close(m_socket);  // there may be none, or one that is closed
    if (m_hasClients) {
        closeClients();
    }
}

void ProbeListener::endThread() {
    askToEnd();
    m_worker.end(*this);
}

void ProbeListener::onThreadEnd() {
    m_worker.signalEnd();
}

void ProbeListener::listenStep() {
    if (!isListening() || m_stopRequested) {
        return;
    }
    m_hasStepFailed = false;
    receiveStep(m_socket);
    if (m_hasStepFailed) {
        pause(m_backOff.failed());
    } else {
        m_backOff.succeeded();
    }
}

void ProbeListener::pause(std::uint32_t milliseconds) {
    if (milliseconds > 0) {
        SPW_CClock& clock = *SPW_CClock::instance;
        clock.sleepTowards(clock.now100ns() + milliseconds * k100nsPerMs, milliseconds, m_worker.wake());
    }
}

// A stop is said before the sockets are closed. The code depends on the call, and on whether it had begun by then.
bool ProbeListener::isFromStop(SPW_Result code) const {
    return (!isListening() || m_stopping) && (code == kSockInterrupted || code == kSockNotSocket);
}

void ProbeListener::deliver(const SPW_CString& sender, const ProbePacket::Received& packet) {
    m_sink->onDataReceived(m_kind, m_port, sender, packet.sequence, SPW_receivedText(packet.name));
}

void ProbeListener::report(const SPW_CString& address, SPW_Result code, const SPW_CString& message) {
    m_sink->onSocketError(m_kind, m_port, address, code, message);
}
