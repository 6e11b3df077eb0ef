// Stopping and destroying each kind of probe object in each call in which it can block, with the platform's own
// sockets on the loopback: both return soon, whatever the other side does.

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "ClockForwarder.h"
#include "EndlessSleeps.h"
#include "HeldUntilClose.h"
#include "OtherThreads.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "RecordingSink.h"
#include "SPW_CSocketWatch.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedIcmp.h"
#include "SocketForwarder.h"
#include "SocketLibrary.h"
#include "VTR_CEvent.h"
#include "VTR_CMulticastConnector.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CPinger.h"
#include "VTR_CTcpipConnector.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpConnector.h"
#include "VTR_CUdpListener.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// All of it is for a busy machine: a stop waits for nothing but threads. Whatever could hold a stop up here lasts
// longer or for ever.
constexpr milliseconds kBound(20000);
constexpr SPW_CIpAddress kLoopback(127, 0, 0, 1);

// The platform's sockets, watched: which calls have threads inside, and which port was bound last. Groups lead to the
// loopback: no test speaks to the network.
class WatchedSockets : public SocketForwarder {
public:
    enum Call { kConnect, kSend, kSendTo, kReceive, kReceiveFrom, kAccept, kSelect, kCalls };

    // True when a thread has stayed inside the call for a while.
    bool waitUntilBlocked(Call call) {
        const steady_clock::time_point end = steady_clock::now() + kPatience;
        while (steady_clock::now() < end) {
            const int entries = entriesWhileInside(call);
            std::this_thread::sleep_for(milliseconds(20));
            if (entries != 0 && entriesWhileInside(call) == entries) {
                return true;
            }
        }
        return false;
    }
    bool waitForEntries(Call call, int entries) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_entries[call] >= entries; });
    }
    std::uint16_t boundPort() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_boundPort;
    }
    // Watches are from now on the platform's own. They make no call that is watched here.
    void usePlatformsWatch() { m_usesPlatformsWatch = true; }
    std::unique_ptr<SPW_CSocketWatch> openWatch() override {
        return m_usesPlatformsWatch ? target().openWatch() : SocketForwarder::openWatch();
    }
    // Makes selects find the socket at this index ready without a reason: the call that follows blocks.
    void pretendReady(int index) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_pretended = index;
    }

    int bind(SPW_Socket socket, std::uint16_t port) override {
        const int result = SocketForwarder::bind(socket, port);
        const int bound = SocketForwarder::localPort(socket);
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_boundPort = static_cast<std::uint16_t>(bound);
        return result;
    }
    int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) override {
        const Inside inside(*this, kConnect);
        return SocketForwarder::connect(socket, address, port);
    }
    int send(SPW_Socket socket, const void* bytes, int size) override {
        const Inside inside(*this, kSend);
        return SocketForwarder::send(socket, bytes, size);
    }
    int sendTo(SPW_Socket socket, const SPW_CIpAddress&, std::uint16_t port, const void* bytes, int size) override {
        const Inside inside(*this, kSendTo);
        return SocketForwarder::sendTo(socket, kLoopback, port, bytes, size);
    }
    int receive(SPW_Socket socket, void* buffer, int size) override {
        const Inside inside(*this, kReceive);
        return SocketForwarder::receive(socket, buffer, size);
    }
    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        const Inside inside(*this, kReceiveFrom);
        return SocketForwarder::receiveFrom(socket, buffer, size, sender);
    }
    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        const Inside inside(*this, kAccept);
        return SocketForwarder::accept(socket, peer);
    }
    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        const Inside inside(*this, kSelect);
        const int pretended = pretendedIndex();
        if (pretended >= 0 && pretended < read->size()) {
            read->setReady(pretended, true);
            return 1;
        }
        return SocketForwarder::select(read, except, timeoutMs);
    }
    int joinGroup(SPW_Socket, const SPW_CIpAddress&, const SPW_CIpAddress&) override { return 0; }
    int dropGroup(SPW_Socket, const SPW_CIpAddress&, const SPW_CIpAddress&) override { return 0; }

