// A listener's own stop is no failure. It closes the socket just before a call or during it, and no call reports that.

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "Patience.h"
#include "RecordingReporter.h"
#include "RecordingSink.h"
#include "SPW_CSysError.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"
#include "SocketForwarder.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpListener.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint16_t kPort = 5009;
const SPW_CIpAddress kPeer(10, 0, 0, 2);

// Holds each call of one kind until its socket has been closed, and fails it then with a code of the test's choice.
class MeetsClose : public SocketForwarder {
public:
    typedef ScriptedSocket::Call Call;

    MeetsClose(SPW_CSocket& target, Call call, SPW_Result code) : SocketForwarder(target), m_call(call), m_code(code) {}

    bool waitUntilHeld() {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [this] { return m_isHeld; });
    }

    int close(SPW_Socket socket) override {
        const int result = SocketForwarder::close(socket);
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_closed.push_back(socket);
        m_changed.notify_all();
        return result;
    }
    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        return meets(ScriptedSocket::kAccept, socket) ? kInvalidSocket : SocketForwarder::accept(socket, peer);
    }
    int receive(SPW_Socket socket, void* buffer, int size) override {
        return meets(ScriptedSocket::kReceive, socket) ? -1 : SocketForwarder::receive(socket, buffer, size);
    }
    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        return meets(ScriptedSocket::kReceiveFrom, socket) ? -1
                                                           : SocketForwarder::receiveFrom(socket, buffer, size, sender);
    }
    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        return meets(ScriptedSocket::kSelect, read->at(0)) ? -1 : SocketForwarder::select(read, except, timeoutMs);
    }
    int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        return meets(ScriptedSocket::kJoinGroup, socket) ? -1
                                                         : SocketForwarder::joinGroup(socket, group, interfaceAddress);
    }
    SPW_Result lastError() override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_isHeld ? m_code : SocketForwarder::lastError();
    }

private:
    bool meets(Call call, SPW_Socket socket) {
        if (call != m_call) {
            return false;
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isHeld = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return std::find(m_closed.begin(), m_closed.end(), socket) != m_closed.end(); });
        return true;
    }

    const Call m_call;
    const SPW_Result m_code;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isHeld = false;
    std::vector<SPW_Socket> m_closed;
};

std::unique_ptr<ProbeListener> makeTcp(ProbeEventSink* sink) {
    return std::make_unique<VTR_CTcpipListener>(sink, kPort);
}
std::unique_ptr<ProbeListener> makeUdp(ProbeEventSink* sink) {
    return std::make_unique<VTR_CUdpListener>(sink, kPort);
}
std::unique_ptr<ProbeListener> makeMulticast(ProbeEventSink* sink) {
    return std::make_unique<VTR_CMulticastListener>(sink, kPort, u"228.227.226.225");
}

// A listener, the call that meets its stop, and how what it reports of a failure there begins and ends.
struct Meeting {
    const char* name;
    std::unique_ptr<ProbeListener> (*make)(ProbeEventSink* sink);
    ScriptedSocket::Call call;
    const char* reportHead;
    const char* reportTail;
};
void PrintTo(const Meeting& meeting, std::ostream* stream) {
    *stream << meeting.name;
}

const Meeting kMeetings[] = {
    {"TcpSelect", makeTcp, ScriptedSocket::kSelect, "error 1 5009  ", ": select failed"},
    {"TcpAccept", makeTcp, ScriptedSocket::kAccept, "error 1 5009  ", ": accept failed"},
    {"TcpReceive", makeTcp, ScriptedSocket::kReceive, "error 1 5009 10.0.0.2 ", ": recv failed 10054"},
    {"UdpReceive", makeUdp, ScriptedSocket::kReceiveFrom, "error 3 5009  ", ": recvfrom failed"},
    {"MulticastSelect", makeMulticast, ScriptedSocket::kSelect, "error 5 5009 228.227.226.225 ", ": select failed"},
    {"MulticastReceive", makeMulticast, ScriptedSocket::kReceiveFrom, "error 5 5009 228.227.226.225 ",
     ": recvfrom failed"},
    {"MulticastJoin", makeMulticast, ScriptedSocket::kJoinGroup, "error 5 5009 228.227.226.225 ",
     ": setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 failed reason: 10054"},
};

