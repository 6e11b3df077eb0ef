// Before <linux/errqueue.h>, which needs it and does not include it.
#include <ctime>

#include <linux/errqueue.h>
#include <linux/icmp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>

#include "SPW_CIcmpChannel.h"
#include "SPW_CSocketAddressPosix.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorPosix.h"

namespace {

constexpr std::size_t kRequestHeader = SPW_CIcmpPacket::kHeaderSize;
// A raw message is read whole, for its checksum; of the others the kernel has checked it, and the beginning will do.
constexpr std::size_t kRawBuffer = 65536;
constexpr std::size_t kDatagramBuffer = 576;
// Room for the replies of some thousand pingers that come all at once while the receiver waits for the processor.
constexpr int kRawQueueBytes = 4 * 1024 * 1024;
// More than the queue holds: the kernel doubles its room, and counts more than 512 bytes for each message.
constexpr int kMostPending = 16384;
constexpr std::size_t kSequences = 65536;
// The types of message that end echoes, as bits.
constexpr std::uint32_t kHeardTypes = 1u << ICMP_ECHOREPLY | 1u << ICMP_DEST_UNREACH | 1u << ICMP_TIME_EXCEEDED;
constexpr std::uint32_t kAllTypes = ~0u;

// Numbers all echoes of the process, so that a late reply to an echo that has ended fits no other for a long time.
std::atomic<std::uint64_t> lastEcho{0};

std::uint64_t randomNumber() {
    std::uint64_t number = 0;
    // Without random numbers other processes' replies are still told from ours by sequence and address.
    return ::getrandom(&number, sizeof number, GRND_NONBLOCK) == sizeof number ? number : 0;
}

// Tells the echoes of this process from those of all others.
std::uint64_t processSalt() {
    static std::atomic<std::uint64_t> salt{0};
    std::uint64_t known = salt.load();
    if (known == 0) {
        const std::uint64_t mine = randomNumber() | 1;
        known = salt.compare_exchange_strong(known, mine) ? mine : known;
    }
    return known;
}

SPW_Result codeOfSend(int error) {
    switch (error) {
        case ENETUNREACH:
            return kIcmpNetUnreachable;
        case EHOSTUNREACH:
            return kIcmpHostUnreachable;
        case EMSGSIZE:
            return kIcmpPacketTooBig;
        default:
            return SPW_CSysErrorPosix::socketCode(error);
    }
}

// kSysOk for a message that ends no echo: the kernel queues redirects as well, and the reply still comes.
SPW_Result codeOfQueuedError(const sock_extended_err& error) {
    return error.ee_origin == SO_EE_ORIGIN_ICMP ? SPW_CIcmpPacket::codeOfError(error.ee_type, error.ee_code)
                                                : codeOfSend(static_cast<int>(error.ee_errno));
}

int switchOn(int descriptor, int level, int option) {
    const int on = 1;
    return ::setsockopt(descriptor, level, option, &on, sizeof on);
}

// The kernel stamps what arrives while any socket of the device asks for stamps. It begins and ends that some time
// after it is asked. The socket of one echo alone would ask too late for the stamp of its own reply. One socket that
// receives nothing asks to the end of the process.
void keepStamping() {
    static std::atomic<bool> isAsked{false};
    if (isAsked.exchange(true)) {
        return;
    }
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor == -1 || switchOn(descriptor, SOL_SOCKET, SO_TIMESTAMPNS) != 0) {
        (void)::close(descriptor);
        isAsked = false;
    }
}

// Where an option is refused, the socket still works, if worse.
int openDatagram() {
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (descriptor != -1) {
        // Without this option the socket would not be told of "unreachable" messages.
        (void)switchOn(descriptor, IPPROTO_IP, IP_RECVERR);
        (void)switchOn(descriptor, IPPROTO_IP, IP_RECVTTL);
    }
    return descriptor;
}

void refuseTypes(int descriptor, std::uint32_t types) {
    icmp_filter filter{};
    filter.data = types;
    (void)::setsockopt(descriptor, SOL_RAW, ICMP_FILTER, &filter, sizeof filter);
}

// The same. The time-to-live stands in the IP header, which a raw socket delivers.
int openRaw() {
    const int descriptor = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (descriptor == -1) {
        return -1;
    }
    refuseTypes(descriptor, ~kHeardTypes);
    if (::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &kRawQueueBytes, sizeof kRawQueueBytes) != 0) {
        (void)::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &kRawQueueBytes, sizeof kRawQueueBytes);
    }
    return descriptor;
}

