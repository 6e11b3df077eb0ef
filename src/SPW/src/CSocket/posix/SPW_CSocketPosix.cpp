#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <vector>

#include "SPW_CDeadlinePosix.h"
#include "SPW_CImmortal.h"
#include "SPW_CLazy.h"
#include "SPW_CSocket.h"
#include "SPW_CSocketAddressPosix.h"
#include "SPW_CSocketTable.h"
#include "SPW_CSocketWatchPosix.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorPosix.h"
#include "SPW_CUninterruptedPosix.h"

namespace {

SPW_CSocketTable table;
std::atomic<int> startups{0};
thread_local SPW_Result lastCode = kSysOk;

int failWith(SPW_Result code) {
    lastCode = code;
    return -1;
}

// For the usual end of a failed system call.
int fail() {
    return failWith(SPW_CSysErrorPosix::socketCode(errno));
}

// One operation's use of a socket, counted in the table for the life of the object.
class Use {
public:
    explicit Use(SPW_Socket handle) : m_slot(table.acquire(handle)) {
        if (m_slot == nullptr) {
            lastCode = kSockNotSocket;
        }
    }
    ~Use() {
        if (m_slot != nullptr) {
            table.release(m_slot);
        }
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    explicit operator bool() const { return m_slot != nullptr; }
    int descriptor() const { return m_slot->descriptor; }
    bool isStream() const { return m_slot->isStream; }
    // Another thread has closed the socket meanwhile.
    bool isClosed() const { return SPW_CSocketTable::isClosed(*m_slot); }

private:
    SPW_CSocketTable::Slot* m_slot;
};

// The result of a call that may have blocked. Shutting a socket down ends a receive with 0 bytes or with an error
// that depends on the state of the connection; callers are told one code instead.
int resultOf(const Use& use, ssize_t result, SPW_Result closedCode) {
    if (result > 0) {
        return static_cast<int>(result);
    }
    const int code = errno;
    if (use.isClosed()) {
        return failWith(closedCode);
    }
    return result == 0 ? 0 : failWith(SPW_CSysErrorPosix::socketCode(code));
}

int setOption(int descriptor, int level, int option, int value) {
    return ::setsockopt(descriptor, level, option, &value, sizeof value);
}

// The kernel holds on to a connection for 15 minutes after its far end has vanished or its own address has gone, and
// for ever when nothing is being sent on it. Other devices give up after half a minute; this one does the same.
constexpr int kLostAfterMs = 30000;
// The silence before the first question to the far end, the time between two questions, and their number. Together they
// make 30 s.
constexpr int kAskAfterSeconds = 15;
constexpr int kAskEverySeconds = 5;
constexpr int kQuestions = 3;
static_assert((kAskAfterSeconds + kAskEverySeconds * kQuestions) * 1000 == kLostAfterMs, "the same limit");

// For a connection on which this side sends, the connecting included.
void limitSending(int descriptor) {
    (void)setOption(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, kLostAfterMs);
}

// Of a listening socket the kernel tells other things under the same names.
bool isConnected(const tcp_info& info) {
    return info.tcpi_state != TCP_CLOSE && info.tcpi_state != TCP_LISTEN && info.tcpi_state != TCP_SYN_SENT;
}

// For a connection on which this side only listens: it would never notice that the far end has gone. Where an option is
// refused, the kernel's own limits hold.
void askForFarEnd(int descriptor) {
    (void)setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, kAskAfterSeconds);
    (void)setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, kAskEverySeconds);
    (void)setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, kQuestions);
    (void)setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
}

// The index of the interface that has the address now; 0 when none has it.
int interfaceIndexOf(const SPW_CIpAddress& address) {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return 0;
    }
    unsigned index = 0;
    for (const ifaddrs* entry = list; entry != nullptr && index == 0; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET &&
            SPW_CSocketAddressPosix::fromSockaddr(entry->ifa_addr) == address) {
            index = ::if_nametoindex(entry->ifa_name);
        }
    }
    ::freeifaddrs(list);
    return static_cast<int>(index);
}

