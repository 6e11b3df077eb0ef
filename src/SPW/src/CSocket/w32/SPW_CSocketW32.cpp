#include <winsock.h>

#include "SPW_CImmortal.h"
#include "SPW_CLastCodeW32.h"
#include "SPW_CSocket.h"
#include "SPW_CSocketAddressW32.h"
#include "SPW_CSocketTableW32.h"
#include "SPW_CSysError.h"

namespace {

SPW_CImmortal<SPW_CSocketTableW32> socketTable;
SPW_CImmortal<SPW_CLastCodeW32> lastCode;

SPW_CSocketTableW32& table() {
    return socketTable.value;
}

// The longest host name that the platform tells.
constexpr int kHostNameSize = 256;

int failWith(SPW_Result code) {
    lastCode.value.set(code);
    return -1;
}

// Used at the end of most calls that failed.
int fail() {
    return failWith(static_cast<SPW_Result>(WSAGetLastError()));
}

int resultOrFail(int result) {
    return result == SOCKET_ERROR ? fail() : result;
}

// One operation's use of a socket, counted in the table for the life of the object.
class Use {
public:
    explicit Use(SPW_Socket handle) : m_slot(table().acquire(handle)) {
        if (m_slot == nullptr) {
            (void)failWith(kSockNotSocket);
        }
    }
    ~Use() {
        if (m_slot != nullptr) {
            table().release(m_slot);
        }
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    explicit operator bool() const { return m_slot != nullptr; }
    SOCKET native() const { return m_slot->native; }
    // Makes one call of the platform's and keeps its last error. The call does not block, and the socket is not closed
    // during it.
    template <typename Call>
    auto call(Call platformCall) const -> decltype(platformCall(SOCKET())) {
        if (!table().beginCall(m_slot)) {
            WSASetLastError(WSAENOTSOCK);
            return static_cast<decltype(platformCall(SOCKET()))>(SOCKET_ERROR);
        }
        const auto result = platformCall(m_slot->native);
        const int code = WSAGetLastError();
        table().endCall(m_slot);
        WSASetLastError(code);
        return result;
    }
    // Another thread has closed the socket meanwhile.
    bool isClosed() const { return table().isClosed(m_slot); }

private:
    SPW_CSocketTableW32::Slot* m_slot;
};

// What a wait on a socket is for.
enum Readiness { kReadable, kWritable };

// Waits until the socket is ready or closed. The platform's sockets themselves never block: select() is the one call
// that closing a socket is sure to end on every version of the platform.
int await(const Use& use, Readiness readiness) {
    // A wait that begins after the closing would not be woken any more.
    if (use.isClosed()) {
        WSASetLastError(WSAENOTSOCK);
        return SOCKET_ERROR;
    }
    fd_set ready;
    FD_ZERO(&ready);
    ready.fd_array[ready.fd_count++] = use.native();
    fd_set failed = ready;  // a connect that has failed shows here
    return readiness == kReadable ? ::select(0, &ready, nullptr, nullptr, nullptr)
                                  : ::select(0, nullptr, &ready, &failed, nullptr);
}

// Repeats a call until it did not have to wait. The last error is that of the call or of the wait.
template <typename Call>
auto whenReady(const Use& use, Readiness readiness, Call platformCall) {
    auto result = use.call(platformCall);
    while (result == static_cast<decltype(result)>(SOCKET_ERROR) && WSAGetLastError() == WSAEWOULDBLOCK &&
           await(use, readiness) != SOCKET_ERROR) {
        result = use.call(platformCall);
    }
    return result;
}

// The error of a connect that was in progress and has ended. 0 means that it has succeeded.
int errorOfConnect(const Use& use) {
    if (WSAGetLastError() != WSAEWOULDBLOCK) {
        return WSAGetLastError();
    }
    int error = 0;
    int size = sizeof error;
    const bool isTold = await(use, kWritable) != SOCKET_ERROR && use.call([&](SOCKET native) {
        return ::getsockopt(native, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size);
    }) == 0;
    return isTold ? error : WSAGetLastError();
}

// The result of a call that may have waited. A call that a closing has woken answers differently on different versions
// of the platform. Callers get one code for all of them.
int resultOf(const Use& use, int result, SPW_Result closedCode) {
    if (result > 0) {
        return result;
    }
    const int code = WSAGetLastError();
    if (use.isClosed()) {
        return failWith(closedCode);
    }
    return result == 0 ? 0 : failWith(static_cast<SPW_Result>(code));
}

int setOption(const Use& use, int level, int option, const void* value, int size) {
    return resultOrFail(use.call(
        [&](SOCKET native) { return ::setsockopt(native, level, option, static_cast<const char*>(value), size); }));
}

// Later versions of the platform's sockets have other numbers for these options. The library of this version translates
// its own.
static_assert(IP_MULTICAST_TTL == 3 && IP_ADD_MEMBERSHIP == 5 && IP_DROP_MEMBERSHIP == 6, "the numbers of version 1.1");

int changeMembership(SPW_Socket socket, int option, const SPW_CIpAddress& group,
                     const SPW_CIpAddress& interfaceAddress) {
    const Use use(socket);
    if (!use) {
        return -1;
    }
    ip_mreq request;
    request.imr_multiaddr = SPW_CSocketAddressW32::toNative(group);
    request.imr_interface = SPW_CSocketAddressW32::toNative(interfaceAddress);
    return setOption(use, IPPROTO_IP, option, &request, sizeof request);
}

SPW_Socket addToTable(SOCKET native) {
    unsigned long on = 1;
    if (::ioctlsocket(native, FIONBIO, &on) != 0) {
        (void)fail();
        (void)closesocket(native);
        return kInvalidSocket;
    }
    const SPW_Socket socket = table().add(native);
    if (socket == kInvalidSocket) {
        (void)failWith(kSockNoBuffers);
    }
    return socket;
}

SPW_Socket openSocket(int type) {
    // The table refuses a socket whose number is still in use by an old call. The next socket has another number.
    constexpr int kAttempts = 3;
    SPW_Socket socket = kInvalidSocket;
    for (int i = 0; i < kAttempts && socket == kInvalidSocket; ++i) {
        const SOCKET native = table().create(type);
        if (native == INVALID_SOCKET) {
            (void)fail();
            return kInvalidSocket;
        }
        socket = addToTable(native);
    }
    return socket;
}

// One side of a select(): the sockets of a set, counted in.
class Selection {
public:
    Selection() { FD_ZERO(&m_native); }
    ~Selection() {
        for (int i = 0; i < m_count; ++i) {
            table().release(m_slots[i]);
        }
    }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