private:
    class Inside {
    public:
        Inside(WatchedSockets& owner, Call call) : m_owner(owner), m_call(call) {
            const std::lock_guard<std::mutex> guard(m_owner.m_mutex);
            ++m_owner.m_inside[m_call];
            ++m_owner.m_entries[m_call];
            m_owner.m_changed.notify_all();
        }
        ~Inside() {
            const std::lock_guard<std::mutex> guard(m_owner.m_mutex);
            --m_owner.m_inside[m_call];
        }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        WatchedSockets& m_owner;
        const Call m_call;
    };

    int entriesWhileInside(Call call) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_inside[call] > 0 ? m_entries[call] : 0;
    }
    int pretendedIndex() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_pretended;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::array<int, kCalls> m_inside{};
    std::array<int, kCalls> m_entries{};
    std::uint16_t m_boundPort = 0;
    int m_pretended = -1;
    std::atomic<bool> m_usesPlatformsWatch{false};
};

// A listening socket of the test's own on the loopback.
class LoopbackServer {
public:
    explicit LoopbackServer(int backlog) : m_socket(SPW_CSocket::instance->openTcp()) {
        EXPECT_EQ(SPW_CSocket::instance->bind(m_socket, 0), 0);
        EXPECT_EQ(SPW_CSocket::instance->listen(m_socket, backlog), 0);
    }
    ~LoopbackServer() { (void)SPW_CSocket::instance->close(m_socket); }
    std::uint16_t port() const { return static_cast<std::uint16_t>(SPW_CSocket::instance->localPort(m_socket)); }

private:
    const SocketLibrary m_library;
    const SPW_Socket m_socket;
};

class LoopbackClient {
public:
    explicit LoopbackClient(std::uint16_t port) : m_socket(SPW_CSocket::instance->openTcp()) {
        EXPECT_EQ(SPW_CSocket::instance->connect(m_socket, kLoopback, port), 0);
    }
    ~LoopbackClient() { (void)SPW_CSocket::instance->close(m_socket); }

private:
    const SocketLibrary m_library;
    const SPW_Socket m_socket;
};

// A port that takes no further connection: a connect waits for half a minute at least.
class SilentPort {
public:
    std::uint16_t port() const { return m_server.port(); }

private:
    LoopbackServer m_server{0};
    LoopbackClient m_last{m_server.port()};
};

// --- The scenarios: an object, and the call in which it blocks.

// What all scenarios stand on; the sockets are watched before anything else is made.
struct Ground {
    WatchedSockets sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingReporter reporter;
    RecordingSink sink;
};

template <typename Connector>
struct ConnectorScenario : Ground {
    std::unique_ptr<Connector> object;
    SPW_Result start() { return object->StartSending(); }
    SPW_Result stop() { return object->StopSending(); }
};

template <typename Listener>
struct ListenerScenario : Ground {
    std::unique_ptr<Listener> object;
    SPW_Result start() { return object->StartListening(); }
    SPW_Result stop() { return object->StopListening(); }
};

struct ConnectToSilentAddress : ConnectorScenario<VTR_CTcpipConnector> {
    SilentPort silent;
    ConnectToSilentAddress() {
        object = std::make_unique<VTR_CTcpipConnector>(&sink, u"127.0.0.1", silent.port(), u"me", 0);
    }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kConnect); }
};

struct SendToPeerThatDoesNotRead : ConnectorScenario<VTR_CTcpipConnector> {
    LoopbackServer server{5};
    SendToPeerThatDoesNotRead() {
        SPW_CString name;
        name.fill(u'|', 60000);
        object = std::make_unique<VTR_CTcpipConnector>(&sink, u"127.0.0.1", server.port(), name, 0);
    }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kSend); }
};

struct SleepBetweenProbes : ConnectorScenario<VTR_CUdpConnector> {
    EndlessSleeps clock;
    SleepBetweenProbes() { object = std::make_unique<VTR_CUdpConnector>(&sink, u"127.0.0.1", 9, u"me", 60000); }
    ~SleepBetweenProbes() { object.reset(); }
    bool waitUntilBlocked() { return clock.waitForSleeps(1); }
};