// One message with what the kernel tells beside it.
class Datagram {
public:
    // The buffer is the caller's.
    Datagram(void* buffer, std::size_t size) : m_piece{buffer, size} {
        m_header.msg_name = &m_address;
        m_header.msg_namelen = sizeof m_address;
        m_header.msg_iov = &m_piece;
        m_header.msg_iovlen = 1;
        m_header.msg_control = m_control;
        m_header.msg_controllen = sizeof m_control;
    }
    Datagram(const Datagram&) = delete;
    Datagram& operator=(const Datagram&) = delete;

    // The size of the message; -1, with errno saying why, when there is none. Does not wait.
    ssize_t receive(int descriptor, int flags) { return ::recvmsg(descriptor, &m_header, flags | MSG_DONTWAIT); }

    // The sender; of an entry in the queue of errors: whom the request was for.
    SPW_CIpAddress address() const { return SPW_CSocketAddressPosix::toAddress(m_address.sin_addr); }
    // 0 when the kernel did not tell.
    std::uint8_t timeToLive() {
        int value = 0;
        return find(IPPROTO_IP, IP_TTL, value) ? static_cast<std::uint8_t>(value) : std::uint8_t{0};
    }
    // Wall clock of the arrival; 0 when the kernel did not tell.
    std::int64_t stampNs() {
        timespec stamp;
        return find(SOL_SOCKET, SCM_TIMESTAMPNS, stamp) ? std::int64_t{stamp.tv_sec} * 1000000000 + stamp.tv_nsec : 0;
    }
    // False, with value unchanged, when the kernel did not tell.
    template <typename Value>
    bool find(int level, int type, Value& value) {
        for (cmsghdr* entry = CMSG_FIRSTHDR(&m_header); entry != nullptr; entry = CMSG_NXTHDR(&m_header, entry)) {
            if (entry->cmsg_level == level && entry->cmsg_type == type && entry->cmsg_len >= CMSG_LEN(sizeof value)) {
                std::memcpy(&value, CMSG_DATA(entry), sizeof value);
                return true;
            }
        }
        return false;
    }

private:
    sockaddr_in m_address{};
    iovec m_piece;
    alignas(cmsghdr) char m_control[512];
    msghdr m_header{};
};

}  // namespace

std::unique_ptr<SPW_CIcmpChannel> SPW_CIcmpChannel::open(Kind kind) {
    const int descriptor = kind == kRaw ? openRaw() : openDatagram();
    if (descriptor == -1) {
        return nullptr;
    }
    keepStamping();
    (void)switchOn(descriptor, SOL_SOCKET, SO_TIMESTAMPNS);  // without stamps the time of the reading has to do
    const int alarm = kind == kRaw ? ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1;
    if (kind == kRaw && alarm == -1) {
        const int code = errno;
        (void)::close(descriptor);
        errno = code;
        return nullptr;
    }
    return std::unique_ptr<SPW_CIcmpChannel>(new SPW_CIcmpChannel(descriptor, alarm, kind));
}

SPW_CIcmpChannel::SPW_CIcmpChannel(int descriptor, int alarm, Kind kind)
    : m_descriptor(descriptor),
      m_alarm(alarm),
      m_kind(kind),
      m_identifier(static_cast<std::uint16_t>(processSalt() >> 48)),
      m_buffer(new std::uint8_t[kind == kRaw ? kRawBuffer : kDatagramBuffer]),
      m_lateCode(kIcmpTimedOut) {}

SPW_CIcmpChannel::~SPW_CIcmpChannel() {
    (void)::close(m_descriptor);
    if (m_alarm != -1) {
        (void)::close(m_alarm);
    }
}

SPW_Result SPW_CIcmpChannel::echo(Group& group, const SPW_EchoRequest& request, SPW_EchoReply& reply) {
    const std::size_t size = kRequestHeader + request.dataSize;
    const std::unique_ptr<std::uint8_t[]> packet(new (std::nothrow) std::uint8_t[size]);
    if (packet == nullptr) {
        return kSysNotEnoughMemory;
    }
    Waiter waiter;
    waiter.group = &group;
    waiter.echo.target = request.address;
    waiter.echo.identifier = m_identifier;
    waiter.echo.checksIdentifier = m_kind == kRaw;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (group.m_isCancelled) {
            return kSysOperationAborted;
        }
        if (!enter(waiter)) {
            return kSockNoBuffers;
        }
        SPW_CIcmpPacket::composeRequest(waiter.echo, request.data, request.dataSize, packet.get());
    }
    // The time-out counts from the sending.
    SPW_Result code = send(waiter, packet.get(), size);
    const SPW_CDeadlinePosix deadline(request.timeoutMs == 0 ? 1 : request.timeoutMs);
    std::unique_lock<std::mutex> lock(m_lock);
    if (code == kSysOk) {
        code = await(lock, waiter, deadline);
    }
    leave(waiter);
    if (code == kSysOk) {
        reply.roundTripUs = SPW_CRoundTripPosix::microseconds(waiter.sending, waiter.arrival);
        reply.timeToLive = waiter.timeToLive;
    }
    return code;
}

