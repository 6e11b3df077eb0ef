#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CIpAddress.h"
#include "SPW_CObject.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A socket of the platform. Handles are never reused: a closed one stays "not a socket" for ever.
typedef std::uintptr_t SPW_Socket;
constexpr SPW_Socket kInvalidSocket = static_cast<SPW_Socket>(-1);

// The sockets that one select() watches; after the call each says what it found.
// Holds at most kMaximum sockets; add() ignores one that is present or finds no room (returns false).
class SPW_CSocketSet {
public:
    static constexpr int kMaximum = 64;
    bool add(SPW_Socket socket);
    bool isReady(SPW_Socket socket) const;
    int size() const { return m_size; }
    SPW_Socket at(int index) const { return m_sockets[index]; }
    void setReady(int index, bool ready) { m_ready[index] = ready; }

private:
    int m_size = 0;
    SPW_Socket m_sockets[kMaximum] = {};
    bool m_ready[kMaximum] = {};
};

// The platform's TCP/IP sockets, IPv4 only, reached through `instance`.
//
// Every int result is -1 on failure; the code (SPW_CSysError.h) is then lastError() of the calling
// thread until its next call. Any thread may call any operation on any socket.
//
// What blocks: connect, accept, receive, receiveFrom, select, send (when the buffers are full).
// What wakes it: close() of the same socket from another thread, at once; the woken call fails with
// kSockInterrupted (receiveFrom) or kSockNotSocket (all others).
class SPW_CSocket : public SPW_CObject {
public:
    static SPW_CSocket* instance;

    // Take and give back the socket library; calls nest. 0 or a code.
    virtual SPW_Result startup() = 0;
    virtual void cleanup() = 0;

    // A new blocking socket, or kInvalidSocket.
    virtual SPW_Socket openTcp() = 0;
    virtual SPW_Socket openUdp() = 0;
    // A datagram socket with address reuse on.
    virtual SPW_Socket openUdpShared() = 0;
    // Closing an unknown or closed handle fails with kSockNotSocket and does nothing.
    virtual int close(SPW_Socket socket) = 0;

    // Binds to 0.0.0.0 and port (host order; 0 lets the system choose).
    virtual int bind(SPW_Socket socket, std::uint16_t port) = 0;
    // The local port (host order) of a bound socket, or -1.
    virtual int localPort(SPW_Socket socket) = 0;
    virtual int listen(SPW_Socket socket, int backlog) = 0;
    virtual SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) = 0;
    virtual int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) = 0;

    // Bytes sent or received. receive() answers 0 when the peer has closed.
    virtual int send(SPW_Socket socket, const void* bytes, int size) = 0;
    virtual int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
                       int size) = 0;
    virtual int receive(SPW_Socket socket, void* buffer, int size) = 0;
    virtual int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) = 0;

    // Waits until a socket of either set is ready (either may be null). Returns how many entries became
    // ready over both sets (a socket ready in both counts twice), 0 on time-out, -1 on failure.
    virtual int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) = 0;

    virtual int setMulticastTtl(SPW_Socket socket, int ttl) = 0;
    virtual int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) = 0;
    virtual int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) = 0;

    // This device's host name; false when it cannot be had.
    virtual bool hostName(SPW_CString& name) = 0;
    // IPv4 addresses of a host name, in order, appended to addresses; false when it cannot be resolved.
    // For this device's own host name: the addresses of its interfaces that are up.
    virtual bool resolve(const SPW_CString& name, SPW_CArray<SPW_CIpAddress>& addresses) = 0;

    // Code of the calling thread's latest failed operation.
    virtual SPW_Result lastError() = 0;
};
