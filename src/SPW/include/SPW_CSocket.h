#pragma once

#include <cstdint>
#include <memory>

#include "SPW_CArray.h"
#include "SPW_CIpAddress.h"
#include "SPW_CObject.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A socket of the platform. Handles are never reused: a closed one stays "not a socket" for ever, whatever has been
// opened since.
typedef std::uintptr_t SPW_Socket;
constexpr SPW_Socket kInvalidSocket = static_cast<SPW_Socket>(-1);

// The sockets that one select() watches, and after the call what it found about each. A plain value of one thread;
// it does not own its sockets.
class SPW_CSocketSet {
public:
    // What the platforms' own lists hold: a caller with more sockets leaves the rest unwatched.
    static constexpr int kMaximum = 64;

    // Adds a socket behind the others, not ready. False, and nothing happens, when it is present or there is no room.
    bool add(SPW_Socket socket);
    // Takes a socket out; the others keep their order. False when it is not there.
    bool remove(SPW_Socket socket);
    bool contains(SPW_Socket socket) const { return indexOf(socket) >= 0; }
    // What the latest select() found; false for a socket that is not in the set.
    bool isReady(SPW_Socket socket) const;

    // Index 0 .. size() - 1, in the order of adding.
    int size() const { return m_size; }
    SPW_Socket at(int index) const { return m_sockets[index]; }
    bool isReadyAt(int index) const { return m_ready[index]; }

    // For the implementations of select() and of watches.
    void setReady(int index, bool ready) { m_ready[index] = ready; }
    // Does nothing for a socket that is not in the set.
    void markReady(SPW_Socket socket);
    void clearReady();

private:
    int indexOf(SPW_Socket socket) const;

    int m_size = 0;
    SPW_Socket m_sockets[kMaximum] = {};
    bool m_ready[kMaximum] = {};
};

class SPW_CSocketWatch;

// What a TCP connection knows of the far end's answers to what it has sent.
struct SPW_Unanswered {
    // Packets that have been sent and not been acknowledged.
    std::uint32_t packets = 0;
    // Repetitions in a row, each after a longer time-out, since the latest acknowledgement of something new.
    std::uint32_t timeouts = 0;
    // Milliseconds since the latest acknowledgement of whatever kind.
    std::uint32_t sinceAnswerMs = 0;
};

// The platform's TCP/IP sockets, IPv4 only, reached through `instance`. All sockets are blocking.
//
// Results: every int result is -1 on failure; the code (SPW_CSysError.h) is then lastError() of the calling thread.
// Any operation on an unknown or closed handle fails with kSockNotSocket. Ports are in host order, sizes in bytes.
//
// Threads: any thread may call any operation on any socket at any time.
//
// What blocks: connect, accept, receive, receiveFrom, select and the wait of a watch; send and sendTo while the buffers
// are full; resolve while it asks a name server. What wakes it (all but resolve): close() of the same socket from
// another thread, at once. The woken call fails with kSockInterrupted (receiveFrom) or kSockNotSocket (all others).
// What close() frees, the local port among it, is free once the woken call has returned.
class SPW_CSocket : public SPW_CObject {
public:
    // The process-wide object; a test may put another in its place. Usable before main().
    static SPW_CSocket* instance;

    // Takes the socket library. Calls nest: each that succeeded is given back by one cleanup(). 0 or a code.
    [[nodiscard]] virtual SPW_Result startup() = 0;
    // Gives the library back. One cleanup() too many does nothing.
    virtual void cleanup() = 0;

    // A new unbound socket, or kInvalidSocket. The caller owns it and closes it.
    virtual SPW_Socket openTcp() = 0;
    // A datagram socket. It receives a multicast group only when it has itself joined it.
    virtual SPW_Socket openUdp() = 0;
    // The same with address reuse on: several such sockets, of any process, may be bound to one port.
    virtual SPW_Socket openUdpShared() = 0;
    // Closes the socket and wakes what blocks on it. Does not wait for what it has woken.
    virtual int close(SPW_Socket socket) = 0;