struct SleepBetweenPings : Ground {
    EndlessSleeps clock;
    ScriptedIcmp icmp;
    ScopedInstance<SPW_CIcmp> icmpInstalled{icmp};
    std::unique_ptr<VTR_CPinger> object = std::make_unique<VTR_CPinger>(&sink, u"127.0.0.1", 60000, 32);
    SPW_Result start() { return object->StartPinging(); }
    SPW_Result stop() { return object->StopPinging(); }
    bool waitUntilBlocked() { return clock.waitForSleeps(1); }
};

struct SendToGroup : ConnectorScenario<VTR_CMulticastConnector> {
    SendToGroup() { object = std::make_unique<VTR_CMulticastConnector>(&sink, u"228.227.226.225", 9, u"me", 1, 0); }
    bool waitUntilBlocked() { return sockets.waitForEntries(WatchedSockets::kSendTo, 3); }
};

struct SelectWithoutClients : ListenerScenario<VTR_CTcpipListener> {
    SelectWithoutClients() { object = std::make_unique<VTR_CTcpipListener>(&sink, 0); }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kSelect); }
};

struct SelectWithClients : ListenerScenario<VTR_CTcpipListener> {
    std::vector<std::unique_ptr<LoopbackClient>> clients;
    SelectWithClients() { object = std::make_unique<VTR_CTcpipListener>(&sink, 0); }
    bool waitUntilBlocked() {
        for (int i = 0; i < 3; ++i) {
            clients.push_back(std::make_unique<LoopbackClient>(sockets.boundPort()));
        }
        return sockets.waitForEntries(WatchedSockets::kAccept, 3) && sockets.waitUntilBlocked(WatchedSockets::kSelect);
    }
};

// The same where the platform has a watch of its own.
struct WatchWithoutClients : ListenerScenario<VTR_CTcpipListener> {
    WatchWithoutClients() {
        sockets.usePlatformsWatch();
        object = std::make_unique<VTR_CTcpipListener>(&sink, 0);
    }
    bool waitUntilBlocked() {
        awaitOthersAsleep();
        return true;
    }
};

struct WatchWithClients : ListenerScenario<VTR_CTcpipListener> {
    std::vector<std::unique_ptr<LoopbackClient>> clients;
    WatchWithClients() {
        sockets.usePlatformsWatch();
        object = std::make_unique<VTR_CTcpipListener>(&sink, 0);
    }
    bool waitUntilBlocked() {
        for (int i = 0; i < 3; ++i) {
            clients.push_back(std::make_unique<LoopbackClient>(sockets.boundPort()));
        }
        const bool areAccepted = sockets.waitForEntries(WatchedSockets::kAccept, 3);
        awaitOthersAsleep();
        return areAccepted;
    }
};

struct AcceptOfNobody : ListenerScenario<VTR_CTcpipListener> {
    AcceptOfNobody() {
        sockets.pretendReady(0);
        object = std::make_unique<VTR_CTcpipListener>(&sink, 0);
    }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kAccept); }
};

struct ReceiveOfNothing : ListenerScenario<VTR_CTcpipListener> {
    std::unique_ptr<LoopbackClient> client;
    ReceiveOfNothing() {
        sockets.pretendReady(1);
        object = std::make_unique<VTR_CTcpipListener>(&sink, 0);
    }
    bool waitUntilBlocked() {
        client = std::make_unique<LoopbackClient>(sockets.boundPort());
        return sockets.waitUntilBlocked(WatchedSockets::kReceive);
    }
};

struct ReceiveDatagram : ListenerScenario<VTR_CUdpListener> {
    ReceiveDatagram() { object = std::make_unique<VTR_CUdpListener>(&sink, 0); }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kReceiveFrom); }
};

struct SelectForGroup : ListenerScenario<VTR_CMulticastListener> {
    SelectForGroup() { object = std::make_unique<VTR_CMulticastListener>(&sink, 0, u"228.227.226.225"); }
    bool waitUntilBlocked() { return sockets.waitUntilBlocked(WatchedSockets::kSelect); }
};

struct WaitForReply : Ground {
    ScriptedIcmp icmp;
    ScopedInstance<SPW_CIcmp> icmpInstalled{icmp};
    std::unique_ptr<VTR_CPinger> object;
    WaitForReply() {
        icmp.setAnswers(kLoopback, false);
        object = std::make_unique<VTR_CPinger>(&sink, u"127.0.0.1", 300, 32);
    }
    SPW_Result start() { return object->StartPinging(); }
    SPW_Result stop() { return object->StopPinging(); }
    bool waitUntilBlocked() {
        icmp.waitForRequests(1);
        return true;
    }
};

