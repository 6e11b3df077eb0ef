// What the echo service of this platform makes of messages of all kinds, and of lacking rights.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

#include "IcmpContract.h"
#include "IcmpServices.h"
#include "KernelCalls.h"
#include "NeedsNamespaces.h"
#include "Patience.h"
#include "SPW_CIcmp.h"
#include "SPW_CIcmpPacket.h"
#include "SPW_CSysError.h"

namespace {

template <typename Implementation>
class PlatformIcmpTest : public IcmpContractTest<Implementation> {};

using PlatformServices = IcmpServices<>;
TYPED_TEST_SUITE(PlatformIcmpTest, PlatformServices, ServiceNames);

TYPED_TEST(PlatformIcmpTest, WithoutARouteTheEchoFailsAtOnce) {
    const auto before = Time::now();
    EXPECT_EQ(this->echo().to(kForeign).withinMs(kSPWForever).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpNetUnreachable);
    EXPECT_LT(Time::now() - before, kPatience);
}

TYPED_TEST(PlatformIcmpTest, ARequestThatNoPacketHoldsIsRefused) {
    for (const int size : {65508, 65535}) {
        EXPECT_EQ(this->echo().carryingBytes(size).replies(), 0u) << size;
        EXPECT_EQ(this->icmp().lastError(), kIcmpPacketTooBig) << size;
    }
}

// Sends an ICMP message from the loopback to itself.
void sendIcmp(const std::vector<std::uint8_t>& message) {
    const int sender = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    ASSERT_NE(sender, -1) << std::strerror(errno);
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::sendto(sender, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&target), sizeof target),
              static_cast<ssize_t>(message.size()));
    ::close(sender);
}

std::vector<std::uint8_t> withChecksum(std::vector<std::uint8_t> message) {
    const std::uint16_t sum = SPW_CIcmpPacket::checksum(message.data(), static_cast<int>(message.size()));
    message[2] = static_cast<std::uint8_t>(sum >> 8);
    message[3] = static_cast<std::uint8_t>(sum);
    return message;
}

// What a host makes of a request that has its IP header in front. The checksum is still to come.
std::vector<std::uint8_t> replyTo(const std::vector<std::uint8_t>& request) {
    std::vector<std::uint8_t> reply(request.begin() + 20, request.end());
    reply[0] = 0;
    reply[2] = reply[3] = 0;
    return reply;
}

// Sees the echo requests of this network; the kernel itself is told not to answer them.
class Observer {
public:
    Observer() : m_descriptor(::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP)) {}
    ~Observer() { ::close(m_descriptor); }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    // The next echo request, its IP header in front.
    std::vector<std::uint8_t> nextRequest() {
        std::vector<std::uint8_t> packet(2000);
        do {
            packet.resize(2000);
            const ssize_t size = ::recv(m_descriptor, packet.data(), packet.size(), 0);
            EXPECT_GT(size, 28);
            packet.resize(static_cast<std::size_t>(size));
        } while (packet[20] != 8);
        return packet;
    }

private:
    const int m_descriptor;
};