    bool add(const SPW_CSocketSet* set) {
        for (int i = 0; set != nullptr && i < set->size(); ++i) {
            SPW_CSocketTableW32::Slot* const slot = table().acquire(set->at(i));
            if (slot == nullptr) {
                return false;
            }
            m_slots[m_count++] = slot;
            m_native.fd_array[m_native.fd_count++] = slot->native;
        }
        return true;
    }
    bool isEmpty() const { return m_count == 0; }
    // Null for an empty set, because older platforms refuse one.
    fd_set* native() { return isEmpty() ? nullptr : &m_native; }
    bool anyClosed() const {
        for (int i = 0; i < m_count; ++i) {
            if (table().isClosed(m_slots[i])) {
                return true;
            }
        }
        return false;
    }
    // Marks those sockets in the set that the platform has left there. Answers their number.
    int mark(SPW_CSocketSet* set) {
        int ready = 0;
        for (int i = 0; i < m_count; ++i) {
            const bool isReady = FD_ISSET(m_slots[i]->native, &m_native) != 0;
            set->setReady(i, isReady);
            ready += isReady ? 1 : 0;
        }
        return ready;
    }

private:
    static_assert(SPW_CSocketSet::kMaximum <= FD_SETSIZE, "the platform's list has room");

    int m_count = 0;
    SPW_CSocketTableW32::Slot* m_slots[SPW_CSocketSet::kMaximum];
    fd_set m_native;
};

void clearReady(SPW_CSocketSet* set) {
    if (set != nullptr) {
        set->clearReady();
    }
}

class SocketW32 final : public SPW_CSocket {
public:
    constexpr SocketW32() = default;

