#pragma once

#include "ProbeListener.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"

// Receives the probes that arrive on a port over TCP connections.
//
// One step watches the listening socket and the oldest 63 connections; a later one is served when an older one has
// gone. Each read of a connection is one chunk: what follows the first probe in it is not looked at.
class VTR_CTcpipListener : public ProbeListener {
public:
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

    void watch(SPW_Socket listening, SPW_CSocketSet& watched);
    void serveClients(const SPW_CSocketSet& watched);
    void serve(const Client& client, int index);
    void acceptClient(SPW_Socket listening);
    int numberOfClients();
    bool readyClientAt(int index, const SPW_CSocketSet& watched, Client& client);
    void addClient(SPW_Socket socket, const SPW_CIpAddress& peer);
    // departed: the peer has closed; the socket is kept open until the listener ends.
    void forgetClient(const Client& client, int index, bool departed);

    std::atomic<bool> m_stopping{false};

    // Guards the arrays, which the thread and closeClients() touch; never held while blocking.
    SPW_CCriticalSection m_clientLock;
    SPW_CArray<SPW_Socket> m_clients;
    SPW_CArray<SPW_CString> m_clientAddresses;
    // Connections that their peers closed. See serve().
    SPW_CArray<SPW_Socket> m_departed;
};