TYPED_TEST(PlatformIcmpTest, AnUnreachableMessageEndsTheEchoEarly) {
    const struct {
        std::uint8_t type;
        std::uint8_t code;
        SPW_Result expected;
    } kCases[] = {{3, 0, kIcmpNetUnreachable},
                  {3, 1, kIcmpHostUnreachable},
                  {3, 2, kIcmpProtocolUnreachable},
                  {3, 3, kIcmpPortUnreachable},
                  {11, 0, kIcmpTtlExpired}};
    this->m_implementation.silence();
    Observer observer;
    for (const auto& entry : kCases) {
        SPW_Result code = kSysOk;
        std::thread echoing([&] {
            EXPECT_EQ(this->echo().withinMs(kSPWForever).replies(), 0u);
            code = this->icmp().lastError();
        });
        const std::vector<std::uint8_t> request = observer.nextRequest();
        std::vector<std::uint8_t> message{entry.type, entry.code, 0, 0, 0, 0, 0, 0};
        message.insert(message.end(), request.begin(), request.end());
        sendIcmp(withChecksum(message));
        echoing.join();
        EXPECT_EQ(code, entry.expected);
    }
    // What went wrong before is no matter of the next echo.
    EXPECT_EQ(this->echo().withinMs(1).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
}

TYPED_TEST(PlatformIcmpTest, ARedirectAndWhatElseIsNoUnreachableMessageEndNothing) {
    this->m_implementation.silence();
    Observer observer;
    std::thread echoing([&] { EXPECT_EQ(this->echo().replies(), 1u) << this->icmp().lastError(); });
    const std::vector<std::uint8_t> request = observer.nextRequest();
    for (const std::uint8_t type : {std::uint8_t{5}, std::uint8_t{12}}) {
        std::vector<std::uint8_t> message{type, 1, 0, 0, 127, 0, 0, 1};
        message.insert(message.end(), request.begin(), request.end());
        sendIcmp(withChecksum(message));
    }
    sendIcmp(withChecksum(replyTo(request)));
    echoing.join();
}

TYPED_TEST(PlatformIcmpTest, RepliesBeyondTheFirstAreNobodys) {
    this->m_implementation.silence();
    Observer observer;
    std::thread echoing([&] { EXPECT_EQ(this->echo().replies(), 1u); });
    const std::vector<std::uint8_t> reply = withChecksum(replyTo(observer.nextRequest()));
    for (int i = 0; i < 5; ++i) {
        sendIcmp(reply);
    }
    echoing.join();
    EXPECT_EQ(this->echo().withinMs(100).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
}

TYPED_TEST(PlatformIcmpTest, EchoesToOneAddressAreEndedEachByItsOwnReply) {
    this->m_implementation.silence();
    Observer observer;
    constexpr int kEchoes = 6;
    std::atomic<int> answered{0};
    std::atomic<int> timeouts{0};
    std::vector<std::thread> threads;
    std::vector<std::vector<std::uint8_t>> requests;
    for (int i = 0; i < kEchoes; ++i) {
        const std::uint32_t timeoutMs = i < kEchoes / 2 ? 1000 : kPatienceMs;
        threads.emplace_back([&, timeoutMs] {
            ++(this->echo().carryingBytes(4).withinMs(timeoutMs).replies() == 1 ? answered : timeouts);
        });
        requests.push_back(observer.nextRequest());
    }
    // The last come first, and each twice.
    for (int i = kEchoes; i-- > kEchoes / 2;) {
        sendIcmp(withChecksum(replyTo(requests[static_cast<std::size_t>(i)])));
        sendIcmp(withChecksum(replyTo(requests[static_cast<std::size_t>(i)])));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(answered, kEchoes / 2);
    EXPECT_EQ(timeouts, kEchoes / 2);
}

TYPED_TEST(PlatformIcmpTest, AReplyWithAnotherTokenIsNotOurs) {
    this->m_implementation.silence();
    Observer observer;
    std::thread echoing([&] { EXPECT_EQ(this->echo().withinMs(300).replies(), 0u); });
    std::vector<std::uint8_t> reply = replyTo(observer.nextRequest());
    reply[8] ^= 1;
    sendIcmp(withChecksum(reply));
    echoing.join();
}

TYPED_TEST(PlatformIcmpTest, AReplyThatComesTooLateIsNobodys) {
    this->m_implementation.silence();
    Observer observer;
    EXPECT_EQ(this->echo().withinMs(1).replies(), 0u);
    sendIcmp(withChecksum(replyTo(observer.nextRequest())));
    EXPECT_EQ(this->echo().withinMs(100).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
}

TYPED_TEST(PlatformIcmpTest, TheRequestIsAsItsComposerMakesIt) {
    this->m_implementation.silence();
    Observer observer;
    const std::string data = "12345678 and what the caller sends";
    EXPECT_EQ(this->echo().carrying(data).withinMs(1).replies(), 0u);
    const std::vector<std::uint8_t> packet = observer.nextRequest();
    ASSERT_EQ(packet.size(), 20 + 8 + data.size());
    EXPECT_EQ(packet[20], 8);
    EXPECT_EQ(packet[21], 0);
    EXPECT_EQ(SPW_CIcmpPacket::checksum(packet.data() + 20, static_cast<int>(packet.size() - 20)), 0);
    EXPECT_EQ(std::string(packet.begin() + 36, packet.end()), data.substr(8));
}

// ---- The time of an echo ----

constexpr std::int64_t kSecondNs = 1000000000;
constexpr std::uint32_t kSecondUs = 1000000;

// Lets clocks jump between the arrival of a reply and its reading.
class Jump {
public:
    // Nanoseconds, of CLOCK_MONOTONIC and of the wall clock.
    Jump(std::int64_t monotonicNs, std::int64_t wallNs) {
        // The first call is made before the request is sent; it throws away what is old. The second one waits until the
        // reply has arrived.
        m_calls.message = [this](void*, std::size_t) {
            if (++m_receives == 2) {
                std::this_thread::sleep_for(milliseconds(20));
                m_hasJumped = true;
            }
            return 0;
        };
        m_calls.clockAheadNs = [this, monotonicNs, wallNs](clockid_t clock) -> std::int64_t {
            if (!m_hasJumped) {
                return 0;
            }
            return clock == CLOCK_REALTIME ? wallNs : monotonicNs;
        };
    }
    void refuseStamps() {
        m_calls.refusesOption = [](int level, int option) { return level == SOL_SOCKET && option == SO_TIMESTAMPNS; };
    }

private:
    std::atomic<int> m_receives{0};
    std::atomic<bool> m_hasJumped{false};
    KernelCalls m_calls;
};

TYPED_TEST(PlatformIcmpTest, AReplyThatIsReadLateHasNotTakenLonger) {
    const Jump jump(kSecondNs, kSecondNs);
    const SPW_EchoReply reply = this->echo().reply();
    ASSERT_EQ(reply.count, 1u);
    EXPECT_LT(reply.roundTripUs, kSecondUs);
}

TYPED_TEST(PlatformIcmpTest, WithoutTheKernelsStampAReplyIsThereWhenItIsRead) {
    Jump jump(kSecondNs, kSecondNs);
    jump.refuseStamps();
    // The raw socket is there only once, and this one has stamps.
    this->icmp().close(this->m_service);
    this->m_service = this->icmp().open();
    const SPW_EchoReply reply = this->echo().reply();
    ASSERT_EQ(reply.count, 1u);
    EXPECT_GE(reply.roundTripUs, kSecondUs);
}

TYPED_TEST(PlatformIcmpTest, AWallClockThatIsSetDuringAnEchoDoesNotChangeItsTime) {
    for (const std::int64_t wallNs : {-3600 * kSecondNs, -10 * kSecondNs, 10 * kSecondNs, 3600 * kSecondNs}) {
        const auto before = Time::now();
        SPW_EchoReply reply;
        {
            const Jump jump(0, wallNs);
            reply = this->echo().reply();
        }
        const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Time::now() - before);
        ASSERT_EQ(reply.count, 1u);
        // The wait of 20 ms is in it: what cannot be told apart is not taken off.
        EXPECT_GE(reply.roundTripUs, 20000u) << wallNs;
        EXPECT_LE(reply.roundTripUs, static_cast<std::uint64_t>(elapsed.count())) << wallNs;
    }
}

TYPED_TEST(PlatformIcmpTest, TheTimeIsThatOfTheWayNotOfTheMachine) {
    this->m_implementation.silence();
    Observer observer;
    SPW_EchoReply reply;
    std::thread echoing([&] { reply = this->echo().reply(); });
    const std::vector<std::uint8_t> request = observer.nextRequest();
    const auto seen = Time::now();
    std::this_thread::sleep_for(milliseconds(30));
    sendIcmp(withChecksum(replyTo(request)));
    const auto answered = std::chrono::duration_cast<std::chrono::microseconds>(Time::now() - seen);
    echoing.join();
    ASSERT_EQ(reply.count, 1u);
    EXPECT_GE(reply.roundTripUs, 30000u);
    // The request was seen some time after it had been sent.
    EXPECT_LT(reply.roundTripUs, static_cast<std::uint64_t>(answered.count()) + kPatienceMs * 1000u);
    EXPECT_EQ(reply.timeToLive, 64) << "the kernel's own";
}

// ---- Many echoes through one socket ----

// Two echoes to an address that is silent until the test replies. The first one receives for both. Then the second one
// has been sent, and waits until the first hands something on to it.
template <typename Implementation>
class TwoEchoesTest : public IcmpContractTest<Implementation> {
protected:
    void SetUp() override {
        IcmpContractTest<Implementation>::SetUp();
        if (this->IsSkipped() || this->HasFatalFailure()) {
            return;
        }
        this->m_implementation.silence();
        m_observer = std::make_unique<Observer>();
        m_calls.message = [this](void*, std::size_t) {
            // The first call is made before the request is sent; it throws away what is old.
            if (++m_receives == 2) {
                m_receiving.set_value();
            }
            return 0;
        };
        m_first = begin(m_requestOfFirst);
        ASSERT_EQ(m_receiving.get_future().wait_for(kPatience), std::future_status::ready);
        m_second = begin(m_requestOfSecond);
        std::this_thread::sleep_for(milliseconds(50));  // from its sending to its wait
    }

    void TearDown() override {
        this->icmp().cancel(this->m_service);
        for (std::future<std::uint32_t>* const echo : {&m_first, &m_second}) {
            if (echo->valid()) {
                echo->wait();
            }
        }
        IcmpContractTest<Implementation>::TearDown();
    }

    static void answer(const std::vector<std::uint8_t>& request) { sendIcmp(withChecksum(replyTo(request))); }
    // Whether the echo got its reply long before its time-out.
    static bool endsSoon(std::future<std::uint32_t>& echo) {
        return echo.wait_for(kPatience / 2) == std::future_status::ready && echo.get() == 1;
    }

    std::vector<std::uint8_t> m_requestOfFirst;
    std::vector<std::uint8_t> m_requestOfSecond;
    // Their numbers of replies.
    std::future<std::uint32_t> m_first;
    std::future<std::uint32_t> m_second;

private:
    std::future<std::uint32_t> begin(std::vector<std::uint8_t>& request) {
        std::future<std::uint32_t> replies = std::async(std::launch::async, [this] { return this->echo().replies(); });
        request = m_observer->nextRequest();
        return replies;
    }

    std::unique_ptr<Observer> m_observer;
    std::atomic<int> m_receives{0};
    std::promise<void> m_receiving;
    KernelCalls m_calls;
};
TYPED_TEST_SUITE(TwoEchoesTest, PlatformServices, ServiceNames);

TYPED_TEST(TwoEchoesTest, TheOneThatReceivesHandsTheOtherItsReplyAtOnce) {
    this->answer(this->m_requestOfSecond);
    EXPECT_TRUE(this->endsSoon(this->m_second));
    EXPECT_EQ(this->m_first.wait_for(milliseconds(0)), std::future_status::timeout) << "it was not its reply";
    this->answer(this->m_requestOfFirst);
    EXPECT_TRUE(this->endsSoon(this->m_first));
}

TYPED_TEST(TwoEchoesTest, WhenTheOneThatReceivesHasEndedTheOtherReceivesItsReplyItself) {
    this->answer(this->m_requestOfFirst);
    EXPECT_TRUE(this->endsSoon(this->m_first));
    this->answer(this->m_requestOfSecond);
    EXPECT_TRUE(this->endsSoon(this->m_second));
}

TYPED_TEST(PlatformIcmpTest, AnEchoKeepsItsNumberForItselfHoweverManyFollow) {
    this->m_implementation.silence();
    Observer observer;
    std::thread echoing([&] { EXPECT_EQ(this->echo().replies(), 1u) << this->icmp().lastError(); });
    const std::vector<std::uint8_t> request = observer.nextRequest();
    // The 65536th would get the same one. They take no time, for there is no route.
    int unsent = 0;
    for (int i = 0; i < 65536; ++i) {
        unsent += this->echo().to(kForeign).carryingBytes(0).withinMs(1).replies() == 0 &&
                          this->icmp().lastError() == kIcmpNetUnreachable
                      ? 1
                      : 0;
    }
    EXPECT_EQ(unsent, 65536);
    sendIcmp(withChecksum(replyTo(request)));
    echoing.join();
}

// A reply to no echo of ours, as the service's socket receives it.
template <typename Implementation>
std::vector<std::uint8_t> foreignReply() {
    std::vector<std::uint8_t> reply = withChecksum(std::vector<std::uint8_t>(16, 0));
    if (std::is_same<Implementation, RawService>::value) {
        const std::vector<std::uint8_t> header{0x45, 0, 0, 36, 0, 0, 0, 0, 64, 1, 0, 0, 127, 0, 0, 1, 127, 0, 0, 1};
        reply.insert(reply.begin(), header.begin(), header.end());
    }
    return reply;
}

TYPED_TEST(PlatformIcmpTest, AReceiveThatFailsForGoodIsTriedSeldomAndTheEchoEndsInTimeAndSaysWhy) {
    std::atomic<int> receives{0};
    std::atomic<bool> isBroken{true};
    KernelCalls calls;
    calls.message = [&](void*, std::size_t) -> ssize_t {
        ++receives;
        errno = ENOBUFS;
        return isBroken ? -1 : 0;
    };
    const auto before = Time::now();
    EXPECT_EQ(this->echo().withinMs(300).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSockNoBuffers);
    EXPECT_GE(Time::now() - before, milliseconds(300));
    // Three for what is pending, two at once, and one after each pause of 10, 20, 40 ... ms.
    EXPECT_LT(receives, 20);
    isBroken = false;
    EXPECT_EQ(this->echo().replies(), 1u);
}

TYPED_TEST(PlatformIcmpTest, SeveralEchoesShareThePausesOfAReceiveThatFailsForGood) {
    std::atomic<int> receives{0};
    KernelCalls calls;
    calls.message = [&](void*, std::size_t) -> ssize_t {
        ++receives;
        errno = ENOBUFS;
        return -1;
    };
    std::vector<std::thread> echoing;
    for (int i = 0; i < 8; ++i) {
        echoing.emplace_back([this] {
            EXPECT_EQ(this->echo().withinMs(300).replies(), 0u);
            EXPECT_EQ(this->icmp().lastError(), kSockNoBuffers);
        });
    }
    for (std::thread& thread : echoing) {
        thread.join();
    }
    // Each looks once more when its time is up.
    EXPECT_LT(receives, 40);
}

TYPED_TEST(PlatformIcmpTest, ACancelEndsAnEchoThatCannotReceive) {
    KernelCalls calls;
    calls.message = [&](void*, std::size_t) -> ssize_t {
        errno = ENOBUFS;
        return -1;
    };
    std::thread echoing([this] {
        EXPECT_EQ(this->echo().withinMs(kSPWForever).replies(), 0u);
        EXPECT_EQ(this->icmp().lastError(), kSysOperationAborted);
    });
    std::this_thread::sleep_for(milliseconds(100));
    const auto before = Time::now();
    this->icmp().cancel(this->m_service);
    echoing.join();
    EXPECT_LT(Time::now() - before, kPatience);
}

TYPED_TEST(PlatformIcmpTest, AFloodOfOtherRepliesPutsNoTimeOutOff) {
    this->m_implementation.silence();
    const std::vector<std::uint8_t> reply = foreignReply<TypeParam>();
    const milliseconds flood = kPatience / 4;
    const auto endOfFlood = Time::now() + flood;
    std::atomic<int> receives{0};
    KernelCalls calls;
    calls.message = [&](void* buffer, std::size_t) -> ssize_t {
        ++receives;
        std::memcpy(buffer, reply.data(), reply.size());
        return Time::now() < endOfFlood ? static_cast<ssize_t>(reply.size()) : 0;
    };
    const auto timeOut = [this] {
        EXPECT_EQ(this->echo().withinMs(50).replies(), 0u);
        EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
    };
    timeOut();
    // The same while another echo is the one that receives.
    Observer observer;
    std::thread receiving([&] {
        EXPECT_EQ(this->echo().withinMs(static_cast<std::uint32_t>(2 * flood.count())).replies(), 0u);
        EXPECT_EQ(this->icmp().lastError(), kSysOperationAborted);
    });
    (void)observer.nextRequest();
    for (const int before = receives; receives == before && Time::now() < endOfFlood;) {
        std::this_thread::yield();
    }
    timeOut();
    EXPECT_LT(Time::now(), endOfFlood);
    this->icmp().cancel(this->m_service);
    receiving.join();
}

// How many sockets this process has open.
std::size_t numberOfSockets() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the folder's own descriptor
        count += std::filesystem::read_symlink(entry, gone).string().rfind("socket:", 0) == 0 ? 1 : 0;
    }
    return count;
}

class RawIcmpTest : public IcmpContractTest<RawService> {};

TEST_F(RawIcmpTest, AllServicesShareOneSocketThatGoesWithTheLast) {
    const std::size_t withOne = numberOfSockets();
    std::vector<SPW_Handle> services;
    for (int i = 0; i < 20; ++i) {
        services.push_back(icmp().open());
        ASSERT_NE(services.back(), nullptr);
    }
    EXPECT_EQ(numberOfSockets(), withOne);
    for (const SPW_Handle service : services) {
        icmp().close(service);
    }
    EXPECT_EQ(echo().replies(), 1u);
    icmp().close(m_service);
    m_service = nullptr;
    EXPECT_EQ(numberOfSockets(), withOne - 1);
}

// Takes the calling thread's right to raw sockets away as long as the object lives.
class WithoutRawSockets {
public:
    WithoutRawSockets() {
        EXPECT_EQ(::syscall(SYS_capget, &m_header, m_before), 0);
        __user_cap_data_struct reduced[2] = {m_before[0], m_before[1]};
        reduced[0].effective &= ~(1u << CAP_NET_RAW);
        EXPECT_EQ(::syscall(SYS_capset, &m_header, reduced), 0);
    }
    ~WithoutRawSockets() { (void)::syscall(SYS_capset, &m_header, m_before); }
    WithoutRawSockets(const WithoutRawSockets&) = delete;
    WithoutRawSockets& operator=(const WithoutRawSockets&) = delete;

private:
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_before[2];
};

// The raw sockets for ICMP that this process has open.
std::vector<int> rawSockets() {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        int type = 0;
        int protocol = 0;
        socklen_t size = sizeof type;
        if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_RAW &&
            ::getsockopt(descriptor, SOL_SOCKET, SO_PROTOCOL, &protocol, &size) == 0 && protocol == IPPROTO_ICMP) {
            found.push_back(descriptor);
        }
    }
    return found;
}

