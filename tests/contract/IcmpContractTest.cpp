#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OwnNetwork.h"
#include "Patience.h"
#include "SPW_CIcmp.h"
#include "SPW_CIcmpPacket.h"
#include "SPW_CSysError.h"
#include "ScriptedIcmp.h"

// What SPW_CIcmp.h promises, shown on the platform's echo service, with and without privileges, and on the scripted
// one. The platform's is tried in a network of the test's own, where nobody else's echoes pass.

namespace {

using std::chrono::milliseconds;
using Time = std::chrono::steady_clock;

// Time-out of an echo that is answered.
constexpr std::uint32_t kPatienceMs = kPatience.count();

constexpr SPW_CIpAddress kLoopback(127, 0, 0, 1);
// Not an address of any device of these tests.
constexpr SPW_CIpAddress kForeign(192, 0, 2, 7);

// Everybody may have ICMP datagram sockets in this network.
class DatagramService {
public:
    DatagramService() {
        if (m_network.isThere()) {
            m_isThere = m_network.setKernel("ipv4/ping_group_range", "0 2147483647");
        }
    }
    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_network.reason(); }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    // From now on echoes are not answered.
    void silence() { ASSERT_TRUE(m_network.setKernel("ipv4/icmp_echo_ignore_all", "1")); }

private:
    OwnNetwork m_network;
    bool m_isThere = false;
};

// Nobody may have one in this network, but we may have a raw socket.
class RawService {
public:
    RawService() {
        if (m_network.isThere()) {
            m_isThere = m_network.setKernel("ipv4/ping_group_range", "1 0");
        }
    }
    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_network.reason(); }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    void silence() { ASSERT_TRUE(m_network.setKernel("ipv4/icmp_echo_ignore_all", "1")); }

private:
    OwnNetwork m_network;
    bool m_isThere = false;
};

class ScriptedService {
public:
    bool isThere() const { return true; }
    std::string reason() const { return {}; }
    SPW_CIcmp& icmp() { return m_icmp; }
    void silence() { m_icmp.setAnswers(kLoopback, false); }

private:
    ScriptedIcmp m_icmp;
};

struct ServiceNames {
    template <typename T>
    static std::string GetName(int) {
        return std::is_same_v<T, DatagramService> ? "Datagram" : std::is_same_v<T, RawService> ? "Raw" : "Scripted";
    }
};

template <typename Implementation>
class IcmpContractTest : public testing::Test {
protected:
    void SetUp() override {
        if (!m_implementation.isThere()) {
            GTEST_SKIP() << m_implementation.reason();
        }
        m_service = icmp().open();
        ASSERT_NE(m_service, nullptr) << icmp().lastError();
    }
    void TearDown() override {
        if (m_service != nullptr) {
            icmp().close(m_service);
        }
    }

    SPW_CIcmp& icmp() { return m_implementation.icmp(); }
    std::uint32_t echo(const SPW_CIpAddress& address, std::uint16_t dataSize, std::uint32_t timeoutMs) {
        const std::vector<char> data(dataSize + 1u, 'd');
        std::vector<char> reply(kSmallestIcmpReply + dataSize);
        return icmp().echo(m_service, address, data.data(), dataSize, reply.data(),
                           static_cast<std::uint32_t>(reply.size()), timeoutMs);
    }

    Implementation m_implementation;
    SPW_Handle m_service = nullptr;
};

using Services = testing::Types<DatagramService, RawService, ScriptedService>;
TYPED_TEST_SUITE(IcmpContractTest, Services, ServiceNames);

TYPED_TEST(IcmpContractTest, AnAddressThatAnswersGivesOneReply) {
    EXPECT_EQ(this->echo(kLoopback, 32, kPatienceMs), 1u) << this->icmp().lastError();
}

TYPED_TEST(IcmpContractTest, AnyNumberOfBytesIsAnswered) {
    for (const int size : {0, 1, 7, 8, 9, 100, 1472, 1473, 10000, 65507}) {
        EXPECT_EQ(this->echo(kLoopback, static_cast<std::uint16_t>(size), kPatienceMs), 1u)
            << size << ": " << this->icmp().lastError();
    }
}