class ListenerStopSilenceTest : public testing::TestWithParam<Meeting> {
protected:
    // Starts a listener whose call meets its stop, and waits until it is in that call.
    void startAndMeet(SPW_Result code) {
        met = std::make_unique<MeetsClose>(sockets, GetParam().call, code);
        installed = std::make_unique<ScopedInstance<SPW_CSocket>>(*met);
        listener = GetParam().make(&sink);
        ASSERT_EQ(listener->StartListening(), 0u);
        sendWhatLeadsThere();
        ASSERT_TRUE(met->waitUntilHeld());
    }
    void end() {
        listener.reset();
        installed.reset();
    }

    ScriptedSocket sockets;
    RecordingReporter reporter;
    RecordingSink sink;
    std::unique_ptr<MeetsClose> met;
    std::unique_ptr<ScopedInstance<SPW_CSocket>> installed;
    std::unique_ptr<ProbeListener> listener;

private:
    void sendWhatLeadsThere() {
        switch (GetParam().call) {
            case ScriptedSocket::kAccept:
                sockets.connectFrom(kPeer, kPort);
                break;
            case ScriptedSocket::kReceive:
                sockets.send(sockets.connectFrom(kPeer, kPort), "x", 1);
                break;
            case ScriptedSocket::kReceiveFrom:
                sockets.deliver(kPort, kPeer, "x");
                break;
            case ScriptedSocket::kJoinGroup:
                sockets.expireSelects();
                break;
            default:
                break;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Calls, ListenerStopSilenceTest, testing::ValuesIn(kMeetings),
                         [](const auto& instance) { return instance.param.name; });

// The call in which each listener waits.
class ListenerEndSilenceTest : public ListenerStopSilenceTest {};

std::vector<Meeting> waits() {
    std::vector<Meeting> found;
    for (const Meeting& meeting : kMeetings) {
        if (meeting.call == ScriptedSocket::kSelect ||
            (meeting.make == makeUdp && meeting.call == ScriptedSocket::kReceiveFrom)) {
            found.push_back(meeting);
        }
    }
    return found;
}

INSTANTIATE_TEST_SUITE_P(Waits, ListenerEndSilenceTest, testing::ValuesIn(waits()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

TEST_P(ListenerStopSilenceTest, NeitherCodeOfAStopIsReported) {
    for (const SPW_Result code : {kSockInterrupted, kSockNotSocket}) {
        startAndMeet(code);
        EXPECT_EQ(listener->StopListening(), 0u);
        EXPECT_THAT(sink.take(), IsEmpty()) << code;
        end();
    }
}

TEST_P(ListenerStopSilenceTest, NeitherCodeOfADestructionIsReported) {
    for (const SPW_Result code : {kSockInterrupted, kSockNotSocket}) {
        startAndMeet(code);
        end();
        EXPECT_THAT(sink.take(), IsEmpty()) << code;
    }
}

// The sink may be about to go: a wait that a destruction ends tells nothing any more, whatever it ends with. (What
// fails behind a wait has been begun before.)
TEST_P(ListenerEndSilenceTest, AWaitThatADestructionEndsReportsNothingAtAll) {
    startAndMeet(kSockReset);
    end();
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_P(ListenerStopSilenceTest, AnyOtherCodeIsReportedEvenDuringAStop) {
    startAndMeet(kSockReset);
    EXPECT_EQ(listener->StopListening(), 0u);
    EXPECT_THAT(sink.take(), ElementsAre(std::string(GetParam().reportHead) + "10054" + GetParam().reportTail));
    end();
}