    // The platform counts the openings and closings, too.
    SPW_Result startup() override {
        WSADATA unused;
        return static_cast<SPW_Result>(WSAStartup(MAKEWORD(1, 1), &unused));
    }
    void cleanup() override { (void)WSACleanup(); }

    SPW_Socket openTcp() override { return openSocket(SOCK_STREAM); }
    SPW_Socket openUdp() override { return openSocket(SOCK_DGRAM); }

    SPW_Socket openUdpShared() override {
        const SPW_Socket socket = openSocket(SOCK_DGRAM);
        if (socket == kInvalidSocket) {
            return kInvalidSocket;
        }
        const Use use(socket);
        const BOOL on = TRUE;
        if (use && setOption(use, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
            (void)close(socket);
            return kInvalidSocket;
        }
        return socket;
    }

    int close(SPW_Socket socket) override { return table().close(socket) ? 0 : failWith(kSockNotSocket); }

    // On this platform address reuse would take a port from the socket that listens on it. A port of past connections
    // can be bound without it.
    int bind(SPW_Socket socket, std::uint16_t port) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const sockaddr_in address = SPW_CSocketAddressW32::toSockaddr(SPW_CIpAddress(), port);
        return resultOrFail(use.call([&](SOCKET native) {
            return ::bind(native, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        }));
    }

    int localPort(SPW_Socket socket) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        sockaddr_in address = {};
        int size = sizeof address;
        const int result = use.call(
            [&](SOCKET native) { return ::getsockname(native, reinterpret_cast<sockaddr*>(&address), &size); });
        if (result != 0) {
            return fail();
        }
        return address.sin_port == 0 ? failWith(kSockInvalid) : ntohs(address.sin_port);
    }

    int listen(SPW_Socket socket, int backlog) override {
        const Use use(socket);
        return use ? resultOrFail(use.call([&](SOCKET native) { return ::listen(native, backlog); })) : -1;
    }

    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        const Use use(socket);
        if (!use) {
            return kInvalidSocket;
        }
        sockaddr_in address = {};
        int size = sizeof address;
        const SOCKET native = whenReady(use, kReadable, [&](SOCKET listening) {
            return ::accept(listening, reinterpret_cast<sockaddr*>(&address), &size);
        });
        if (native == INVALID_SOCKET) {
            (void)resultOf(use, -1, kSockNotSocket);
            return kInvalidSocket;
        }
        if (use.isClosed()) {
            (void)closesocket(native);
            (void)failWith(kSockNotSocket);
            return kInvalidSocket;
        }
        const SPW_Socket accepted = addToTable(native);
        if (accepted != kInvalidSocket) {
            peer = SPW_CSocketAddressW32::toAddress(address.sin_addr);
        }
        return accepted;
    }

    int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const sockaddr_in target = SPW_CSocketAddressW32::toSockaddr(address, port);
        int error = 0;
        const int result = use.call([&](SOCKET native) {
            return ::connect(native, reinterpret_cast<const sockaddr*>(&target), sizeof target);
        });
        if (result != 0) {
            error = errorOfConnect(use);
        }
        if (use.isClosed()) {
            return failWith(kSockNotSocket);
        }
        return error == 0 ? 0 : failWith(static_cast<SPW_Result>(error));
    }

