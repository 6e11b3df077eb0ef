#include "ProbeListener.h"

#include <gmock/gmock.h>

#include <memory>

#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpListener.h"

using testing::IsEmpty;

namespace {

constexpr std::uint16_t kPort = 5009;

struct Tcpip {
    typedef VTR_CTcpipListener Listener;
    static std::unique_ptr<Listener> make(ProbeEventSink* sink) { return std::make_unique<Listener>(sink, kPort); }
    static constexpr ScriptedSocket::Call kWait = ScriptedSocket::kSelect;
    static constexpr ScriptedSocket::Call kOpen = ScriptedSocket::kOpenTcp;
    static constexpr char kName[] = "tcpip listener";
};
struct Udp {
    typedef VTR_CUdpListener Listener;
    static std::unique_ptr<Listener> make(ProbeEventSink* sink) { return std::make_unique<Listener>(sink, kPort); }
    static constexpr ScriptedSocket::Call kWait = ScriptedSocket::kReceiveFrom;
    static constexpr ScriptedSocket::Call kOpen = ScriptedSocket::kOpenUdp;
    static constexpr char kName[] = "udp listener";
};
struct Multicast {
    typedef VTR_CMulticastListener Listener;
    static std::unique_ptr<Listener> make(ProbeEventSink* sink) {
        return std::make_unique<Listener>(sink, kPort, u"228.227.226.225");
    }
    static constexpr ScriptedSocket::Call kWait = ScriptedSocket::kSelect;
    static constexpr ScriptedSocket::Call kOpen = ScriptedSocket::kOpenUdpShared;
    static constexpr char kName[] = "multicast listener";
};

// What all listeners have in common.
template <typename Kind>
class ProbeListenerTest : public testing::Test {
protected:
    // The listener's latest refusal, and that reading it has emptied it.
    std::string refusal() {
        const std::string text(listener->GetLastErrorText().toAnsi());
        EXPECT_EQ(std::string(listener->GetLastErrorText().toAnsi()), std::string(Kind::kName) + " : ");
        return text;
    }
    static std::string named(const char* text) { return std::string(Kind::kName) + " : " + text; }

    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    std::unique_ptr<typename Kind::Listener> listener = Kind::make(&sink);
};

typedef testing::Types<Tcpip, Udp, Multicast> Kinds;
TYPED_TEST_SUITE(ProbeListenerTest, Kinds);

}  // namespace

TYPED_TEST(ProbeListenerTest, BindsItsPortWithASocketOfItsKind) {
    EXPECT_EQ(this->sockets.calls(TypeParam::kOpen), 0);
    ASSERT_EQ(this->listener->StartListening(), 0u);
    EXPECT_EQ(this->sockets.calls(TypeParam::kOpen), 1);
    EXPECT_EQ(this->sockets.openSockets(), 1);
    EXPECT_TRUE(this->sockets.waitUntilBlocked(TypeParam::kWait));
}

TYPED_TEST(ProbeListenerTest, IdleListenerDoesNotWaitForInput) {
    EXPECT_EQ(this->sockets.calls(TypeParam::kWait), 0);
    ASSERT_EQ(this->listener->StartListening(), 0u);
    ASSERT_TRUE(this->sockets.waitUntilBlocked(TypeParam::kWait));
    ASSERT_EQ(this->listener->StopListening(), 0u);
    EXPECT_EQ(this->sockets.calls(TypeParam::kWait), 1);
}

TYPED_TEST(ProbeListenerTest, SecondStartIsRefused) {
    EXPECT_EQ(this->listener->StartListening(), 0u);
    EXPECT_EQ(this->listener->StartListening(), 602u);
    EXPECT_EQ(this->refusal(), this->named(""));
    EXPECT_EQ(this->sockets.calls(TypeParam::kOpen), 1);
}

TYPED_TEST(ProbeListenerTest, StopOfAnIdleListenerIsRefused) {
    EXPECT_EQ(this->listener->StopListening(), 603u);
    EXPECT_EQ(this->refusal(), this->named("Not currently listening"));
}

TYPED_TEST(ProbeListenerTest, PortThatCannotBeBoundIsRefused) {
    this->sockets.failNext(ScriptedSocket::kBind, kSockAddressInUse);
    EXPECT_EQ(this->listener->StartListening(), 601u);
    EXPECT_EQ(this->refusal(), this->named("bind failed 10048"));
    EXPECT_EQ(this->sockets.openSockets(), 0);
    EXPECT_EQ(this->listener->StopListening(), 603u);
    EXPECT_EQ(this->listener->StartListening(), 0u);
}

TYPED_TEST(ProbeListenerTest, SocketThatCannotBeMadeMakesTheBindFail) {
    this->sockets.failNext(TypeParam::kOpen, kSockTooManyFiles);
    EXPECT_EQ(this->listener->StartListening(), 601u);
    EXPECT_EQ(this->refusal(), this->named("bind failed 10038"));
}

TYPED_TEST(ProbeListenerTest, StopIsSilentAndTheRestartHasANewSocket) {
    for (int run = 1; run <= 3; ++run) {
        ASSERT_EQ(this->listener->StartListening(), 0u);
        ASSERT_TRUE(this->sockets.waitUntilBlocked(TypeParam::kWait));
        ASSERT_EQ(this->listener->StopListening(), 0u);
        EXPECT_EQ(this->sockets.openSockets(), 0);
        EXPECT_EQ(this->sockets.calls(TypeParam::kOpen), run);
    }
    EXPECT_THAT(this->sink.take(), IsEmpty());
}

TYPED_TEST(ProbeListenerTest, DestructionWhileListeningIsSilentAndClosesTheSocket) {
    ASSERT_EQ(this->listener->StartListening(), 0u);
    ASSERT_TRUE(this->sockets.waitUntilBlocked(TypeParam::kWait));
    this->listener.reset();
    EXPECT_EQ(this->sockets.openSockets(), 0);
    EXPECT_THAT(this->sink.take(), IsEmpty());
}

TYPED_TEST(ProbeListenerTest, HoldsTheSocketLibraryFromConstructionToDestruction) {
    EXPECT_EQ(this->sockets.startups(), 1);
    this->listener.reset();
    EXPECT_EQ(this->sockets.startups(), 0);
}