// Which groups each socket has joined, and on which interface.
//
// The kernel looks for a membership on the interface that has the address at that time. An interface that has gone and
// come back with the same address is another one. The old membership would not be found; it would stay and count among
// the twenty that a socket may have.
class Memberships {
public:
    void remember(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& address, int index) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_all.push_back({socket, group, address, index});
    }
    // The index of the interface, or 0 when nothing is known. It is forgotten.
    int take(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& address) {
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto found = std::find_if(m_all.begin(), m_all.end(), [&](const Membership& known) {
            return known.socket == socket && known.group == group && known.address == address;
        });
        if (found == m_all.end()) {
            return 0;
        }
        const int index = found->index;
        m_all.erase(found);
        return index;
    }
    void forget(SPW_Socket socket) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_all.erase(
            std::remove_if(m_all.begin(), m_all.end(), [&](const Membership& known) { return known.socket == socket; }),
            m_all.end());
    }

private:
    struct Membership {
        SPW_Socket socket;
        SPW_CIpAddress group;
        SPW_CIpAddress address;
        int index;
    };

    std::mutex m_lock;
    std::vector<Membership> m_all;  // a few interfaces' worth
};

SPW_CImmortal<SPW_CLazy<Memberships>> memberships;  // a socket may still be closed during exit()

// index: the interface; 0 leaves it to the kernel to find the one that has the address.
int changeMembership(int descriptor, int option, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress,
                     int index) {
    ip_mreqn request{};
    request.imr_multiaddr = SPW_CSocketAddressPosix::toNative(group);
    request.imr_address = SPW_CSocketAddressPosix::toNative(interfaceAddress);
    request.imr_ifindex = index;
    return ::setsockopt(descriptor, IPPROTO_IP, option, &request, sizeof request) == 0 ? 0 : fail();
}

SPW_Socket openSocket(int type) {
    const int descriptor = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (descriptor == -1) {
        (void)fail();
        return kInvalidSocket;
    }
    const SPW_Socket socket = table.add(descriptor, type == SOCK_STREAM);
    if (socket == kInvalidSocket) {
        (void)failWith(kSockNoBuffers);
    }
    return socket;
}

// By default a datagram socket receives every group that any socket of this device has joined; a listener would hear a
// group through the membership of a sender.
int hearOwnGroupsOnly(int descriptor) {
    return setOption(descriptor, IPPROTO_IP, IP_MULTICAST_ALL, 0);
}