// Whether the kernel gives echo replies to a raw socket.
bool hears(int rawSocket) {
    constexpr int kIcmpFilter = 1;  // <linux/icmp.h> does not go with <net/if.h>
    constexpr std::uint32_t kEchoReply = 1u << 0;
    std::uint32_t refused = 0;
    socklen_t size = sizeof refused;
    EXPECT_EQ(::getsockopt(rawSocket, SOL_RAW, kIcmpFilter, &refused, &size), 0);
    return (refused & kEchoReply) == 0;
}

// Ends the process with status 0 if all is as it should be. What is opened ahead stays open to the end of a process.
[[noreturn]] void pingAfterOpeningAhead(SPW_CIcmp& icmp) {
    icmp.openAhead();
    icmp.openAhead();
    const std::vector<int> opened = rawSockets();
    EXPECT_EQ(opened.size(), 1u);
    {
        const WithoutRawSockets unprivileged;
        for (int i = 0; i < 3 && !opened.empty(); ++i) {
            EXPECT_FALSE(hears(opened[0]));
            const SPW_Handle one = icmp.open();
            const SPW_Handle other = icmp.open();
            EXPECT_EQ(Echo(icmp, one).replies(), 1u) << icmp.lastError();
            icmp.close(one);
            EXPECT_TRUE(hears(opened[0]));
            EXPECT_EQ(Echo(icmp, other).replies(), 1u) << icmp.lastError();
            icmp.close(other);
        }
    }
    EXPECT_EQ(rawSockets(), opened);
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST_F(RawIcmpTest, WhatIsOpenedAheadServesWithoutTheRightAndHearsOnlyWhileItIsUsed) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    icmp().close(m_service);
    m_service = nullptr;
    EXPECT_EXIT(pingAfterOpeningAhead(icmp()), testing::ExitedWithCode(0), "");
}

