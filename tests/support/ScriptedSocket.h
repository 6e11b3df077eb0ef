#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Patience.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"

// A whole network in memory: this device, and as many others as a test names.
//
// The sockets of the SPW_CSocket operations live on this device. A test plays another device with sockets of its own
// that live at that device's address (connectFrom, listenAt, openUdpAt) and are used with the same operations: send,
// receive, accept, close ... Where a test plays no device, datagrams are lost and connections time out at once;
// connections to this device without a listener are refused. The script may say otherwise.
//
// Blocking calls block, and are woken, as the contract says. Any thread may call anything.
class ScriptedSocket : public SPW_CSocket {
public:
    enum Call {
        kStartup,
        kOpenTcp,
        kOpenUdp,
        kOpenUdpShared,
        kClose,
        kBind,
        kLocalPort,
        kListen,
        kAccept,
        kConnect,
        kSend,
        kTellUnanswered,
        kSendTo,
        kReceive,
        kReceiveFrom,
        kSelect,
        kSetMulticastTtl,
        kJoinGroup,
        kDropGroup,
        kHostName,
        kResolve,
        kCalls
    };

    struct Sent {
        SPW_Socket socket;
        SPW_CIpAddress address;
        std::uint16_t port;
        std::string bytes;
    };
    struct Membership {
        SPW_Socket socket;
        SPW_CIpAddress group;
        SPW_CIpAddress interfaceAddress;
    };

    // ---- Script ----

    // The next `times` calls fail with this code; a call that blocks already fails at once.
    void failNext(Call call, SPW_Result code, int times = 1) {
        const Guard guard(m_lock);
        for (int i = 0; i < times; ++i) {
            m_failures[call].push_back(code);
        }
        m_changed.notify_all();
    }
    // Joins on this interface fail with this code; kSysOk ends that.
    void failJoinOn(const SPW_CIpAddress& interfaceAddress, SPW_Result code) {
        const Guard guard(m_lock);
        m_joinFailures[keyOf(interfaceAddress)] = code;
    }
    // The time-outs of the next `times` selects with a time-out pass at once; a select that waits already is among
    // them. Other time-outs do not pass, however long the test takes. A time-out of 0 passes always.
    void expireSelects(int times = 1) {
        const Guard guard(m_lock);
        m_expiredSelects += times;
        m_changed.notify_all();
    }
    // The time-out of the latest select that had to wait.
    std::uint32_t latestSelectMs() {
        const Guard guard(m_lock);
        return m_latestSelectMs;
    }
    // From now on the time-outs of selects pass by themselves too.
    void letTimePass() {
        const Guard guard(m_lock);
        m_timePasses = true;
    }
    void setHostName(const char16_t* name) {
        const Guard guard(m_lock);
        m_hostName = name;
    }
    // The addresses of this device, to which its own name resolves, in this order. The first that is no loopback is the
    // sender of what it sends.
    void setAddresses(std::vector<SPW_CIpAddress> addresses) {
        const Guard guard(m_lock);
        m_addresses = std::move(addresses);
    }
    void addHost(const char16_t* name, std::vector<SPW_CIpAddress> addresses) {
        const Guard guard(m_lock);
        m_hosts.emplace_back(name, std::move(addresses));
    }
    // What every connection tells of its answers from now on. Until then none tells anything.
    void setUnanswered(const SPW_Unanswered& unanswered) {
        const Guard guard(m_lock);
        m_unanswered = unanswered;
    }
    // Connections to this address wait for ever.
    void setSilent(const SPW_CIpAddress& address) {
        const Guard guard(m_lock);
        m_silent.push_back(address);
    }

    // ---- Other devices ----

