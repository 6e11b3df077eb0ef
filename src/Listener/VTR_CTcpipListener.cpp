#include "VTR_CTcpipListener.h"

#include "SPW_CClock.h"
#include "SPW_CSysError.h"

static bool isShortage(SPW_Result code) {
    return code == kSockTooManyFiles || code == kSockNoBuffers;
}

VTR_CTcpipListener::VTR_CTcpipListener(ProbeEventSink* sink, std::uint32_t port)
    : ProbeListener(sink, kTcpipListener, port, true, true, false) {}

VTR_CTcpipListener::~VTR_CTcpipListener() {
    m_stopping = true;
    VTR_CTcpipListener::closeClients();
    endThread();
    closeDeparted();
}

SPW_Socket VTR_CTcpipListener::createSocket() {
    return SPW_CSocket::instance->openTcp();
}

void VTR_CTcpipListener::closeClients() {
    const SPW_CGuard guard(m_clientLock);
    for (int i = 0; i < m_clients.numberOfElements(); ++i) {
        (void)SPW_CSocket::instance->close(m_clients[i]);  // only a step that failed on it has closed it before
    }
    m_clients.empty();
    m_clientAddresses.empty();
}

void VTR_CTcpipListener::receiveStep(SPW_Socket socket) {
    SPW_CSocketSet watched;
    watch(socket, watched);
    reportUnwatched();
    const int ready = SPW_CSocket::instance->select(&watched, nullptr, kSPWForever);
    if (m_stopping) {
        return;
    }
    if (ready == -1) {
        const SPW_Result code = SPW_CSocket::instance->lastError();
        // A stop wakes the wait with the first.
        if (code != kSockNotSocket && !isFromStop(code)) {
            report(SPW_CString(), code, u"select failed");
        }
        return;
    }
    serveClients(watched);
    if (watched.isReady(socket)) {
        acceptClient(socket);
    }
}

// The set takes 64 sockets at most; connections beyond that stay unwatched until older ones have gone.
void VTR_CTcpipListener::watch(SPW_Socket listening, SPW_CSocketSet& watched) {
    watched.add(listening);
    const SPW_CGuard guard(m_clientLock);
    for (int i = 0; i < m_clients.numberOfElements() && watched.size() < SPW_CSocketSet::kMaximum; ++i) {
        watched.add(m_clients[i]);
    }
}

// Once is enough: with many peers the connections that wait come and go, and the log would fill with them.
void VTR_CTcpipListener::reportUnwatched() {
    constexpr int kMostWatched = SPW_CSocketSet::kMaximum - 1;  // the listening socket has a place, too
    SPW_CString address;
    {
        const SPW_CGuard guard(m_clientLock);
        if (m_unwatchedReported || m_clients.numberOfElements() <= kMostWatched) {
            return;
        }
        address = m_clientAddresses[kMostWatched];
    }
    m_unwatchedReported = true;
    report(address, kSockTooManyFiles, u"connection is not watched while 63 older ones last (said only once)");
}

// From the last to the first, so that a removal leaves the indexes still to be visited alone.
void VTR_CTcpipListener::serveClients(const SPW_CSocketSet& watched) {
    Client client;
    for (int i = numberOfClients() - 1; i >= 0; --i) {
        if (readyClientAt(i, watched, client)) {
            serve(client, i);
        }
    }
}

void VTR_CTcpipListener::serve(const Client& client, int index) {
    char chunk[ProbePacket::kBufferSize];
    const int count = SPW_CSocket::instance->receive(client.socket, chunk, ProbePacket::kReceiveSize);
    if (count > 0) {
        handleChunk(chunk, count, client.address);
        return;
    }
    if (count == 0) {
        // The peer has closed.
        forgetClient(client, index, true);
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    if (!isFromStop(code)) {
        report(client.address, code, probeFailureText(u"recv failed ", code));
    }
    (void)SPW_CSocket::instance->close(client.socket);  // a stop may have closed it already
    forgetClient(client, index, false);
}

void VTR_CTcpipListener::acceptClient(SPW_Socket listening) {
    SPW_CIpAddress peer;
    const SPW_Socket socket = SPW_CSocket::instance->accept(listening, peer);
    if (socket != kInvalidSocket) {
        addClient(socket, peer);
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    // A stop makes the accept fail with the first.
    if (code == kSockNotSocket || isFromStop(code)) {
        return;
    }
    report(SPW_CString(), code, u"accept failed");
    if (isShortage(code)) {
        relieveShortage();
    }
}

// A connection that finds no descriptor stays in the queue and keeps the listening socket readable, so that without
// this step would follow step, and report report, as fast as the processor goes.
void VTR_CTcpipListener::relieveShortage() {
    if (m_departed.numberOfElements() > 0) {
        closeDeparted();
    } else {
        SPW_CClock::instance->sleepMs(kShortagePauseMs);
    }
}

int VTR_CTcpipListener::numberOfClients() {
    const SPW_CGuard guard(m_clientLock);
    return m_clients.numberOfElements();
}

// A stop may have emptied the arrays since they were last looked at, here and below.
bool VTR_CTcpipListener::readyClientAt(int index, const SPW_CSocketSet& watched, Client& client) {
    const SPW_CGuard guard(m_clientLock);
    if (index >= m_clients.numberOfElements() || !watched.isReady(m_clients[index])) {
        return false;
    }
    client.socket = m_clients[index];
    client.address = m_clientAddresses[index];
    return true;
}

void VTR_CTcpipListener::addClient(SPW_Socket socket, const SPW_CIpAddress& peer) {
    const SPW_CGuard guard(m_clientLock);
    // A stop says so first and closes the clients then: one that closeClients() did not see is closed here.
    if (!isListening() || m_stopping) {
        (void)SPW_CSocket::instance->close(socket);  // nobody else knows it
        return;
    }
    m_clients.append(socket);
    m_clientAddresses.append(peer.toText());
}

void VTR_CTcpipListener::forgetClient(const Client& client, int index, bool departed) {
    const SPW_CGuard guard(m_clientLock);
    if (index >= m_clients.numberOfElements() || m_clients[index] != client.socket) {
        return;
    }
    if (departed) {
        keepDeparted(client.socket);
    }
    m_clients.removeElementAt(index);
    m_clientAddresses.removeElementAt(index);
}

// Peers that come and go for weeks would otherwise use all descriptors up.
void VTR_CTcpipListener::keepDeparted(SPW_Socket socket) {
    if (m_departed.numberOfElements() == kMostDeparted) {
        (void)SPW_CSocket::instance->close(m_departed[0]);  // nobody else closes it
        m_departed.removeElementAt(0);
    }
    m_departed.append(socket);
}

void VTR_CTcpipListener::closeDeparted() {
    for (int i = 0; i < m_departed.numberOfElements(); ++i) {
        (void)SPW_CSocket::instance->close(m_departed[i]);  // nobody else closes them
    }
    m_departed.empty();
}