void SPW_CIcmpChannel::setHearing(bool hears) {
    refuseTypes(m_descriptor, hears ? ~kHeardTypes : kAllTypes);
}

void SPW_CIcmpChannel::cancel(Group& group) {
    const std::lock_guard<std::mutex> guard(m_lock);
    group.m_isCancelled = true;
    for (const auto& entry : m_waiters) {
        if (entry.second->group == &group) {
            end(*entry.second, kSysOperationAborted);
        }
    }
}

// Gives the echo a number that no other echo under way has; false when there is none.
bool SPW_CIcmpChannel::enter(Waiter& waiter) {
    if (m_waiters.empty()) {
        discardPending();
    }
    if (m_waiters.size() >= kSequences) {
        return false;
    }
    std::uint64_t number = 0;
    do {
        number = ++lastEcho;
    } while (m_waiters.count(static_cast<std::uint16_t>(number)) != 0);
    waiter.echo.sequence = static_cast<std::uint16_t>(number);
    waiter.echo.token = processSalt() + number;
    m_waiters[waiter.echo.sequence] = &waiter;
    return true;
}

void SPW_CIcmpChannel::leave(Waiter& waiter) {
    m_waiters.erase(waiter.echo.sequence);
    // Somebody has to receive on. One that is still sending sees for itself that nobody does.
    if (m_receiver == nullptr && !m_waiters.empty()) {
        m_waiters.begin()->second->wake.notify_one();
    }
}

SPW_Result SPW_CIcmpChannel::send(Waiter& waiter, const std::uint8_t* packet, std::size_t size) {
    const sockaddr_in target = SPW_CSocketAddressPosix::toSockaddr(waiter.echo.target, 0);
    int error = 0;
    // A datagram socket tells of the failure of an earlier echo at the next call, whatever that is, and only once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        ssize_t sent = -1;
        do {
            waiter.sending = SPW_CClockReadingPosix::now();
            sent = ::sendto(m_descriptor, packet, size, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&target),
                            sizeof target);
        } while (sent == -1 && errno == EINTR);
        if (sent != -1) {
            return kSysOk;
        }
        error = errno;
    }
    return codeOfSend(error);
}

SPW_Result SPW_CIcmpChannel::await(std::unique_lock<std::mutex>& lock, Waiter& waiter,
                                   const SPW_CDeadlinePosix& deadline) {
    while (!waiter.isDone) {
        // Asked before the socket is: however many messages of others keep coming, the echo ends then.
        const bool isLate = deadline.hasPassed();
        const bool isPaused = m_backOff.failures() > 0 && SPW_CDeadlinePosix::Clock::now() < m_receiveDue;
        if (m_receiver == nullptr && !isPaused) {
            m_receiver = &waiter;
            lock.unlock();
            Message message;
            const Received received = receiveUntil(deadline, isLate, message);
            lock.lock();
            m_receiver = nullptr;
            noteReceived(received);
            if (received == kAnswer) {
                deliver(message);
            }
        } else if (!isLate) {
            waitForTurn(lock, waiter, deadline);
        }
        if (isLate && !waiter.isDone) {
            return m_lateCode;
        }
    }
    return waiter.code;
}

// Reads one message. When there is none, waits for one, unless it is late.
SPW_CIcmpChannel::Received SPW_CIcmpChannel::receiveUntil(const SPW_CDeadlinePosix& deadline, bool isLate,
                                                          Message& message) {
    const Received received = receiveNow(message);
    return received == kNothing && !isLate && !waitForMessage(deadline) ? kFailed : received;
}

void SPW_CIcmpChannel::noteReceived(Received received) {
    if (received != kFailed) {
        m_backOff.succeeded();
        m_lateCode = kIcmpTimedOut;
        return;
    }
    m_lateCode = SPW_CSysErrorPosix::socketCode(m_receiveError);
    m_receiveDue = SPW_CDeadlinePosix::Clock::now() + std::chrono::milliseconds(m_backOff.failed());
}

// Until another thread ends the echo or leaves the receiving to it, the pause of the receiving is over, or it is late.
void SPW_CIcmpChannel::waitForTurn(std::unique_lock<std::mutex>& lock, Waiter& waiter,
                                   const SPW_CDeadlinePosix& deadline) {
    if (m_receiver == nullptr) {
        const auto until = deadline.isForever() ? m_receiveDue : std::min(m_receiveDue, deadline.end());
        (void)waiter.wake.wait_until(lock, until);
    } else if (deadline.isForever()) {
        waiter.wake.wait(lock);
    } else {
        (void)waiter.wake.wait_until(lock, deadline.end());
    }
}