    int send(SPW_Socket socket, const void* bytes, int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const int sent = whenReady(
            use, kWritable, [&](SOCKET native) { return ::send(native, static_cast<const char*>(bytes), size, 0); });
        return resultOf(use, sent, kSockNotSocket);
    }

    int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
               int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const sockaddr_in target = SPW_CSocketAddressW32::toSockaddr(address, port);
        const int sent = whenReady(use, kWritable, [&](SOCKET native) {
            return ::sendto(native, static_cast<const char*>(bytes), size, 0,
                            reinterpret_cast<const sockaddr*>(&target), sizeof target);
        });
        return resultOf(use, sent, kSockNotSocket);
    }

    int receive(SPW_Socket socket, void* buffer, int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const int received = whenReady(
            use, kReadable, [&](SOCKET native) { return ::recv(native, static_cast<char*>(buffer), size, 0); });
        return resultOf(use, received, kSockNotSocket);
    }

    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        sockaddr_in address = {};
        int received = whenReady(use, kReadable, [&](SOCKET native) {
            int length = sizeof address;
            return ::recvfrom(native, static_cast<char*>(buffer), size, 0, reinterpret_cast<sockaddr*>(&address),
                              &length);
        });
        // The buffer is full, and the rest of the datagram is lost.
        if (received == SOCKET_ERROR && WSAGetLastError() == WSAEMSGSIZE) {
            received = size;
        }
        const int result = resultOf(use, received, kSockInterrupted);
        if (result >= 0) {
            sender = SPW_CSocketAddressW32::toAddress(address.sin_addr);
        }
        return result;
    }

    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        clearReady(read);
        clearReady(except);
        Selection reading;
        Selection excepting;
        if (!reading.add(read) || !excepting.add(except)) {
            return failWith(kSockNotSocket);
        }
        if (reading.isEmpty() && excepting.isEmpty()) {
            return failWith(kSockInvalid);
        }
        timeval limit = {static_cast<long>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000 * 1000)};
        const int selected =
            ::select(0, reading.native(), nullptr, excepting.native(), timeoutMs == kSPWForever ? nullptr : &limit);
        const int code = WSAGetLastError();
        if (reading.anyClosed() || excepting.anyClosed()) {
            return failWith(kSockNotSocket);
        }
        if (selected <= 0) {
            return selected == 0 ? 0 : failWith(static_cast<SPW_Result>(code));
        }
        return reading.mark(read) + excepting.mark(except);
    }

    int setMulticastTtl(SPW_Socket socket, int ttl) override {
        const Use use(socket);
        return use ? setOption(use, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl) : -1;
    }

    int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        return changeMembership(socket, IP_ADD_MEMBERSHIP, group, interfaceAddress);
    }

    int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        return changeMembership(socket, IP_DROP_MEMBERSHIP, group, interfaceAddress);
    }

    bool hostName(SPW_CString& name) override {
        char buffer[kHostNameSize];
        if (::gethostname(buffer, sizeof buffer) != 0) {
            (void)fail();
            return false;
        }
        name = SPW_CString(buffer);
        return true;
    }

    bool resolve(const SPW_CString& name, SPW_CArray<SPW_CIpAddress>& addresses) override {
        SPW_CIpAddress address;
        if (SPW_CIpAddress::parse(name, address)) {
            addresses.append(address);
            return true;
        }
        // For this device's own name the platform answers the addresses of its interfaces.
        const hostent* const host = ::gethostbyname(name.toAnsi());
        if (host == nullptr) {
            (void)fail();
            return false;
        }
        for (char** entry = host->h_addr_list; *entry != nullptr; ++entry) {
            in_addr native;
            std::memcpy(&native, *entry, sizeof native);
            addresses.append(SPW_CSocketAddressW32::toAddress(native));
        }
        return true;
    }

    SPW_Result lastError() override { return lastCode.value.get(); }
};

SPW_CImmortal<SocketW32> sockets;

}  // namespace

SPW_CSocket* SPW_CSocket::instance = &sockets.value;
