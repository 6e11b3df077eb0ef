#include "VTR_CTcpipListener.h"

#include <algorithm>

#include "SPW_CClock.h"
#include "SPW_CSysError.h"

static const std::uint64_t k100nsPerMs = 10000;
// So many of those that wait are looked at each time: the latest, whose first probe may just have come, and some of the
// oldest, whose time is up.
static const int kMostLatest = 1024;
static const int kMostOldest = 256;

static bool isShortage(SPW_Result code) {
    return code == kSockTooManyFiles || code == kSockNoBuffers;
}

static bool hasSomethingToRead(SPW_Socket socket) {
    SPW_CSocketSet own;
    own.add(socket);
    return SPW_CSocket::instance->select(&own, nullptr, 0) > 0;
}

VTR_CTcpipListener::VTR_CTcpipListener(ProbeEventSink* sink, std::uint32_t port, const ListenerLimits& limits)
    : ProbeListener(sink, kTcpipListener, port, true, true, false, limits),
      m_clients(limits),
      m_acceptBackOff(limits.failuresBeforePause) {}

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
    for (int i = 0; i < m_clients.number(); ++i) {
        (void)SPW_CSocket::instance->close(m_clients.at(i).socket);  // a failed step may have closed it before
    }
    m_clients.clear();
}