TEST_F(RawIcmpTest, OpeningAheadDisturbsNoServiceThatIsOpenAlready) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto openWhileInUse = [this] {
        icmp().openAhead();
        const bool isAnswered = echo().replies() == 1;
        std::_Exit(isAnswered && rawSockets().size() == 1 ? 0 : 1);
    };
    EXPECT_EXIT(openWhileInUse(), testing::ExitedWithCode(0), "");
}

TEST_F(RawIcmpTest, WithoutTheRightThereIsNothingToOpenAhead) {
    icmp().close(m_service);
    m_service = nullptr;
    const WithoutRawSockets unprivileged;
    icmp().openAhead();
    EXPECT_EQ(rawSockets(), std::vector<int>());
    EXPECT_EQ(icmp().open(), nullptr);
    EXPECT_EQ(icmp().lastError(), kSysAccessDenied);
}

class DatagramIcmpTest : public IcmpContractTest<DatagramService> {};

TEST_F(DatagramIcmpTest, ThereIsNothingToOpenAhead) {
    const std::size_t before = numberOfSockets();
    icmp().openAhead();
    EXPECT_EQ(numberOfSockets(), before);
}

TEST_F(DatagramIcmpTest, EachServiceHasItsOwnSocket) {
    const std::size_t withOne = numberOfSockets();
    const SPW_Handle service = icmp().open();
    EXPECT_EQ(numberOfSockets(), withOne + 1);
    icmp().close(service);
    EXPECT_EQ(numberOfSockets(), withOne);
}

TEST(IcmpPrivilegeTest, WithoutAnyRightTheServiceIsDenied) {
    RawService network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
    const WithoutRawSockets unprivileged;
    EXPECT_EQ(SPW_CIcmp::instance->open(), nullptr);
    EXPECT_EQ(SPW_CIcmp::instance->lastError(), kSysAccessDenied);
}

TEST(IcmpPrivilegeTest, WithoutPrivilegesTheDatagramSocketServes) {
    DatagramService network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
    const WithoutRawSockets unprivileged;
    const SPW_Handle service = SPW_CIcmp::instance->open();
    ASSERT_NE(service, nullptr) << SPW_CIcmp::instance->lastError();
    EXPECT_EQ(Echo(*SPW_CIcmp::instance, service).replies(), 1u);
    SPW_CIcmp::instance->close(service);
}

}  // namespace