    // A TCP client at `from` connects to this device's listening socket. kInvalidSocket without a listener.
    SPW_Socket connectFrom(const SPW_CIpAddress& from, std::uint16_t port) {
        const Guard guard(m_lock);
        const SPW_Socket client = addEnd(true, false);
        m_ends[client].home = from;
        if (connectTo(client, kLoopback, port)) {
            return client;
        }
        m_ends.erase(client);
        return kInvalidSocket;
    }
    // A TCP server at `home`; accept() gives the test the connections of this device.
    SPW_Socket listenAt(const SPW_CIpAddress& home, std::uint16_t port) {
        const Guard guard(m_lock);
        const SPW_Socket server = addEnd(true, false);
        m_ends[server].home = home;
        m_ends[server].port = port;
        m_ends[server].isListening = true;
        return server;
    }
    // A UDP socket at `home`.
    SPW_Socket openUdpAt(const SPW_CIpAddress& home, std::uint16_t port) {
        const Guard guard(m_lock);
        const SPW_Socket socket = addEnd(false, false);
        m_ends[socket].home = home;
        m_ends[socket].port = port;
        return socket;
    }
    // A datagram from `sender` reaches every UDP socket of this device on that port; false when there is none.
    bool deliver(std::uint16_t port, const SPW_CIpAddress& sender, std::string bytes) {
        const Guard guard(m_lock);
        bool delivered = false;
        for (auto& [socket, end] : m_ends) {
            if (!end.isStream && isOwn(end.home) && end.port == port) {
                end.datagrams.push_back({sender, bytes});
                delivered = true;
            }
        }
        m_changed.notify_all();
        return delivered;
    }
    // Urgent data arrive: select() finds the socket in its exception set until it is closed.
    void setUrgent(SPW_Socket socket) {
        const Guard guard(m_lock);
        if (End* end = find(socket)) {
            end->isUrgent = true;
        }
        m_changed.notify_all();
    }

    // ---- Record ----

    // What this device has sent, in order, by send and sendTo.
    std::vector<Sent> sent() {
        const Guard guard(m_lock);
        return m_sent;
    }
    // How often a call was made, failed ones among them.
    int calls(Call call) {
        const Guard guard(m_lock);
        return m_calls[call];
    }
    // startup() less cleanup().
    int startups() {
        const Guard guard(m_lock);
        return m_startups;
    }
    // The open sockets of this device, connections that are not accepted yet among them.
    int openSockets() {
        const Guard guard(m_lock);
        return static_cast<int>(std::count_if(m_ends.begin(), m_ends.end(),
                                              [this](const auto& entry) { return isOwn(entry.second.home); }));
    }
    std::vector<Membership> memberships() {
        const Guard guard(m_lock);
        return m_memberships;
    }
    // The latest setMulticastTtl(); -1 when there was none.
    int multicastTtl(SPW_Socket socket) {
        const Guard guard(m_lock);
        const End* end = find(socket);
        return end == nullptr ? -1 : end->ttl;
    }

    // The waits below answer false when what they wait for does not happen.

    // Waits until so many threads block in the call.
    bool waitUntilBlocked(Call call, int threads = 1) {
        return waitFor([&] { return m_blocked[call] >= threads; });
    }
    // Waits until a call was made so often.
    bool waitForCalls(Call call, int count) {
        return waitFor([&] { return m_calls[call] >= count; });
    }
    // Waits until this device has sent so often to that address.
    bool waitForSentTo(const SPW_CIpAddress& address, std::size_t count) {
        return waitFor([&] {
            return count <= static_cast<std::size_t>(std::count_if(
                                m_sent.begin(), m_sent.end(), [&](const Sent& s) { return s.address == address; }));
        });
    }

    // ---- SPW_CSocket ----

    SPW_Result startup() override {
        const Guard guard(m_lock);
        SPW_Result code = kSysOk;
        if (begin(kStartup, code)) {
            ++m_startups;
        }
        return code;
    }
    void cleanup() override {
        const Guard guard(m_lock);
        m_startups = std::max(0, m_startups - 1);
    }

    SPW_Socket openTcp() override { return open(kOpenTcp, true, false); }
    SPW_Socket openUdp() override { return open(kOpenUdp, false, false); }
    SPW_Socket openUdpShared() override { return open(kOpenUdpShared, false, true); }

    int close(SPW_Socket socket) override {
        const Guard guard(m_lock);
        if (!begin(kClose)) {
            return -1;
        }
        if (find(socket) == nullptr) {
            return fail(kSockNotSocket);
        }
        remove(socket);
        m_changed.notify_all();
        return 0;
    }