int setBlocking(int descriptor, bool blocking) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    return ::fcntl(descriptor, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

// Waits for a connect in progress; 0 or its errno.
int waitConnected(int descriptor) {
    pollfd entry{descriptor, POLLOUT, 0};
    if (uninterrupted([&] { return ::poll(&entry, 1, -1); }) == -1) {
        return errno;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// A shutdown does not wake a blocking connect() that begins after it. Therefore the connect begins without blocking:
// the wait for its end sees a shutdown whenever it comes.
int connectOrWake(const Use& use, const sockaddr_in& address) {
    if (::connect(use.descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return 0;
    }
    return errno == EINPROGRESS ? waitConnected(use.descriptor()) : errno;
}

int pollUntilTimeout(pollfd* entries, int count, std::uint32_t timeoutMs) {
    const SPW_CDeadlinePosix deadline(timeoutMs);
    return uninterrupted([&] {
        timespec remaining;
        return ::ppoll(entries, static_cast<nfds_t>(count), deadline.remaining(remaining), nullptr);
    });
}

// One select(): the sockets of both sets, counted in at the table, in the form that poll() takes. poll() knows no
// highest descriptor.
class Selection {
public:
    Selection() = default;
    ~Selection() {
        for (int i = 0; i < m_count; ++i) {
            table.release(m_slots[i]);
        }
    }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

    bool add(const SPW_CSocketSet* set, short events) {
        for (int i = 0; set != nullptr && i < set->size(); ++i) {
            SPW_CSocketTable::Slot* slot = table.acquire(set->at(i));
            if (slot == nullptr) {
                return false;
            }
            m_slots[m_count] = slot;
            m_entries[m_count++] = pollfd{slot->descriptor, events, 0};
        }
        return true;
    }
    bool isEmpty() const { return m_count == 0; }
    int wait(std::uint32_t timeoutMs) { return pollUntilTimeout(m_entries, m_count, timeoutMs); }
    bool anyClosed() const {
        for (int i = 0; i < m_count; ++i) {
            if (SPW_CSocketTable::isClosed(*m_slots[i])) {
                return true;
            }
        }
        return false;
    }
    // Marks in the set the sockets that had one of these events, and returns how many. Their entries begin at `first`.
    int mark(SPW_CSocketSet* set, int first, short events) const {
        int ready = 0;
        for (int i = 0; set != nullptr && i < set->size(); ++i) {
            const bool isReady = (m_entries[first + i].revents & events) != 0;
            set->setReady(i, isReady);
            ready += isReady ? 1 : 0;
        }
        return ready;
    }

private:
    int m_count = 0;
    SPW_CSocketTable::Slot* m_slots[2 * SPW_CSocketSet::kMaximum];
    pollfd m_entries[2 * SPW_CSocketSet::kMaximum];
};

void clearReady(SPW_CSocketSet* set) {
    if (set != nullptr) {
        set->clearReady();
    }
}

bool readHostName(char* buffer, std::size_t size) {
    if (::gethostname(buffer, size - 1) != 0) {
        (void)fail();
        return false;
    }
    buffer[size - 1] = '\0';
    return true;
}

// Asks the interfaces. The hosts file often knows this device's name as 127.0.1.1 alone, which would make the device
// deaf to groups.
bool appendInterfaceAddresses(SPW_CArray<SPW_CIpAddress>& addresses) {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        (void)fail();
        return false;
    }
    const int before = addresses.numberOfElements();
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_UP) != 0 && entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
            addresses.append(SPW_CSocketAddressPosix::fromSockaddr(entry->ifa_addr));
        }
    }
    ::freeifaddrs(list);
    if (addresses.numberOfElements() == before) {
        (void)failWith(kSockHostNotFound);
        return false;
    }
    return true;
}

SPW_Result codeOfResolver(int error) {
    switch (error) {
        case EAI_MEMORY:
            return kSockNoBuffers;
        case EAI_SYSTEM:
            return SPW_CSysErrorPosix::socketCode(errno);
        default:
            return kSockHostNotFound;
    }
}

bool appendResolved(const char* name, SPW_CArray<SPW_CIpAddress>& addresses) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    // One type of socket, or each address would come once for every type.
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int error = ::getaddrinfo(name, nullptr, &hints, &list);
    if (error != 0) {
        (void)failWith(codeOfResolver(error));
        return false;
    }
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
        addresses.append(SPW_CSocketAddressPosix::fromSockaddr(entry->ai_addr));
    }
    ::freeaddrinfo(list);
    return true;
}

class PosixSocket final : public SPW_CSocket {
public:
    SPW_Result startup() override {
        // There is no library to load. The count makes this platform answer as the other does.
        startups.fetch_add(1);
        return kSysOk;
    }

    void cleanup() override {
        int count = startups.load();
        while (count > 0 && !startups.compare_exchange_weak(count, count - 1)) {
        }
    }

    SPW_Socket openTcp() override { return openSocket(SOCK_STREAM); }

    SPW_Socket openUdp() override {
        const SPW_Socket socket = openSocket(SOCK_DGRAM);
        if (socket == kInvalidSocket) {
            return kInvalidSocket;
        }
        const Use use(socket);
        if (use) {
            (void)hearOwnGroupsOnly(use.descriptor());  // one that hears too much still does what it is for
        }
        return socket;
    }

    SPW_Socket openUdpShared() override {
        const SPW_Socket socket = openSocket(SOCK_DGRAM);
        if (socket == kInvalidSocket) {
            return kInvalidSocket;
        }
        const Use use(socket);
        if (use && (hearOwnGroupsOnly(use.descriptor()) != 0 ||
                    setOption(use.descriptor(), SOL_SOCKET, SO_REUSEADDR, 1) != 0)) {
            (void)fail();
            (void)close(socket);
            return kInvalidSocket;
        }
        return socket;
    }