    // Binds to 0.0.0.0 and port; 0 lets the system choose a free one. A TCP port whose only users are connections of
    // the past (TIME_WAIT) is free; one that another socket listens on is not (kSockAddressInUse).
    virtual int bind(SPW_Socket socket, std::uint16_t port) = 0;
    // The local port of a bound socket, or -1.
    virtual int localPort(SPW_Socket socket) = 0;
    // backlog: connections that may wait for accept(). kSockAddressInUse when another socket listens on the port.
    virtual int listen(SPW_Socket socket, int backlog) = 0;
    // Waits for a connection. Returns its new socket, which the caller owns, and its far end's address in peer; on
    // failure kInvalidSocket, with peer unchanged.
    virtual SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) = 0;
    // Waits until connected, refused (kSockRefused) or the platform's own time-out has passed (kSockTimedOut).
    virtual int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) = 0;

    // Bytes sent, at most size. A connection that its far end has given up fails with a code and never with a signal.
    virtual int send(SPW_Socket socket, const void* bytes, int size) = 0;
    // Sends one datagram whole. An address of no device, such as SPW_CIpAddress::none(), fails.
    virtual int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
                       int size) = 0;
    // Tells of a connection what the far end has left without an answer. False, with unanswered unchanged, where the
    // platform does not tell (Windows), and for a socket that has no connection. Does not block.
    virtual bool tellUnanswered(SPW_Socket socket, SPW_Unanswered& unanswered) {
        (void)socket;
        (void)unanswered;
        return false;
    }
    // Bytes received, at least 1 and at most size; 0 when the far end has closed the connection.
    virtual int receive(SPW_Socket socket, void* buffer, int size) = 0;
    // One datagram: its length, which may be 0, and its source in sender. What does not fit the buffer is lost without
    // an error. On failure sender is unchanged.
    virtual int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) = 0;

    // Waits up to timeoutMs (kSPWForever: without limit; 0: not at all) until a socket of either set is ready, and
    // marks in both sets which are. Either may be null, but not all may be empty (kSockInvalid). A socket is ready in
    //   read    there is something to receive or to accept, or an end or an error to be told by receive or accept;
    //   except  there is urgent data of a TCP connection.
    // Returns how many entries became ready over both sets (a socket ready in both counts twice), 0 on time-out, -1
    // on failure, when nothing is marked.
    virtual int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) = 0;
    // A watch for the sockets on which one thread waits again and again (SPW_CSocketWatch.h), the caller's. It selects,
    // unless the platform has something better.
    virtual std::unique_ptr<SPW_CSocketWatch> openWatch();

    // Time-to-live of the multicast datagrams sent from this socket, handed to the platform unchanged: what it does
    // with a value outside 0..255 is its own affair.
    virtual int setMulticastTtl(SPW_Socket socket, int ttl) = 0;
    // Joins and leaves a group on the interface that has interfaceAddress. Closing the socket leaves all its groups.
    virtual int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) = 0;
    virtual int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) = 0;

    // This device's host name; on failure false with name unchanged and lastError() set.
    virtual bool hostName(SPW_CString& name) = 0;
    // Appends the IPv4 addresses of a host name to addresses, in the order in which the platform names them.
    // - For this device's own host name: the addresses of its interfaces that are up; on Linux the loopback is among
    //   them, on Windows only when there is no other.
    // - For a dotted quad: that address, without asking anybody.
    // False, with addresses unchanged, when there is none (kSockHostNotFound) or no server answered.
    virtual bool resolve(const SPW_CString& name, SPW_CArray<SPW_CIpAddress>& addresses) = 0;

    // Code of the calling thread's latest failed operation here; success does not clear it. 0 when the thread has
    // had no failure yet.
    virtual SPW_Result lastError() = 0;
};