void VTR_CTcpipListener::receiveStep(SPW_Socket socket) {
    if (m_listening != socket) {
        beginWatch(socket);
    }
    reportUnwatched();
    resumeAccepting();
    SPW_CSocketSet ready;
    const SPW_Result code = waitForInput(ready);
    if (m_stopping) {
        return;
    }
    if (code != 0) {
        noteStepFailure();
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
    look();
}

// There are no clients yet.
void VTR_CTcpipListener::beginWatch(SPW_Socket listening) {
    m_listening = listening;
    m_watch = SPW_CSocket::instance->openWatch();
    m_watch->add(listening);
    m_acceptDue100ns = 0;
    m_acceptBackOff.succeeded();
    m_untoldShortages = 0;
}

// Once is enough: with many peers the connections that wait come and go, and the log would fill with them.
void VTR_CTcpipListener::reportUnwatched() {
    SPW_CIpAddress address;
    {
        const SPW_CGuard guard(m_clientLock);
        if (m_unwatchedReported || !isCrowded()) {
            return;
        }
        address = m_clients.at(TcpClients::kMostWatched).address;
    }
    m_unwatchedReported = true;
    report(address.toText(), kSockTooManyFiles, u"connection is not watched while 63 older ones last (said only once)");
}

SPW_Result VTR_CTcpipListener::waitForInput(SPW_CSocketSet& ready) {
    const std::uint32_t limitMs = waitLimitMs();
    bool hasClients = false;
    {
        const SPW_CGuard guard(m_clientLock);
        hasClients = m_clients.number() > 0;
    }
    if (m_acceptDue100ns != 0 && !hasClients) {
        pause(limitMs);
        return 0;
    }
    return m_watch->wait(ready, limitMs);
}

std::uint32_t VTR_CTcpipListener::waitLimitMs() const {
    if (!m_isLooking && m_acceptDue100ns == 0) {
        return kSPWForever;
    }
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    std::uint64_t due = m_isLooking ? m_lookDue100ns : m_acceptDue100ns;
    if (m_acceptDue100ns != 0) {
        due = std::min(due, m_acceptDue100ns);
    }
    return due > now ? static_cast<std::uint32_t>((due - now + k100nsPerMs - 1) / k100nsPerMs) : 0;
}

// From the latest to the oldest.
void VTR_CTcpipListener::serveClients(const SPW_CSocketSet& ready) {
    SPW_CIpAddress address;
    for (int i = ready.size() - 1; i >= 0; --i) {
        if (findClient(ready.at(i), address)) {
            serve(ready.at(i), address);
        }
    }
}

void VTR_CTcpipListener::serve(SPW_Socket socket, const SPW_CIpAddress& address) {
    char chunk[ProbePacket::kBufferSize];
    const int count = SPW_CSocket::instance->receive(socket, chunk, ProbePacket::kReceiveSize);
    if (count > 0) {
        noteChunk(socket, handleChunk(chunk, count, address));
        return;
    }
    if (count == 0) {
        // The peer has closed.
        departClient(socket);
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    if (!isFromStop(code)) {
        report(address.toText(), code, probeFailureText(u"recv failed ", code));
    }
    TcpClient client;
    if (forgetClient(socket, client)) {
        (void)SPW_CSocket::instance->close(socket);  // no other thread knows it any more
    }
}

// ---- Accepting

void VTR_CTcpipListener::acceptClient(SPW_Socket listening) {
    SPW_CIpAddress peer;
    const SPW_Socket socket = SPW_CSocket::instance->accept(listening, peer);
    if (socket != kInvalidSocket) {
        tellEndOfShortage();
        m_acceptBackOff.succeeded();
        addClient(socket, peer);
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    if (!isFromStop(code)) {
        acceptFailed(code);
    }
}

// The first failures in a row are told one by one. Of a shortage that goes on only the end is told.
void VTR_CTcpipListener::acceptFailed(SPW_Result code) {
    const std::uint32_t pauseMs = m_acceptBackOff.failed();
    const bool isLasting = m_acceptBackOff.isBeyondLimit();
    if (isLasting && isShortage(code)) {
        ++m_untoldShortages;
    } else if (code != kSockNotSocket) {
        // A stop makes the accept fail with that one.
        report(SPW_CString(), code, u"accept failed");
    }
    if (isShortage(code) && (!isLasting || m_departed.numberOfElements() > 0)) {
        relieveShortage();
    } else if (pauseMs > 0) {
        pauseAccepting(isShortage(code) ? std::max(pauseMs, kShortagePauseMs) : pauseMs);
    }
}

// A connection that finds no descriptor stays in the queue and keeps the listening socket readable. Without this, steps
// and reports would follow one another as fast as the processor goes.
void VTR_CTcpipListener::relieveShortage() {
    if (m_departed.numberOfElements() > 0) {
        closeDeparted();
    } else {
        pause(kShortagePauseMs);
    }
}

// The connections are served meanwhile: their probes would run together in their buffers.
void VTR_CTcpipListener::pauseAccepting(std::uint32_t milliseconds) {
    m_watch->remove(m_listening);
    m_acceptDue100ns = SPW_CClock::instance->now100ns() + milliseconds * k100nsPerMs;
}

void VTR_CTcpipListener::resumeAccepting() {
    if (m_acceptDue100ns != 0 && SPW_CClock::instance->now100ns() >= m_acceptDue100ns) {
        m_acceptDue100ns = 0;
        m_watch->add(m_listening);
    }
}

void VTR_CTcpipListener::tellEndOfShortage() {
    if (m_untoldShortages > 0) {
        m_untoldShortages = 0;
        SPW_CString message(u"accept works again after ");
        message.append(static_cast<unsigned long>(m_acceptBackOff.failures()));
        message.append(u" failures");
        report(SPW_CString(), kSysOk, message);
    }
}

// ---- Clients

bool VTR_CTcpipListener::findClient(SPW_Socket socket, SPW_CIpAddress& address) {
    const SPW_CGuard guard(m_clientLock);
    const int index = m_clients.watchedIndexOf(socket);
    if (index < 0) {
        return false;
    }
    address = m_clients.at(index).address;
    return true;
}

void VTR_CTcpipListener::noteChunk(SPW_Socket socket, bool isProbe) {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    const SPW_CGuard guard(m_clientLock);
    const int index = m_clients.watchedIndexOf(socket);
    if (index >= 0) {
        m_clients.noteChunk(index, isProbe, now);
    }
}

void VTR_CTcpipListener::addClient(SPW_Socket socket, const SPW_CIpAddress& peer) {
    TcpClient client;
    client.socket = socket;
    client.address = peer;
    client.accepted100ns = SPW_CClock::instance->now100ns();
    const SPW_CGuard guard(m_clientLock);
    // A stop is said first and closes the clients then. A client that closeClients() did not see is closed here.
    if (!isListening() || m_stopping) {
        (void)SPW_CSocket::instance->close(socket);  // no other thread knows it
        return;
    }
    m_clients.add(client);
    beginToLook(client.accepted100ns);
    if (!isCrowded()) {
        m_watch->add(socket);
    } else if (m_isLooking) {
        SPW_CSocketSet heard = heardOfWatched();
        (void)givePlaceTo(m_clients.number() - 1, hasSomethingToRead(socket), heard, client.accepted100ns);
    }
}

bool VTR_CTcpipListener::forgetClient(SPW_Socket socket, TcpClient& client) {
    const SPW_CGuard guard(m_clientLock);
    const int index = m_clients.watchedIndexOf(socket);
    if (index < 0) {
        return false;
    }
    client = m_clients.at(index);
    removeAt(index);
    return true;
}

// The place of a watched client goes to the oldest of those that wait.
void VTR_CTcpipListener::removeAt(int index) {
    const bool isWatched = index < TcpClients::kMostWatched;
    if (isWatched) {
        m_watch->remove(m_clients.at(index).socket);
    }
    m_clients.removeAt(index);
    if (isWatched && m_clients.number() >= TcpClients::kMostWatched) {
        m_watch->add(m_clients.at(TcpClients::kMostWatched - 1).socket);
    }
}

void VTR_CTcpipListener::departClient(SPW_Socket socket) {
    TcpClient client;
    if (forgetClient(socket, client)) {
        keepDeparted(client);
    }
}

// Peers that come and go for weeks would otherwise use all descriptors up.
void VTR_CTcpipListener::keepDeparted(const TcpClient& client) {
    if (m_departed.numberOfElements() == kMostDeparted) {
        (void)SPW_CSocket::instance->close(m_departed[0].socket);  // no other thread closes it
        m_departed.removeElementAt(0);
    }
    m_departed.append(client);
}

void VTR_CTcpipListener::closeDeparted() {
    for (int i = 0; i < m_departed.numberOfElements(); ++i) {
        (void)SPW_CSocket::instance->close(m_departed[i].socket);  // no other thread closes them
    }
    m_departed.clear();
}

// ---- The look at the clients

// A client has come that has not sent a probe yet.
void VTR_CTcpipListener::beginToLook(std::uint64_t now100ns) {
    if (m_limits.silenceMs == 0) {
        return;
    }
    const std::uint64_t due = now100ns + (isCrowded() ? kLookMs : kQuietLookMs) * k100nsPerMs;
    m_lookDue100ns = m_isLooking ? std::min(m_lookDue100ns, due) : due;
    m_isLooking = true;
    noteCrowd(now100ns);
}

void VTR_CTcpipListener::noteCrowd(std::uint64_t now100ns) {
    if (isCrowded()) {
        m_crowdEnd100ns = now100ns + m_limits.silenceMs * k100nsPerMs;
    }
}

void VTR_CTcpipListener::look() {
    const std::uint64_t now = m_isLooking ? SPW_CClock::instance->now100ns() : 0;
    if (!m_isLooking || now < m_lookDue100ns) {
        return;
    }
    const bool hasMoved = lookAtWaiting(now);
    closeSilent(now);
    closeSilentDeparted(now);
    const SPW_CGuard guard(m_clientLock);
    m_isLooking = isCrowded() || hasUnproven();
    noteCrowd(now);
    // Those that have got a place may turn out to be noise in the next step, and give way to the next.
    const std::uint32_t pauseMs = hasMoved ? 0 : isCrowded() ? kLookMs : kQuietLookMs;
    m_lookDue100ns = now + pauseMs * k100nsPerMs;
}

// Looks at the latest and at the oldest of those that wait. True when one has got a place.
bool VTR_CTcpipListener::lookAtWaiting(std::uint64_t now100ns) {
    constexpr int kFirst = TcpClients::kMostWatched;
    int number = 0;
    {
        const SPW_CGuard guard(m_clientLock);
        number = m_clients.number();
    }
    // From the latest to the oldest: what happens to one leaves the indexes of the older ones alone.
    const int latest = std::max(kFirst, number - kMostLatest);
    const bool hasLatestMoved = lookAtWaiting(latest, number, now100ns);
    return lookAtWaiting(kFirst, std::min(latest, kFirst + kMostOldest), now100ns) || hasLatestMoved;
}

// Looks at the clients from index begin to index end - 1, all of which wait. Who has something to read may get a place.
// Who has nothing and is silent goes. True when one has got a place.
bool VTR_CTcpipListener::lookAtWaiting(int begin, int end, std::uint64_t now100ns) {
    bool hasMoved = false;
    while (end > begin) {
        const int first = std::max(begin, end - SPW_CSocketSet::kMaximum);
        const SPW_CGuard guard(m_clientLock);
        end = std::min(end, m_clients.number());  // a stop may have closed them all
        SPW_CSocketSet speaking;
        for (int i = first; i < end; ++i) {
            speaking.add(m_clients.at(i).socket);
        }
        if (end <= first || SPW_CSocket::instance->select(&speaking, nullptr, 0) < 0) {
            return hasMoved;
        }
        SPW_CSocketSet heard = heardOfWatched();
        for (int i = end - 1; i >= first; --i) {
            const bool isSpeaking = speaking.isReady(m_clients.at(i).socket);
            if (givePlaceTo(i, isSpeaking, heard, now100ns)) {
                hasMoved = true;
            } else if (!isSpeaking && m_clients.isSilent(m_clients.at(i), now100ns)) {
                closeAt(i);
            }
        }
        end = first;
    }
    return hasMoved;
}

// Those that are watched and have never sent a probe. What one has to say is read first, unless it is endless noise.
void VTR_CTcpipListener::closeSilent(std::uint64_t now100ns) {
    const SPW_CGuard guard(m_clientLock);
    for (int i = m_clients.numberWatched() - 1; i >= 0; --i) {
        const TcpClient& client = m_clients.at(i);
        if (!client.hasProbed() && m_clients.isSilent(client, now100ns) &&
            (client.isNoise || !hasSomethingToRead(client.socket))) {
            closeAt(i);
        }
    }
}

void VTR_CTcpipListener::closeSilentDeparted(std::uint64_t now100ns) {
    for (int i = m_departed.numberOfElements() - 1; i >= 0; --i) {
        if (!m_departed[i].hasProbed() && (now100ns < m_crowdEnd100ns || m_clients.isSilent(m_departed[i], now100ns))) {
            (void)SPW_CSocket::instance->close(m_departed[i].socket);  // no other thread closes it
            m_departed.removeElementAt(i);
        }
    }
}

bool VTR_CTcpipListener::hasUnproven() const {
    for (int i = 0; i < m_clients.number(); ++i) {
        if (!m_clients.at(i).hasProbed()) {
            return true;
        }
    }
    for (int i = 0; i < m_departed.numberOfElements(); ++i) {
        if (!m_departed[i].hasProbed()) {
            return true;
        }
    }
    return false;
}

// The watched sockets with something to read; empty when a stop has closed one.
SPW_CSocketSet VTR_CTcpipListener::heardOfWatched() const {
    SPW_CSocketSet watched;
    for (int i = 0; i < m_clients.numberWatched(); ++i) {
        watched.add(m_clients.at(i).socket);
    }
    SPW_CSocketSet heard;
    if (watched.size() == 0 || SPW_CSocket::instance->select(&watched, nullptr, 0) <= 0) {
        return heard;
    }
    for (int i = 0; i < watched.size(); ++i) {
        if (watched.isReadyAt(i)) {
            heard.add(watched.at(i));
        }
    }
    return heard;
}

// Gives the waiting client a place if a watched one gives way. What one that gets a place has to say is noted in heard:
// it keeps its place until it has been read.
bool VTR_CTcpipListener::givePlaceTo(int index, bool isSpeaking, SPW_CSocketSet& heard, std::uint64_t now100ns) {
    const int givingWay = m_clients.findGivingWay(index, isSpeaking, heard, now100ns);
    if (givingWay < 0) {
        return false;
    }
    const SPW_Socket leaving = m_clients.at(givingWay).socket;
    m_watch->remove(leaving);
    heard.remove(leaving);
    m_clients.removeAt(givingWay);
    m_clients.moveToWatched(index - 1);
    const SPW_Socket newcomer = m_clients.at(TcpClients::kMostWatched - 1).socket;
    m_watch->add(newcomer);
    if (isSpeaking) {
        heard.add(newcomer);
    }
    (void)SPW_CSocket::instance->close(leaving);  // no other thread knows it any more
    return true;
}

void VTR_CTcpipListener::closeAt(int index) {
    const SPW_Socket leaving = m_clients.at(index).socket;
    removeAt(index);
    (void)SPW_CSocket::instance->close(leaving);  // no other thread knows it any more
}