TYPED_TEST(IcmpContractTest, NoReplyIsATimeOutAfterThatTime) {
    this->m_implementation.silence();
    const auto before = Time::now();
    EXPECT_EQ(this->echo(kLoopback, 32, 80), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
    const auto elapsed = Time::now() - before;
    EXPECT_GE(elapsed, milliseconds(80));
    EXPECT_LT(elapsed, kPatience);
}

TYPED_TEST(IcmpContractTest, NoTimeIsTheShortestTime) {
    this->m_implementation.silence();
    const auto before = Time::now();
    EXPECT_EQ(this->echo(kLoopback, 32, 0), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
    EXPECT_LT(Time::now() - before, kPatience);
}

TYPED_TEST(IcmpContractTest, WithoutALimitAReplyStillEndsTheWait) {
    EXPECT_EQ(this->echo(kLoopback, 32, kSPWForever), 1u);
}

TYPED_TEST(IcmpContractTest, AReplyBufferThatHoldsNoReplyIsRefused) {
    char data[1] = {};
    char reply[kSmallestIcmpReply] = {};
    SPW_CIcmp& icmp = this->icmp();
    EXPECT_EQ(icmp.echo(this->m_service, kLoopback, data, 0, nullptr, 0, kPatienceMs), 0u);
    EXPECT_EQ(icmp.lastError(), kSysInsufficientBuffer);
    EXPECT_EQ(icmp.echo(this->m_service, kLoopback, data, 1, reply, kSmallestIcmpReply - 1, kPatienceMs), 0u);
    EXPECT_EQ(icmp.lastError(), kSysInsufficientBuffer);
    EXPECT_EQ(icmp.echo(this->m_service, kLoopback, data, 1, reply, kSmallestIcmpReply, kPatienceMs), 1u);
}

TYPED_TEST(IcmpContractTest, WithoutAServiceThereIsNoEcho) {
    char data[1] = {};
    char reply[kSmallestIcmpReply] = {};
    EXPECT_EQ(this->icmp().echo(nullptr, kLoopback, data, 1, reply, sizeof reply, kPatienceMs), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysInvalidHandle);
    this->icmp().close(nullptr);
}

TYPED_TEST(IcmpContractTest, EachThreadHasItsOwnLastError) {
    EXPECT_EQ(this->icmp().echo(this->m_service, kLoopback, nullptr, 0, nullptr, 0, 1), 0u);
    std::thread other([this] { EXPECT_EQ(this->icmp().lastError(), kSysOk); });
    other.join();
    EXPECT_EQ(this->icmp().lastError(), kSysInsufficientBuffer);
}

TYPED_TEST(IcmpContractTest, ManyThreadsEchoThroughOneServiceAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> replies{0};
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([this, &replies, i] {
            for (int n = 0; n < 50; ++n) {
                // Short ones have no room for a token.
                replies += static_cast<int>(this->echo(kLoopback, static_cast<std::uint16_t>(i * 2), kPatienceMs));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(replies, 16 * 50);
}

TYPED_TEST(IcmpContractTest, ManyServicesEchoAtOnceAndComeAndGo) {
    std::vector<std::thread> threads;
    std::atomic<int> replies{0};
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([this, &replies] {
            for (int n = 0; n < 25; ++n) {
                const SPW_Handle service = this->icmp().open();
                char data[64] = {};
                char reply[64] = {};
                replies += static_cast<int>(
                    this->icmp().echo(service, kLoopback, data, sizeof data, reply, sizeof reply, kPatienceMs));
                this->icmp().close(service);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(replies, 16 * 25);
}

TYPED_TEST(IcmpContractTest, EchoesThatAreNotAnsweredEndEachAtItsOwnTime) {
    std::vector<std::thread> threads;
    std::atomic<int> timeouts{0};
    this->m_implementation.silence();
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, &timeouts, i] {
            timeouts += this->echo(kLoopback, 32, static_cast<std::uint32_t>(20 + 10 * i)) == 0 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(timeouts, 8);
}

// ---- The platform's service alone ----

template <typename Implementation>
class PlatformIcmpTest : public IcmpContractTest<Implementation> {};

using PlatformServices = testing::Types<DatagramService, RawService>;
TYPED_TEST_SUITE(PlatformIcmpTest, PlatformServices, ServiceNames);

TYPED_TEST(PlatformIcmpTest, WithoutARouteTheEchoFailsAtOnce) {
    const auto before = Time::now();
    EXPECT_EQ(this->echo(kForeign, 32, kSPWForever), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpNetUnreachable);
    EXPECT_LT(Time::now() - before, kPatience);
}

TYPED_TEST(PlatformIcmpTest, ARequestThatNoPacketHoldsIsRefused) {
    for (const int size : {65508, 65535}) {
        EXPECT_EQ(this->echo(kLoopback, static_cast<std::uint16_t>(size), kPatienceMs), 0u) << size;
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
            EXPECT_EQ(this->echo(kLoopback, 32, kSPWForever), 0u);
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
    EXPECT_EQ(this->echo(kLoopback, 32, 1), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
}

TYPED_TEST(PlatformIcmpTest, ARedirectAndWhatElseIsNoUnreachableMessageEndNothing) {
    this->m_implementation.silence();
    Observer observer;
    std::thread echoing([&] { EXPECT_EQ(this->echo(kLoopback, 32, kPatienceMs), 1u) << this->icmp().lastError(); });
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
    std::thread echoing([&] { EXPECT_EQ(this->echo(kLoopback, 32, kPatienceMs), 1u); });
    const std::vector<std::uint8_t> reply = withChecksum(replyTo(observer.nextRequest()));
    for (int i = 0; i < 5; ++i) {
        sendIcmp(reply);
    }
    echoing.join();
    EXPECT_EQ(this->echo(kLoopback, 32, 100), 0u);
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
        threads.emplace_back([&, timeoutMs] { ++(this->echo(kLoopback, 4, timeoutMs) == 1 ? answered : timeouts); });
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
    std::thread echoing([&] { EXPECT_EQ(this->echo(kLoopback, 32, 300), 0u); });
    std::vector<std::uint8_t> reply = replyTo(observer.nextRequest());
    reply[8] ^= 1;
    sendIcmp(withChecksum(reply));
    echoing.join();
}

TYPED_TEST(PlatformIcmpTest, AReplyThatComesTooLateIsNobodys) {
    this->m_implementation.silence();
    Observer observer;
    EXPECT_EQ(this->echo(kLoopback, 32, 1), 0u);
    sendIcmp(withChecksum(replyTo(observer.nextRequest())));
    EXPECT_EQ(this->echo(kLoopback, 32, 100), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
}

TYPED_TEST(PlatformIcmpTest, TheRequestIsAsItsComposerMakesIt) {
    this->m_implementation.silence();
    Observer observer;
    const std::string data = "12345678 and what the caller sends";
    char reply[100];
    EXPECT_EQ(this->icmp().echo(this->m_service, kLoopback, data.data(), static_cast<std::uint16_t>(data.size()), reply,
                                sizeof reply, 1),
              0u);
    const std::vector<std::uint8_t> packet = observer.nextRequest();
    ASSERT_EQ(packet.size(), 20 + 8 + data.size());
    EXPECT_EQ(packet[20], 8);
    EXPECT_EQ(packet[21], 0);
    EXPECT_EQ(SPW_CIcmpPacket::checksum(packet.data() + 20, static_cast<int>(packet.size() - 20)), 0);
    EXPECT_EQ(std::string(packet.begin() + 36, packet.end()), data.substr(8));
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
    EXPECT_EQ(echo(kLoopback, 32, kPatienceMs), 1u);
    icmp().close(m_service);
    m_service = nullptr;
    EXPECT_EQ(numberOfSockets(), withOne - 1);
}

class DatagramIcmpTest : public IcmpContractTest<DatagramService> {};

TEST_F(DatagramIcmpTest, EachServiceHasItsOwnSocket) {
    const std::size_t withOne = numberOfSockets();
    const SPW_Handle service = icmp().open();
    EXPECT_EQ(numberOfSockets(), withOne + 1);
    icmp().close(service);
    EXPECT_EQ(numberOfSockets(), withOne);
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

TEST(IcmpPrivilegeTest, WithoutAnyRightTheServiceIsDenied) {
    RawService network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason();
    }
    const WithoutRawSockets unprivileged;
    EXPECT_EQ(SPW_CIcmp::instance->open(), nullptr);
    EXPECT_EQ(SPW_CIcmp::instance->lastError(), kSysAccessDenied);
}

TEST(IcmpPrivilegeTest, WithoutPrivilegesTheDatagramSocketServes) {
    DatagramService network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason();
    }
    const WithoutRawSockets unprivileged;
    const SPW_Handle service = SPW_CIcmp::instance->open();
    ASSERT_NE(service, nullptr) << SPW_CIcmp::instance->lastError();
    char data[32] = {};
    char reply[60] = {};
    EXPECT_EQ(SPW_CIcmp::instance->echo(service, kLoopback, data, sizeof data, reply, sizeof reply, kPatienceMs), 1u);
    SPW_CIcmp::instance->close(service);
}

// ---- The scripted service alone ----

TEST(ScriptedIcmpTest, FailuresComeInOrderAndRequestsAreRecorded) {
    ScriptedIcmp icmp;
    icmp.failOpen(kSysAccessDenied);
    EXPECT_EQ(icmp.open(), nullptr);
    EXPECT_EQ(icmp.lastError(), kSysAccessDenied);
    const SPW_Handle service = icmp.open();
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(icmp.openServices(), 1);
    icmp.failEcho(kIcmpHostUnreachable);
    EXPECT_EQ(icmp.echo(service, kForeign, "ab", 2, nullptr, 56, 1000), 0u);
    EXPECT_EQ(icmp.lastError(), kIcmpHostUnreachable);
    EXPECT_EQ(icmp.echo(service, kForeign, "ab", 2, nullptr, 56, 1000), 1u);
    ASSERT_EQ(icmp.requests().size(), 1u);
    EXPECT_EQ(icmp.requests()[0].address, kForeign);
    EXPECT_EQ(icmp.requests()[0].bytes, "ab");
    EXPECT_EQ(icmp.requests()[0].replySize, 56u);
    EXPECT_EQ(icmp.requests()[0].timeoutMs, 1000u);
    icmp.close(service);
    EXPECT_EQ(icmp.openServices(), 0);
}

}  // namespace