template <typename Scenario>
class ProbeStopTest : public testing::Test {
protected:
    template <typename Action>
    static void expectSoon(Action action) {
        const steady_clock::time_point begin = steady_clock::now();
        action();
        EXPECT_LT(steady_clock::now() - begin, kBound);
    }

    Scenario scenario;
};

typedef testing::Types<ConnectToSilentAddress, SendToPeerThatDoesNotRead, SleepBetweenProbes, SleepBetweenPings,
                       SendToGroup, SelectWithoutClients, SelectWithClients, WatchWithoutClients, WatchWithClients,
                       AcceptOfNobody, ReceiveOfNothing, ReceiveDatagram, SelectForGroup, WaitForReply>
    Scenarios;
TYPED_TEST_SUITE(ProbeStopTest, Scenarios);

}  // namespace

TYPED_TEST(ProbeStopTest, StopReturnsSoonAndNothingIsReportedAfterIt) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    this->expectSoon([this] { EXPECT_EQ(this->scenario.stop(), 0u); });
    this->scenario.sink.take();
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_THAT(this->scenario.sink.take(), testing::IsEmpty());
}

TYPED_TEST(ProbeStopTest, DestructionInTheCallReturnsSoon) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, DestructionAfterAStopReturnsSoon) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    ASSERT_EQ(this->scenario.stop(), 0u);
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, DestructionWithoutAStartReturnsSoon) {
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, EveryStartCanBeStoppedAtOnce) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(this->scenario.start(), 0u);
        this->expectSoon([this] { EXPECT_EQ(this->scenario.stop(), 0u); });
    }
}

TYPED_TEST(ProbeStopTest, AskingReturnsAtOnceAndTheStopStillAnswersAsEver) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    const steady_clock::time_point begin = steady_clock::now();
    this->scenario.object->askToStop();
    EXPECT_LT(steady_clock::now() - begin, milliseconds(500));
    this->expectSoon([this] { EXPECT_EQ(this->scenario.stop(), 0u); });
    EXPECT_EQ(this->scenario.stop(), 603u);
}

TYPED_TEST(ProbeStopTest, DestructionAfterAskingReturnsSoon) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    this->scenario.object->askToStop();
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, DestructionThatWasAskedForReturnsSoon) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_TRUE(this->scenario.waitUntilBlocked());
    const steady_clock::time_point begin = steady_clock::now();
    this->scenario.object->askToEnd();
    EXPECT_LT(steady_clock::now() - begin, milliseconds(500));
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, DestructionThatWasAskedForWhileIdleReturnsSoon) {
    ASSERT_EQ(this->scenario.start(), 0u);
    ASSERT_EQ(this->scenario.stop(), 0u);
    this->scenario.object->askToEnd();
    this->expectSoon([this] { this->scenario.object.reset(); });
}

TYPED_TEST(ProbeStopTest, AnIdleObjectThatIsAskedStartsAsEver) {
    this->scenario.object->askToStop();
    ASSERT_EQ(this->scenario.start(), 0u);
    EXPECT_TRUE(this->scenario.waitUntilBlocked());
    ASSERT_EQ(this->scenario.stop(), 0u);
    this->scenario.object->askToStop();
    EXPECT_EQ(this->scenario.start(), 0u);
    EXPECT_EQ(this->scenario.stop(), 0u);
}

// --- Many at a time

namespace {

// Senders that are asleep.
class ProbeStopManyTest : public testing::Test {
protected:
    static constexpr int kSenders = 200;
    static constexpr milliseconds kSoon{8000};

    ProbeStopManyTest() {
        for (int i = 0; i < kSenders; ++i) {
            senders.push_back(std::make_unique<VTR_CUdpConnector>(&sink, u"127.0.0.1", 9, u"me", 60000));
            EXPECT_EQ(senders.back()->StartSending(), 0u);
        }
        EXPECT_TRUE(clock.waitForSleeps(kSenders));
    }
    void askAll() {
        for (const auto& sender : senders) {
            sender->askToStop();
        }
    }