    int close(SPW_Socket socket) override {
        SPW_CSocketTable::Slot* slot = table.acquireToClose(socket);
        if (slot == nullptr) {
            return failWith(kSockNotSocket);
        }
        // No operation can begin now. Where none is in progress, a plain close tells the far end what has happened: an
        // end, or a reset when bytes that it sent are unread.
        if (SPW_CSocketTable::hasOtherUses(*slot)) {
            // Fails for a socket that has no connection, and wakes what blocks on it all the same.
            (void)::shutdown(slot->descriptor, SHUT_RDWR);
        }
        table.release(slot);
        SPW_CSocketWatchPosix::noteClosed(socket);
        memberships.value.get().forget(socket);
        return 0;
    }

    int bind(SPW_Socket socket, std::uint16_t port) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        // Only for a port that was asked for, as a listener does. With address reuse the kernel might give two
        // connections to one target the same free port, and the second could not connect.
        if (use.isStream() && port != 0 && setOption(use.descriptor(), SOL_SOCKET, SO_REUSEADDR, 1) != 0) {
            return fail();
        }
        const sockaddr_in address = SPW_CSocketAddressPosix::toSockaddr(SPW_CIpAddress(), port);
        return ::bind(use.descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : fail();
    }

    int localPort(SPW_Socket socket) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (::getsockname(use.descriptor(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            return fail();
        }
        return address.sin_port == 0 ? failWith(kSockInvalid) : ntohs(address.sin_port);
    }

    int listen(SPW_Socket socket, int backlog) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        // Its connections inherit the option, and a port is free in spite of TIME_WAIT only when they have it. For a
        // port that the system chose bind() has not set it.
        if (use.isStream() && setOption(use.descriptor(), SOL_SOCKET, SO_REUSEADDR, 1) != 0) {
            return fail();
        }
        return ::listen(use.descriptor(), backlog) == 0 ? 0 : fail();
    }

    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        const Use use(socket);
        if (!use) {
            return kInvalidSocket;
        }
        sockaddr_in address{};
        const int descriptor = uninterrupted([&] {
            socklen_t size = sizeof address;
            return ::accept4(use.descriptor(), reinterpret_cast<sockaddr*>(&address), &size, SOCK_CLOEXEC);
        });
        if (descriptor == -1) {
            (void)resultOf(use, -1, kSockNotSocket);
            return kInvalidSocket;
        }
        if (use.isClosed()) {
            (void)::close(descriptor);
            (void)failWith(kSockNotSocket);
            return kInvalidSocket;
        }
        askForFarEnd(descriptor);
        const SPW_Socket accepted = table.add(descriptor, true);
        if (accepted == kInvalidSocket) {
            (void)failWith(kSockNoBuffers);
            return kInvalidSocket;
        }
        peer = SPW_CSocketAddressPosix::toAddress(address.sin_addr);
        return accepted;
    }

    int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        if (use.isStream()) {
            limitSending(use.descriptor());
            // The connect of a datagram socket never waits.
            if (setBlocking(use.descriptor(), false) != 0) {
                return fail();
            }
        }
        const int error = connectOrWake(use, SPW_CSocketAddressPosix::toSockaddr(address, port));
        if (use.isStream()) {
            (void)setBlocking(use.descriptor(), true);
        }
        if (use.isClosed()) {
            return failWith(kSockNotSocket);
        }
        return error == 0 ? 0 : failWith(SPW_CSysErrorPosix::socketCode(error));
    }

    int send(SPW_Socket socket, const void* bytes, int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const ssize_t sent = uninterrupted(
            [&] { return ::send(use.descriptor(), bytes, static_cast<std::size_t>(size), MSG_NOSIGNAL); });
        return resultOf(use, sent, kSockNotSocket);
    }

    bool tellUnanswered(SPW_Socket socket, SPW_Unanswered& unanswered) override {
        const Use use(socket);
        tcp_info info{};
        socklen_t size = sizeof info;
        if (!use || ::getsockopt(use.descriptor(), IPPROTO_TCP, TCP_INFO, &info, &size) != 0 || !isConnected(info)) {
            return false;
        }
        unanswered.packets = info.tcpi_unacked;
        unanswered.timeouts = info.tcpi_retransmits;
        unanswered.sinceAnswerMs = info.tcpi_last_ack_recv;
        return true;
    }

    int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
               int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const sockaddr_in target = SPW_CSocketAddressPosix::toSockaddr(address, port);
        const ssize_t sent = uninterrupted([&] {
            return ::sendto(use.descriptor(), bytes, static_cast<std::size_t>(size), MSG_NOSIGNAL,
                            reinterpret_cast<const sockaddr*>(&target), sizeof target);
        });
        return resultOf(use, sent, kSockNotSocket);
    }

    int receive(SPW_Socket socket, void* buffer, int size) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const ssize_t received =
            uninterrupted([&] { return ::recv(use.descriptor(), buffer, static_cast<std::size_t>(size), 0); });
        return resultOf(use, received, kSockNotSocket);
    }

    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        sockaddr_in address{};
        const ssize_t received = uninterrupted([&] {
            socklen_t length = sizeof address;
            return ::recvfrom(use.descriptor(), buffer, static_cast<std::size_t>(size), 0,
                              reinterpret_cast<sockaddr*>(&address), &length);
        });
        const int result = resultOf(use, received, kSockInterrupted);
        if (result >= 0) {
            sender = SPW_CSocketAddressPosix::toAddress(address.sin_addr);
        }
        return result;
    }

    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        clearReady(read);
        clearReady(except);
        Selection selection;
        if (!selection.add(read, POLLIN) || !selection.add(except, POLLPRI)) {
            return failWith(kSockNotSocket);
        }
        if (selection.isEmpty()) {
            return failWith(kSockInvalid);
        }
        const int polled = selection.wait(timeoutMs);
        if (selection.anyClosed()) {
            return failWith(kSockNotSocket);
        }
        if (polled <= 0) {
            return polled == 0 ? 0 : fail();
        }
        const int firstExcept = read == nullptr ? 0 : read->size();
        int ready = selection.mark(read, 0, POLLIN | POLLHUP | POLLERR);
        ready += selection.mark(except, firstExcept, POLLPRI);
        // Only a socket that is watched for exceptions alone and has come to its end can have woken us then.
        return ready > 0 ? ready : selection.mark(except, firstExcept, POLLHUP | POLLERR);
    }

    std::unique_ptr<SPW_CSocketWatch> openWatch() override {
        return std::make_unique<SPW_CSocketWatchPosix>(*this, table);
    }

    int setMulticastTtl(SPW_Socket socket, int ttl) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        return setOption(use.descriptor(), IPPROTO_IP, IP_MULTICAST_TTL, ttl) == 0 ? 0 : fail();
    }

    int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        const Use use(socket);
        if (!use) {
            return -1;
        }
        const int index = interfaceIndexOf(interfaceAddress);
        if (changeMembership(use.descriptor(), IP_ADD_MEMBERSHIP, group, interfaceAddress, index) != 0) {
            return -1;
        }
        memberships.value.get().remember(socket, group, interfaceAddress, index);
        if (use.isClosed()) {
            memberships.value.get().forget(socket);  // close() may have done so before there was anything to forget
        }
        return 0;
    }

    int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        const Use use(socket);
        return use ? changeMembership(use.descriptor(), IP_DROP_MEMBERSHIP, group, interfaceAddress,
                                      memberships.value.get().take(socket, group, interfaceAddress))
                   : -1;
    }

    bool hostName(SPW_CString& name) override {
        char buffer[NI_MAXHOST];
        if (!readHostName(buffer, sizeof buffer)) {
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
        const char* text = name.toAnsi();
        char ownName[NI_MAXHOST];
        if (readHostName(ownName, sizeof ownName) && ::strcasecmp(text, ownName) == 0) {
            return appendInterfaceAddresses(addresses);
        }
        return appendResolved(text, addresses);
    }

    SPW_Result lastError() override { return lastCode; }
};

PosixSocket posixSocket;

}  // namespace

SPW_CSocket* SPW_CSocket::instance = &posixSocket;
