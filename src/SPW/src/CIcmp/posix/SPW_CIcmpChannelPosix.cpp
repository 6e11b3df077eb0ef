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

int openDatagram() {
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (descriptor != -1) {
        // Without this option the socket would not be told of "unreachable" messages.
        const int on = 1;
        (void)::setsockopt(descriptor, IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    }
    return descriptor;
}

void refuseTypes(int descriptor, std::uint32_t types) {
    icmp_filter filter{};
    filter.data = types;
    (void)::setsockopt(descriptor, SOL_RAW, ICMP_FILTER, &filter, sizeof filter);
}

int openRaw() {
    const int descriptor = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (descriptor == -1) {
        return -1;
    }
    // Where an option fails, the socket still works, if worse.
    refuseTypes(descriptor, ~kHeardTypes);
    if (::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &kRawQueueBytes, sizeof kRawQueueBytes) != 0) {
        (void)::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &kRawQueueBytes, sizeof kRawQueueBytes);
    }
    return descriptor;
}

}  // namespace

std::unique_ptr<SPW_CIcmpChannel> SPW_CIcmpChannel::open(Kind kind) {
    const int descriptor = kind == kRaw ? openRaw() : openDatagram();
    if (descriptor == -1) {
        return nullptr;
    }
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
      m_buffer(new std::uint8_t[kind == kRaw ? kRawBuffer : kDatagramBuffer]) {}

SPW_CIcmpChannel::~SPW_CIcmpChannel() {
    (void)::close(m_descriptor);
    if (m_alarm != -1) {
        (void)::close(m_alarm);
    }
}

SPW_Result SPW_CIcmpChannel::echo(Group& group, const SPW_EchoRequest& request) {
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

SPW_Result SPW_CIcmpChannel::send(const Waiter& waiter, const std::uint8_t* packet, std::size_t size) {
    const sockaddr_in target = SPW_CSocketAddressPosix::toSockaddr(waiter.echo.target, 0);
    int error = 0;
    // A datagram socket tells of the failure of an earlier echo at the next call, whatever that is, and only once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        ssize_t sent = -1;
        do {
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
        if (m_receiver == nullptr) {
            m_receiver = &waiter;
            lock.unlock();
            SPW_CIcmpPacket::Answer answer;
            const Received received = receiveNow(answer);
            const bool isLate = deadline.hasPassed();
            if (received == kNothing && !isLate) {
                waitForMessage(deadline);
            }
            lock.lock();
            m_receiver = nullptr;
            if (received == kAnswer) {
                deliver(answer);
            }
            // However many messages of others keep coming.
            if (isLate && !waiter.isDone) {
                return kIcmpTimedOut;
            }
        } else if (deadline.isForever()) {
            waiter.wake.wait(lock);
        } else if (waiter.wake.wait_until(lock, deadline.end()) == std::cv_status::timeout && !waiter.isDone &&
                   m_receiver != nullptr) {
            return kIcmpTimedOut;
        }
    }
    return waiter.code;
}

void SPW_CIcmpChannel::deliver(const SPW_CIcmpPacket::Answer& answer) {
    const auto found = m_waiters.find(answer.sequence);
    if (found == m_waiters.end() || !SPW_CIcmpPacket::isAnswerTo(answer, found->second->echo)) {
        return;
    }
    end(*found->second, answer.code);
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
    SPW_CIcmpPacket::Answer ignored;
    for (int i = 0; i < kMostPending && receiveNow(ignored) != kNothing; ++i) {
    }
}

void SPW_CIcmpChannel::waitForMessage(const SPW_CDeadlinePosix& deadline) {
    pollfd entries[] = {{m_descriptor, POLLIN, 0}, {m_alarm, POLLIN, 0}};
    timespec remaining;
    (void)::ppoll(entries, 2, deadline.remaining(remaining), nullptr);
    if (entries[1].revents != 0) {
        eventfd_t unused = 0;
        (void)::eventfd_read(m_alarm, &unused);
    }
}

// Reads one message if there is one.
SPW_CIcmpChannel::Received SPW_CIcmpChannel::receiveNow(SPW_CIcmpPacket::Answer& answer) {
    sockaddr_in source{};
    socklen_t length = sizeof source;
    const ssize_t size = ::recvfrom(m_descriptor, m_buffer.get(), m_kind == kRaw ? kRawBuffer : kDatagramBuffer,
                                    MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&source), &length);
    if (size == -1) {
        const bool isEmpty = errno == EAGAIN;
        const Received queued = m_kind == kDatagram ? receiveError(answer) : kNothing;
        return queued == kNothing && !isEmpty ? kOther : queued;
    }
    const int count = static_cast<int>(size);
    const bool isAnswer = m_kind == kRaw
                              ? SPW_CIcmpPacket::parsePacket(m_buffer.get(), count, answer)
                              : SPW_CIcmpPacket::parseMessage(
                                    m_buffer.get(), count, SPW_CSocketAddressPosix::toAddress(source.sin_addr), answer);
    return isAnswer ? kAnswer : kOther;
}

// Reads one entry of a datagram socket's queue of errors: the request as it was sent, the address that it was for, and
// beside them what went wrong.
SPW_CIcmpChannel::Received SPW_CIcmpChannel::receiveError(SPW_CIcmpPacket::Answer& answer) {
    sockaddr_in target{};
    iovec piece{m_buffer.get(), kDatagramBuffer};
    alignas(cmsghdr) char control[512];
    msghdr message{};
    message.msg_name = &target;
    message.msg_namelen = sizeof target;
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = ::recvmsg(m_descriptor, &message, MSG_ERRQUEUE | MSG_DONTWAIT);
    if (size == -1) {
        return kNothing;
    }
    for (cmsghdr* entry = CMSG_FIRSTHDR(&message); entry != nullptr; entry = CMSG_NXTHDR(&message, entry)) {
        if (entry->cmsg_level != IPPROTO_IP || entry->cmsg_type != IP_RECVERR) {
            continue;
        }
        sock_extended_err error;
        std::memcpy(&error, CMSG_DATA(entry), sizeof error);
        answer.code = codeOfQueuedError(error);
        answer.target = SPW_CSocketAddressPosix::toAddress(target.sin_addr);
        const bool endsEcho = answer.code != kSysOk &&
                              SPW_CIcmpPacket::parseQuotedRequest(m_buffer.get(), static_cast<int>(size), answer);
        return endsEcho ? kAnswer : kOther;
    }
    return kOther;
}
