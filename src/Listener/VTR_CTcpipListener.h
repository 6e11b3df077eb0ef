#pragma once

#include <memory>

#include "ProbeListener.h"
#include "SPW_CArray.h"
#include "SPW_CBackOff.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CSocketWatch.h"
#include "TcpClients.h"

// Receives the probes that arrive on a port over TCP connections.
//
// It watches the listening socket and 63 connections. A later connection is served when an older one has gone, or gives
// way to it because it sends nothing (TcpClients.h says which). The first that has to wait is reported, once in the
// listener's life. Each read of a connection is one chunk; only the first probe in a chunk counts.
//
// A connection that its peer has closed is deliberately not closed on this side. To the peer's system it stays half
// open until this listener goes. Each costs a descriptor: only the latest kMostDeparted are kept, and all are closed
// when a new connection finds no descriptor.
//
// A connection that has sent no probe at all within the time of silence is closed without a word, whether it is
// watched, waits or has been closed by its peer. The listener looks for such connections every kQuietLookMs, and every
// kLookMs for those that wait and have something to say. When every connection has sent a probe and none waits, it does
// not look any more.
//
// A 64th connection makes a crowd. It is over when there have been no more than 63 for the time of silence. In a crowd,
// connections that their peers have closed without a probe are closed at the next look.
//
// Accepts that fail pause like the steps of all listeners. The connections are served meanwhile.
class VTR_CTcpipListener : public ProbeListener {
public:
    static constexpr int kMostDeparted = 1000;
    // Pause of a step that has found no descriptor for a new connection.
    static constexpr std::uint32_t kShortagePauseMs = 100;
    static constexpr std::uint32_t kLookMs = 100;
    static constexpr std::uint32_t kQuietLookMs = 1000;

    // port: host order, low 16 bits.
    VTR_CTcpipListener(ProbeEventSink* sink, std::uint32_t port, const ListenerLimits& limits = ListenerLimits());
    ~VTR_CTcpipListener() override;

protected:
    SPW_Socket createSocket() override;
    void closeClients() override;
    void receiveStep(SPW_Socket socket) override;

private:
    void beginWatch(SPW_Socket listening);
    void reportUnwatched();
    SPW_Result waitForInput(SPW_CSocketSet& ready);
    std::uint32_t waitLimitMs() const;
    void serveClients(const SPW_CSocketSet& ready);
    void serve(SPW_Socket socket, const SPW_CIpAddress& address);

    void acceptClient(SPW_Socket listening);
    void acceptFailed(SPW_Result code);
    void relieveShortage();
    void pauseAccepting(std::uint32_t milliseconds);
    void resumeAccepting();
    void tellEndOfShortage();

    bool findClient(SPW_Socket socket, SPW_CIpAddress& address);
    void noteChunk(SPW_Socket socket, bool isProbe);
    void addClient(SPW_Socket socket, const SPW_CIpAddress& peer);
    // False when a stop has closed the client and forgotten it. client: what was known of it.
    bool forgetClient(SPW_Socket socket, TcpClient& client);
    // Forgets a client that its peer has closed, and keeps its socket open.
    void departClient(SPW_Socket socket);
    void keepDeparted(const TcpClient& client);
    void closeDeparted();

    // The look at the clients.
    void beginToLook(std::uint64_t now100ns);
    void look();
    bool lookAtWaiting(std::uint64_t now100ns);
    bool lookAtWaiting(int begin, int end, std::uint64_t now100ns);
    void closeSilent(std::uint64_t now100ns);
    void closeSilentDeparted(std::uint64_t now100ns);
    // Under m_clientLock.
    bool isCrowded() const { return m_clients.number() > TcpClients::kMostWatched; }
    void noteCrowd(std::uint64_t now100ns);
    bool hasUnproven() const;
    SPW_CSocketSet heardOfWatched() const;
    bool givePlaceTo(int index, bool isSpeaking, SPW_CSocketSet& heard, std::uint64_t now100ns);
    void removeAt(int index);
    void closeAt(int index);

    // Guards the clients, which the thread and closeClients() touch; never held while blocking.
    SPW_CCriticalSection m_clientLock;
    TcpClients m_clients;
    // The thread's: what waits for the listening socket and the watched clients. Made anew for every listening socket.
    std::unique_ptr<SPW_CSocketWatch> m_watch;
    SPW_Socket m_listening = kInvalidSocket;
    // The thread's: connections that their peers closed, the oldest first.
    SPW_CArray<TcpClient> m_departed;
    // The thread's: whether a connection that is not watched has been reported.
    bool m_unwatchedReported = false;
    // The thread's: of failed accepts. While they pause, the listening socket is not watched.
    SPW_CBackOff m_acceptBackOff;
    std::uint64_t m_acceptDue100ns = 0;  // 0: no pause
    std::uint32_t m_untoldShortages = 0;
    // The thread's: of the look at the clients.
    bool m_isLooking = false;
    std::uint64_t m_crowdEnd100ns = 0;
    std::uint64_t m_lookDue100ns = 0;
};