void SPW_CIcmpChannel::deliver(const Message& message) {
    const SPW_CIcmpPacket::Answer& answer = message.answer;
    const auto found = m_waiters.find(answer.sequence);
    if (found == m_waiters.end() || !SPW_CIcmpPacket::isAnswerTo(answer, found->second->echo)) {
        return;
    }
    Waiter& waiter = *found->second;
    if (!waiter.isDone) {
        waiter.arrival = message.arrival;
        waiter.timeToLive = answer.timeToLive;
    }
    end(waiter, answer.code);
}

void SPW_CIcmpChannel::end(Waiter& waiter, SPW_Result code) {
    if (waiter.isDone) {
        return;
    }
    waiter.isDone = true;
    waiter.code = code;
    if (&waiter == m_receiver) {
        wakeReceiver();
    } else {
        waiter.wake.notify_one();
    }
}

// A datagram socket belongs to one service, all of whose echoes end at a cancel, and shutting it down spares a
// descriptor for each pinger. The raw socket goes on for the others.
void SPW_CIcmpChannel::wakeReceiver() {
    if (m_kind == kDatagram) {
        (void)::shutdown(m_descriptor, SHUT_RDWR);  // fails for want of a connection, and wakes all the same
    } else {
        (void)::eventfd_write(m_alarm, 1);
    }
}

// Nobody has read the socket since the last echo ended; what has come meanwhile must not take the room of our reply.
// What comes from now on is left, or under a flood the request would never be sent.
void SPW_CIcmpChannel::discardPending() {
    Message ignored;
    int failures = 0;
    for (int i = 0; i < kMostPending && failures < SPW_CBackOff::kUsualLimit; ++i) {
        const Received received = receiveNow(ignored);
        if (received == kNothing) {
            return;
        }
        failures = received == kFailed ? failures + 1 : 0;
    }
}

// False when there can be no wait.
bool SPW_CIcmpChannel::waitForMessage(const SPW_CDeadlinePosix& deadline) {
    pollfd entries[] = {{m_descriptor, POLLIN, 0}, {m_alarm, POLLIN, 0}};
    timespec remaining;
    eventfd_t unused = 0;
    if (::ppoll(entries, 2, deadline.remaining(remaining), nullptr) != -1 &&
        (entries[1].revents == 0 || ::eventfd_read(m_alarm, &unused) == 0)) {
        return true;
    }
    m_receiveError = errno;
    return errno == EINTR;
}

// Reads one message if there is one.
SPW_CIcmpChannel::Received SPW_CIcmpChannel::receiveNow(Message& message) {
    Datagram datagram(m_buffer.get(), m_kind == kRaw ? kRawBuffer : kDatagramBuffer);
    const ssize_t size = datagram.receive(m_descriptor, 0);
    if (size == -1) {
        m_receiveError = errno;
        const bool isEmpty = m_receiveError == EAGAIN || m_receiveError == EINTR;
        const Received queued = m_kind == kDatagram ? receiveError(message.answer) : kNothing;
        return queued == kNothing && !isEmpty ? kFailed : queued;
    }
    const int count = static_cast<int>(size);
    SPW_CIcmpPacket::Answer& answer = message.answer;
    answer.timeToLive = datagram.timeToLive();
    const bool isAnswer = m_kind == kRaw
                              ? SPW_CIcmpPacket::parsePacket(m_buffer.get(), count, answer)
                              : SPW_CIcmpPacket::parseMessage(m_buffer.get(), count, datagram.address(), answer);
    if (!isAnswer) {
        return kOther;
    }
    message.arrival.stampNs = datagram.stampNs();
    message.arrival.reading = SPW_CClockReadingPosix::now();
    return kAnswer;
}

// Reads one entry of a datagram socket's queue of errors: the request as it was sent, the address that it was for, and
// beside them what went wrong.
SPW_CIcmpChannel::Received SPW_CIcmpChannel::receiveError(SPW_CIcmpPacket::Answer& answer) {
    Datagram datagram(m_buffer.get(), kDatagramBuffer);
    const ssize_t size = datagram.receive(m_descriptor, MSG_ERRQUEUE);
    if (size == -1) {
        return kNothing;
    }
    sock_extended_err error;
    if (!datagram.find(IPPROTO_IP, IP_RECVERR, error)) {
        return kOther;
    }
    answer.code = codeOfQueuedError(error);
    answer.target = datagram.address();
    const bool endsEcho =
        answer.code != kSysOk && SPW_CIcmpPacket::parseQuotedRequest(m_buffer.get(), static_cast<int>(size), answer);
    return endsEcho ? kAnswer : kOther;
}