    int bind(SPW_Socket socket, std::uint16_t port) override {
        const Guard guard(m_lock);
        End* end = findFor(kBind, socket);
        if (end == nullptr) {
            return -1;
        }
        if (end->port != 0) {
            return fail(kSockInvalid);
        }
        if (port != 0 && isTaken(*end, port)) {
            return fail(kSockAddressInUse);
        }
        end->port = port != 0 ? port : freePort();
        return 0;
    }

    int localPort(SPW_Socket socket) override {
        const Guard guard(m_lock);
        const End* end = findFor(kLocalPort, socket);
        if (end == nullptr) {
            return -1;
        }
        return end->port == 0 ? fail(kSockInvalid) : end->port;
    }

    int listen(SPW_Socket socket, int backlog) override {
        (void)backlog;  // connections queue without a limit
        const Guard guard(m_lock);
        End* end = findFor(kListen, socket);
        if (end == nullptr) {
            return -1;
        }
        if (!end->isStream) {
            return fail(kSockNotSupported);
        }
        if (end->port == 0) {
            end->port = freePort();
        }
        if (!end->isListening && isTaken(*end, end->port)) {
            return fail(kSockAddressInUse);
        }
        end->isListening = true;
        return 0;
    }

    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        Lock lock(m_lock);
        const End* checked = findFor(kAccept, socket);
        if (checked == nullptr) {
            return kInvalidSocket;
        }
        if (!checked->isListening) {
            (void)fail(kSockInvalid);
            return kInvalidSocket;
        }
        End* end = block(lock, kAccept, socket, kSockNotSocket, [](const End& e) { return !e.waiting.empty(); });
        if (end == nullptr) {
            return kInvalidSocket;
        }
        const SPW_Socket accepted = end->waiting.front();
        end->waiting.pop_front();
        peer = m_ends[accepted].peerAddress;
        return accepted;
    }

    int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) override {
        Lock lock(m_lock);
        if (findFor(kConnect, socket) == nullptr) {
            return -1;
        }
        if (address == SPW_CIpAddress::none()) {
            return fail(kSockNetUnreachable);
        }
        if (std::find(m_silent.begin(), m_silent.end(), address) != m_silent.end()) {
            (void)block(lock, kConnect, socket, kSockNotSocket, [](const End&) { return false; });
            return -1;
        }
        if (!connectTo(socket, address, port)) {
            return fail(isOwn(address) ? kSockRefused : kSockTimedOut);
        }
        return 0;
    }

    int send(SPW_Socket socket, const void* bytes, int size) override {
        Lock lock(m_lock);
        const End* checked = findFor(kSend, socket);
        if (checked == nullptr) {
            return -1;
        }
        if (checked->peer == kInvalidSocket) {
            return fail(kSockNotConnected);
        }
        End* end = block(lock, kSend, socket, kSockNotSocket, [this](const End& e) {
            const End* far = find(e.peer);
            return far == nullptr || e.resetCode != kSysOk || far->stream.size() < kStreamBuffer;
        });
        if (end == nullptr) {
            return -1;
        }
        if (end->resetCode != kSysOk) {
            return fail(end->resetCode);
        }
        if (End* far = find(end->peer)) {
            far->stream.append(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
        } else {
            // The answer to this send tells the sender that the far end has gone.
            end->resetCode = kSockReset;
        }
        return recordSent(*end, socket, end->peerAddress, end->peerPort, bytes, size);
    }

    bool tellUnanswered(SPW_Socket socket, SPW_Unanswered& unanswered) override {
        const Guard guard(m_lock);
        const End* end = findFor(kTellUnanswered, socket);
        if (end == nullptr || end->peer == kInvalidSocket || !m_unanswered) {
            return false;
        }
        unanswered = *m_unanswered;
        return true;
    }

    int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
               int size) override {
        const Guard guard(m_lock);
        End* end = findFor(kSendTo, socket);
        if (end == nullptr) {
            return -1;
        }
        if (address == SPW_CIpAddress::none()) {
            return fail(kSockAccess);
        }
        if (size > kLargestDatagram) {
            return fail(kSockMessageSize);
        }
        if (end->port == 0) {
            end->port = freePort();
        }
        const Datagram datagram{senderOf(*end, address),
                                std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size))};
        for (auto& [handle, target] : m_ends) {
            if (!target.isStream && target.port == port && isReachedBy(handle, target, address)) {
                target.datagrams.push_back(datagram);
            }
        }
        return recordSent(*end, socket, address, port, bytes, size);
    }

    int receive(SPW_Socket socket, void* buffer, int size) override {
        Lock lock(m_lock);
        const End* checked = findFor(kReceive, socket);
        if (checked == nullptr) {
            return -1;
        }
        if (checked->peer == kInvalidSocket) {
            return fail(kSockNotConnected);
        }
        End* end = block(lock, kReceive, socket, kSockNotSocket, [this](const End& e) { return isReadable(e); });
        if (end == nullptr) {
            return -1;
        }
        if (end->stream.empty() && end->resetCode != kSysOk) {
            return fail(end->resetCode);
        }
        const std::size_t count = std::min(end->stream.size(), static_cast<std::size_t>(size));
        std::copy_n(end->stream.begin(), count, static_cast<char*>(buffer));
        end->stream.erase(0, count);
        m_changed.notify_all();
        return static_cast<int>(count);
    }

    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        Lock lock(m_lock);
        if (findFor(kReceiveFrom, socket) == nullptr) {
            return -1;
        }
        End* end = block(lock, kReceiveFrom, socket, kSockInterrupted, [this](const End& e) { return isReadable(e); });
        if (end == nullptr) {
            return -1;
        }
        const Datagram datagram = std::move(end->datagrams.front());
        end->datagrams.pop_front();
        const std::size_t count = std::min(datagram.bytes.size(), static_cast<std::size_t>(size));
        std::copy_n(datagram.bytes.begin(), count, static_cast<char*>(buffer));
        sender = datagram.sender;
        return static_cast<int>(count);
    }

    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        Lock lock(m_lock);
        if (!begin(kSelect)) {
            return -1;
        }
        if (sizeOf(read) + sizeOf(except) == 0) {
            return fail(kSockInvalid);
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        SPW_Result code = kSysOk;
        for (;;) {
            const int ready = markReady(read, except);
            if (ready != 0) {
                return ready > 0 ? ready : fail(kSockNotSocket);
            }
            if (takeFailure(kSelect, code)) {
                return fail(code);
            }
            if (timeoutMs != kSPWForever && (timeoutMs == 0 || hasExpired(deadline))) {
                return 0;
            }
            m_latestSelectMs = timeoutMs;
            const Blocked blocked(*this, kSelect);
            if (timeoutMs == kSPWForever || !m_timePasses) {
                m_changed.wait(lock);
            } else {
                (void)m_changed.wait_until(lock, deadline);
            }
        }
    }

    int setMulticastTtl(SPW_Socket socket, int ttl) override {
        const Guard guard(m_lock);
        End* end = findFor(kSetMulticastTtl, socket);
        if (end == nullptr) {
            return -1;
        }
        end->ttl = ttl;
        return 0;
    }

    int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        const Guard guard(m_lock);
        if (findFor(kJoinGroup, socket) == nullptr) {
            return -1;
        }
        const auto scripted = m_joinFailures.find(keyOf(interfaceAddress));
        if (scripted != m_joinFailures.end() && scripted->second != kSysOk) {
            return fail(scripted->second);
        }
        if (!isMulticast(group)) {
            return fail(kSockInvalid);
        }
        if (!isOwn(interfaceAddress)) {
            return fail(kSockAddressNotAvailable);
        }
        if (findMembership(socket, group, interfaceAddress) != m_memberships.end()) {
            return fail(kSockAddressInUse);
        }
        m_memberships.push_back({socket, group, interfaceAddress});
        return 0;
    }

    int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        const Guard guard(m_lock);
        if (findFor(kDropGroup, socket) == nullptr) {
            return -1;
        }
        const auto found = findMembership(socket, group, interfaceAddress);
        if (found == m_memberships.end()) {
            return fail(kSockAddressNotAvailable);
        }
        m_memberships.erase(found);
        return 0;
    }

    bool hostName(SPW_CString& name) override {
        const Guard guard(m_lock);
        if (!begin(kHostName)) {
            return false;
        }
        name = m_hostName;
        return true;
    }

    bool resolve(const SPW_CString& name, SPW_CArray<SPW_CIpAddress>& addresses) override {
        const Guard guard(m_lock);
        if (!begin(kResolve)) {
            return false;
        }
        SPW_CIpAddress quad;
        if (SPW_CIpAddress::parse(name, quad)) {
            addresses.append(quad);
            return true;
        }
        const std::vector<SPW_CIpAddress>* found = findHost(name);
        if (found == nullptr || found->empty()) {
            (void)fail(kSockHostNotFound);
            return false;
        }
        for (const SPW_CIpAddress& address : *found) {
            addresses.append(address);
        }
        return true;
    }

    SPW_Result lastError() override { return lastCode(); }

