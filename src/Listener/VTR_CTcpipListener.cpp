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
        (void)SPW_CSocket::instance->close(m_clients[i]);  // a failed step may have closed it before
    }
    m_clients.clear();
    m_clientAddresses.clear();
}

void VTR_CTcpipListener::receiveStep(SPW_Socket socket) {
    if (m_listening != socket) {
        beginWatch(socket);
    }
    reportUnwatched();
    SPW_CSocketSet ready;
    const SPW_Result code = m_watch->wait(ready);
    if (m_stopping) {
        return;
    }
    if (code != 0) {
        // A stop wakes the wait with the first.
        if (code != kSockNotSocket && !isFromStop(code)) {
            report(SPW_CString(), code, u"select failed");
        }
        return;
    }
    serveClients(ready);
    if (ready.contains(socket)) {
        acceptClient(socket);
    }
}

// There are no clients yet.
void VTR_CTcpipListener::beginWatch(SPW_Socket listening) {
    m_listening = listening;
    m_watch = SPW_CSocket::instance->openWatch();
    m_watch->add(listening);
}

// Once is enough: with many peers the connections that wait come and go, and the log would fill with them.
void VTR_CTcpipListener::reportUnwatched() {
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

// From the latest to the oldest.
void VTR_CTcpipListener::serveClients(const SPW_CSocketSet& ready) {
    Client client;
    for (int i = ready.size() - 1; i >= 0; --i) {
        if (findClient(ready.at(i), client)) {
            serve(client);
        }
    }
}

void VTR_CTcpipListener::serve(const Client& client) {
    char chunk[ProbePacket::kBufferSize];
    const int count = SPW_CSocket::instance->receive(client.socket, chunk, ProbePacket::kReceiveSize);
    if (count > 0) {
        handleChunk(chunk, count, client.address);
        return;
    }
    if (count == 0) {
        // The peer has closed.
        departClient(client.socket);
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    if (!isFromStop(code)) {
        report(client.address, code, probeFailureText(u"recv failed ", code));
    }
    if (forgetClient(client.socket)) {
        (void)SPW_CSocket::instance->close(client.socket);  // no other thread knows it any more
    }
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

// A connection that finds no descriptor stays in the queue and keeps the listening socket readable. Without this, steps
// and reports would follow one another as fast as the processor goes.
void VTR_CTcpipListener::relieveShortage() {
    if (m_departed.numberOfElements() > 0) {
        closeDeparted();
    } else {
        SPW_CClock::instance->sleepMs(kShortagePauseMs);
    }
}

int VTR_CTcpipListener::indexOf(SPW_Socket client) const {
    for (int i = 0; i < m_clients.numberOfElements() && i < kMostWatched; ++i) {
        if (m_clients[i] == client) {
            return i;
        }
    }
    return -1;
}

bool VTR_CTcpipListener::findClient(SPW_Socket socket, Client& client) {
    const SPW_CGuard guard(m_clientLock);
    const int index = indexOf(socket);
    if (index < 0) {
        return false;
    }
    client.socket = socket;
    client.address = m_clientAddresses[index];
    return true;
}

void VTR_CTcpipListener::addClient(SPW_Socket socket, const SPW_CIpAddress& peer) {
    const SPW_CGuard guard(m_clientLock);
    // A stop is said first and closes the clients then. A client that closeClients() did not see is closed here.
    if (!isListening() || m_stopping) {
        (void)SPW_CSocket::instance->close(socket);  // no other thread knows it
        return;
    }
    if (m_clients.numberOfElements() < kMostWatched) {
        m_watch->add(socket);
    }
    m_clients.append(socket);
    m_clientAddresses.append(peer.toText());
}

bool VTR_CTcpipListener::forgetClient(SPW_Socket socket) {
    const SPW_CGuard guard(m_clientLock);
    const int index = indexOf(socket);
    if (index < 0) {
        return false;
    }
    m_clients.removeElementAt(index);
    m_clientAddresses.removeElementAt(index);
    m_watch->remove(socket);
    if (m_clients.numberOfElements() >= kMostWatched) {
        m_watch->add(m_clients[kMostWatched - 1]);  // the oldest of those that had to wait
    }
    return true;
}

void VTR_CTcpipListener::departClient(SPW_Socket socket) {
    if (forgetClient(socket)) {
        keepDeparted(socket);
    }
}

// Peers that come and go for weeks would otherwise use all descriptors up.
void VTR_CTcpipListener::keepDeparted(SPW_Socket socket) {
    if (m_departed.numberOfElements() == kMostDeparted) {
        (void)SPW_CSocket::instance->close(m_departed[0]);  // no other thread closes it
        m_departed.removeElementAt(0);
    }
    m_departed.append(socket);
}

void VTR_CTcpipListener::closeDeparted() {
    for (int i = 0; i < m_departed.numberOfElements(); ++i) {
        (void)SPW_CSocket::instance->close(m_departed[i]);  // no other thread closes them
    }
    m_departed.clear();
}
