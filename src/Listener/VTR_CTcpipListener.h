#pragma once

#include <memory>

#include "ProbeListener.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CSocketWatch.h"

// Receives the probes that arrive on a port over TCP connections.
//
// It watches the listening socket and the oldest 63 connections. A later connection is served when an older one has
// gone. The first that has to wait is reported, once in the listener's life. Each read of a connection is one chunk;
// only the first probe in a chunk counts.
//
// A connection that its peer has closed is deliberately not closed on this side. To the peer's system it stays half
// open until this listener goes. Each costs a descriptor: only the latest kMostDeparted are kept, and all are closed
// when a new connection finds no descriptor.
class VTR_CTcpipListener : public ProbeListener {
public:
    static constexpr int kMostDeparted = 1000;
    // Pause of a step that has found no descriptor for a new connection.
    static constexpr std::uint32_t kShortagePauseMs = 100;

    // port: host order, low 16 bits.
    VTR_CTcpipListener(ProbeEventSink* sink, std::uint32_t port);
    ~VTR_CTcpipListener() override;

protected:
    SPW_Socket createSocket() override;
    void closeClients() override;
    void receiveStep(SPW_Socket socket) override;

private:
    struct Client {
        SPW_Socket socket = kInvalidSocket;
        SPW_CString address;
    };

    // The listening socket has a place in the watch, too.
    static constexpr int kMostWatched = SPW_CSocketSet::kMaximum - 1;

    void beginWatch(SPW_Socket listening);
    void reportUnwatched();
    void serveClients(const SPW_CSocketSet& ready);
    void serve(const Client& client);
    void acceptClient(SPW_Socket listening);
    void relieveShortage();
    // Under m_clientLock: of a client that is watched; -1 when it is none, or a stop has closed it.
    int indexOf(SPW_Socket client) const;
    bool findClient(SPW_Socket socket, Client& client);
    void addClient(SPW_Socket socket, const SPW_CIpAddress& peer);
    // False when a stop has closed the client and forgotten it.
    bool forgetClient(SPW_Socket socket);
    // Forgets a client that its peer has closed, and keeps its socket open.
    void departClient(SPW_Socket socket);
    void keepDeparted(SPW_Socket socket);
    void closeDeparted();

    // Guards the arrays, which the thread and closeClients() touch; never held while blocking.
    SPW_CCriticalSection m_clientLock;
    SPW_CArray<SPW_Socket> m_clients;
    SPW_CArray<SPW_CString> m_clientAddresses;
    // The thread's: what waits for the listening socket and the first kMostWatched clients, in the order of m_clients.
    // Made anew for every listening socket.
    std::unique_ptr<SPW_CSocketWatch> m_watch;
    SPW_Socket m_listening = kInvalidSocket;
    // The thread's: connections that their peers closed, the oldest first.
    SPW_CArray<SPW_Socket> m_departed;
    // The thread's: whether a connection that is not watched has been reported.
    bool m_unwatchedReported = false;
};