private:
    using Guard = std::lock_guard<std::mutex>;
    using Lock = std::unique_lock<std::mutex>;

    static constexpr SPW_CIpAddress kLoopback{127, 0, 0, 1};
    static constexpr std::size_t kStreamBuffer = 1 << 20;
    static constexpr int kLargestDatagram = 65507;
    static constexpr std::uint16_t kFirstFreePort = 49152;

    struct Datagram {
        SPW_CIpAddress sender;
        std::string bytes;
    };
    struct End {
        bool isStream = false;
        bool isShared = false;
        SPW_CIpAddress home = kLoopback;  // the loopback stands for all addresses of this device
        std::uint16_t port = 0;
        int ttl = -1;
        bool isUrgent = false;
        std::deque<Datagram> datagrams;
        bool isListening = false;
        std::deque<SPW_Socket> waiting;  // connected and not yet accepted
        SPW_Socket peer = kInvalidSocket;
        SPW_CIpAddress peerAddress;
        std::uint16_t peerPort = 0;
        std::string stream;
        SPW_Result resetCode = kSysOk;
    };

    // Counts a thread that blocks, for waitUntilBlocked().
    class Blocked {
    public:
        Blocked(ScriptedSocket& owner, Call call) : m_owner(owner), m_call(call) {
            ++m_owner.m_blocked[m_call];
            m_owner.m_changed.notify_all();
        }
        ~Blocked() { --m_owner.m_blocked[m_call]; }
        Blocked(const Blocked&) = delete;
        Blocked& operator=(const Blocked&) = delete;

    private:
        ScriptedSocket& m_owner;
        const Call m_call;
    };

    static SPW_Result& lastCode() {
        static thread_local SPW_Result code = kSysOk;
        return code;
    }
    static int fail(SPW_Result code) {
        lastCode() = code;
        return -1;
    }
    static std::uint32_t keyOf(const SPW_CIpAddress& address) {
        return static_cast<std::uint32_t>(address.octet(0)) << 24 | static_cast<std::uint32_t>(address.octet(1)) << 16 |
               static_cast<std::uint32_t>(address.octet(2)) << 8 | address.octet(3);
    }
    static bool isMulticast(const SPW_CIpAddress& address) { return (address.octet(0) & 0xF0) == 0xE0; }
    static int sizeOf(const SPW_CSocketSet* set) { return set == nullptr ? 0 : set->size(); }

    template <typename Condition>
    bool waitFor(Condition condition) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, kPatience, condition);
    }

    // All below: under m_lock.

    bool takeFailure(Call call, SPW_Result& code) {
        if (m_failures[call].empty()) {
            return false;
        }
        code = m_failures[call].front();
        m_failures[call].pop_front();
        return true;
    }
    // Counts a call; false, with the code also remembered as the last error, when the script fails it.
    bool begin(Call call, SPW_Result& code) {
        ++m_calls[call];
        m_changed.notify_all();
        if (!takeFailure(call, code)) {
            return true;
        }
        (void)fail(code);
        return false;
    }
    bool begin(Call call) {
        SPW_Result code = kSysOk;
        return begin(call, code);
    }

    End* find(SPW_Socket socket) {
        const auto found = m_ends.find(socket);
        return found == m_ends.end() ? nullptr : &found->second;
    }
    End* findFor(Call call, SPW_Socket socket) {
        if (!begin(call)) {
            return nullptr;
        }
        End* end = find(socket);
        if (end == nullptr) {
            (void)fail(kSockNotSocket);
        }
        return end;
    }
    // Waits until the socket's end fulfils the condition. Null, with the code remembered, when the socket is closed or
    // the script fails the call meanwhile.
    template <typename Condition>
    End* block(Lock& lock, Call call, SPW_Socket socket, SPW_Result closedCode, Condition condition) {
        SPW_Result code = kSysOk;
        for (;;) {
            End* end = find(socket);
            if (end == nullptr || takeFailure(call, code)) {
                (void)fail(end == nullptr ? closedCode : code);
                return nullptr;
            }
            if (condition(*end)) {
                return end;
            }
            const Blocked blocked(*this, call);
            m_changed.wait(lock);
        }
    }

    SPW_Socket open(Call call, bool isStream, bool isShared) {
        const Guard guard(m_lock);
        return begin(call) ? addEnd(isStream, isShared) : kInvalidSocket;
    }
    SPW_Socket addEnd(bool isStream, bool isShared) {
        End end;
        end.isStream = isStream;
        end.isShared = isShared;
        m_ends[++m_lastSocket] = end;
        return m_lastSocket;
    }
    void remove(SPW_Socket socket) {
        End end = std::move(m_ends[socket]);
        m_ends.erase(socket);
        for (const SPW_Socket waiting : end.waiting) {
            remove(waiting);
        }
        // Closing over unread data tells the far end that they are lost.
        End* far = find(end.peer);
        if (far != nullptr && !end.stream.empty()) {
            far->resetCode = kSockReset;
        }
        m_memberships.erase(std::remove_if(m_memberships.begin(), m_memberships.end(),
                                           [socket](const Membership& m) { return m.socket == socket; }),
                            m_memberships.end());
    }

    bool isOwn(const SPW_CIpAddress& address) const {
        return address.octet(0) == 127 ||
               std::find(m_addresses.begin(), m_addresses.end(), address) != m_addresses.end();
    }
    bool isSameDevice(const SPW_CIpAddress& a, const SPW_CIpAddress& b) const {
        return a == b || (isOwn(a) && isOwn(b));
    }
    SPW_CIpAddress senderOf(const End& end, const SPW_CIpAddress& target) const {
        if (!isOwn(end.home)) {
            return end.home;
        }
        if (target.octet(0) == 127) {
            return kLoopback;
        }
        const auto found = std::find_if(m_addresses.begin(), m_addresses.end(),
                                        [](const SPW_CIpAddress& a) { return a.octet(0) != 127; });
        return found == m_addresses.end() ? kLoopback : *found;
    }
    bool isReachedBy(SPW_Socket socket, const End& end, const SPW_CIpAddress& target) const {
        if (!isMulticast(target)) {
            return isSameDevice(end.home, target);
        }
        return std::any_of(m_memberships.begin(), m_memberships.end(),
                           [&](const Membership& m) { return m.socket == socket && m.group == target; });
    }

    bool isTaken(const End& wanted, std::uint16_t port) const {
        return std::any_of(m_ends.begin(), m_ends.end(), [&](const auto& entry) {
            const End& other = entry.second;
            return &other != &wanted && other.port == port && other.isStream == wanted.isStream &&
                   isSameDevice(other.home, wanted.home) &&
                   (other.isStream ? other.isListening : !(other.isShared && wanted.isShared));
        });
    }
    std::uint16_t freePort() {
        if (m_nextPort < kFirstFreePort) {
            m_nextPort = kFirstFreePort;
        }
        return m_nextPort++;
    }

    bool connectTo(SPW_Socket client, const SPW_CIpAddress& address, std::uint16_t port) {
        for (auto& [handle, listener] : m_ends) {
            if (!listener.isListening || listener.port != port || !isSameDevice(listener.home, address)) {
                continue;
            }
            const SPW_Socket server = addEnd(true, false);
            End& near = m_ends[client];
            End& far = m_ends[server];
            if (near.port == 0) {
                near.port = freePort();
            }
            far.home = listener.home;
            far.port = port;
            joinEnds(near, server, address, port);
            joinEnds(far, client, senderOf(near, address), near.port);
            listener.waiting.push_back(server);
            m_changed.notify_all();
            return true;
        }
        return false;
    }
    static void joinEnds(End& end, SPW_Socket peer, const SPW_CIpAddress& address, std::uint16_t port) {
        end.peer = peer;
        end.peerAddress = address;
        end.peerPort = port;
    }

    int recordSent(const End& end, SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port,
                   const void* bytes, int size) {
        if (isOwn(end.home)) {
            m_sent.push_back(
                {socket, address, port, std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size))});
        }
        m_changed.notify_all();
        return size;
    }

    bool isReadable(const End& end) {
        if (!end.isStream) {
            return !end.datagrams.empty();
        }
        if (end.isListening) {
            return !end.waiting.empty();
        }
        return !end.stream.empty() || end.resetCode != kSysOk ||
               (end.peer != kInvalidSocket && find(end.peer) == nullptr);
    }
    // How many entries of both sets are ready, marked in them; -1 when a socket is closed.
    int markReady(SPW_CSocketSet* read, SPW_CSocketSet* except) {
        int ready = 0;
        bool closed = false;
        const auto mark = [&](SPW_CSocketSet* set, auto condition) {
            for (int i = 0; i < sizeOf(set); ++i) {
                const End* end = find(set->at(i));
                closed = closed || end == nullptr;
                const bool isReady = end != nullptr && condition(*end);
                set->setReady(i, isReady);
                ready += isReady ? 1 : 0;
            }
        };
        mark(read, [this](const End& end) { return isReadable(end); });
        mark(except, [](const End& end) { return end.isUrgent; });
        if (!closed) {
            return ready;
        }
        const auto never = [](const End&) { return false; };
        mark(read, never);
        mark(except, never);
        return -1;
    }
    bool hasExpired(std::chrono::steady_clock::time_point deadline) {
        if (m_expiredSelects > 0) {
            --m_expiredSelects;
            return true;
        }
        return m_timePasses && std::chrono::steady_clock::now() >= deadline;
    }

    std::vector<Membership>::iterator findMembership(SPW_Socket socket, const SPW_CIpAddress& group,
                                                     const SPW_CIpAddress& interfaceAddress) {
        return std::find_if(m_memberships.begin(), m_memberships.end(), [&](const Membership& m) {
            return m.socket == socket && m.group == group && m.interfaceAddress == interfaceAddress;
        });
    }
    const std::vector<SPW_CIpAddress>* findHost(const SPW_CString& name) const {
        if (name.compareNoCase(m_hostName) == 0) {
            return &m_addresses;
        }
        for (const auto& [host, addresses] : m_hosts) {
            if (name.compareNoCase(host) == 0) {
                return &addresses;
            }
        }
        return nullptr;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::array<std::deque<SPW_Result>, kCalls> m_failures;
    std::array<int, kCalls> m_calls{};
    std::array<int, kCalls> m_blocked{};
    std::map<std::uint32_t, SPW_Result> m_joinFailures;
    int m_expiredSelects = 0;
    std::uint32_t m_latestSelectMs = 0;
    bool m_timePasses = false;
    SPW_CString m_hostName = u"device";
    std::vector<SPW_CIpAddress> m_addresses{kLoopback, SPW_CIpAddress(10, 0, 0, 1)};
    std::vector<std::pair<SPW_CString, std::vector<SPW_CIpAddress>>> m_hosts;
    std::optional<SPW_Unanswered> m_unanswered;
    std::vector<SPW_CIpAddress> m_silent;
    int m_startups = 0;
    SPW_Socket m_lastSocket = 0;
    std::uint16_t m_nextPort = kFirstFreePort;
    std::map<SPW_Socket, End> m_ends;
    std::vector<Membership> m_memberships;
    std::vector<Sent> m_sent;
};