    WatchedSockets sockets;
    const ScopedInstance<SPW_CSocket> installed{sockets};
    EndlessSleeps clock;
    RecordingSink sink;
    std::vector<std::unique_ptr<VTR_CUdpConnector>> senders;
};

}  // namespace

TEST_F(ProbeStopManyTest, ThoseThatWereAskedStopSoon) {
    const steady_clock::time_point begin = steady_clock::now();
    askAll();
    for (const auto& sender : senders) {
        EXPECT_EQ(sender->StopSending(), 0u);
    }
    EXPECT_LT(steady_clock::now() - begin, kSoon);
}

TEST_F(ProbeStopManyTest, ThoseThatWereAskedAreDestroyedSoon) {
    const steady_clock::time_point begin = steady_clock::now();
    for (const auto& sender : senders) {
        sender->askToEnd();
    }
    senders.clear();
    EXPECT_LT(steady_clock::now() - begin, kSoon);
}

// --- A stop that meets the making of a socket

namespace {

// Opens a socket only when a stop is under way.
class OpensDuringStop : public HeldUntilClose {
public:
    SPW_Socket openTcp() override {
        hold();
        return SocketForwarder::openTcp();
    }
};

class ProbeStopRaceTest : public testing::Test {
protected:
    SilentPort silent;
    RecordingSink sink;
};

}  // namespace

TEST_F(ProbeStopRaceTest, ConnectThatBeginsAfterTheStopClosedTheOldSocketIsWoken) {
    OpensDuringStop sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    VTR_CTcpipConnector connector(&sink, u"127.0.0.1", silent.port(), u"me", 0);
    ASSERT_EQ(connector.StartSending(), 0u);
    sockets.waitUntilHeld();
    const steady_clock::time_point begin = steady_clock::now();
    EXPECT_EQ(connector.StopSending(), 0u);
    EXPECT_LT(steady_clock::now() - begin, kBound);
}

TEST_F(ProbeStopRaceTest, ConnectThatBeginsDuringTheDestructionIsWoken) {
    OpensDuringStop sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    auto connector = std::make_unique<VTR_CTcpipConnector>(&sink, u"127.0.0.1", silent.port(), u"me", 0);
    ASSERT_EQ(connector->StartSending(), 0u);
    sockets.waitUntilHeld();
    const steady_clock::time_point begin = steady_clock::now();
    connector.reset();
    EXPECT_LT(steady_clock::now() - begin, kBound);
}

TEST_F(ProbeStopRaceTest, StopsAmidTrafficAreSilent) {
    WatchedSockets sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    VTR_CUdpListener listener(&sink, 0);
    std::atomic<std::uint16_t> port{9};
    std::atomic<bool> over{false};
    // So that some stops meet the listener between two receives.
    std::thread traffic([&] {
        const SocketLibrary library;
        const SPW_Socket sender = SPW_CSocket::instance->openUdp();
        while (!over) {
            (void)SPW_CSocket::instance->sendTo(sender, kLoopback, port, "x", 1);  // a closed port may refuse it
        }
        (void)SPW_CSocket::instance->close(sender);
    });
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(listener.StartListening(), 0u);
        port = sockets.boundPort();
        std::this_thread::sleep_for(std::chrono::microseconds(200 + round));
        ASSERT_EQ(listener.StopListening(), 0u);
    }
    over = true;
    traffic.join();
    EXPECT_THAT(sink.take(), testing::IsEmpty());
}

TEST_F(ProbeStopRaceTest, StopsAtAnyMomentReturnSoon) {
    // Sleeps take no time: many rounds meet the step at many places.
    ScriptedClock clock;
    VTR_CTcpipConnector connector(&sink, u"127.0.0.1", silent.port(), u"me", 0);
    for (int round = 0; round < 300; ++round) {
        ASSERT_EQ(connector.StartSending(), 0u);
        const steady_clock::time_point begin = steady_clock::now();
        std::this_thread::sleep_for(std::chrono::microseconds(round % 50));
        ASSERT_EQ(connector.StopSending(), 0u);
        ASSERT_LT(steady_clock::now() - begin, kBound);
    }
}
