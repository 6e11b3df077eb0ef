#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSocket.h"
#include "VTR_CTcpipListener.h"

constexpr std::uint16_t kPort = 5009;

inline std::string probe(int sequence) {
    return "Vantiro Diagnostic|" + std::to_string(sequence) + "|n" + std::string(1, '\0');
}

// A TCP listener on scripted sockets, and those that connect to it.
class TcpListenerFixture : public testing::Test {
protected:
    void start(const ListenerLimits& limits = ListenerLimits()) {
        listener = std::make_unique<VTR_CTcpipListener>(&sink, kPort, limits);
        restart();
    }
    void restart() {
        ASSERT_EQ(listener->StartListening(), 0u);
        ASSERT_TRUE(sockets.waitUntilBlocked(ScriptedSocket::kSelect));
    }
    // Runs something that wakes the listener, and waits until it waits again.
    template <typename Action>
    void settle(Action action) {
        const int selects = sockets.calls(ScriptedSocket::kSelect);
        action();
        ASSERT_TRUE(sockets.waitForCalls(ScriptedSocket::kSelect, selects + 1));
        ASSERT_TRUE(sockets.waitUntilBlocked(ScriptedSocket::kSelect));
    }
    SPW_Socket connect(const SPW_CIpAddress& from) {
        SPW_Socket client = kInvalidSocket;
        settle([&] { client = sockets.connectFrom(from, kPort); });
        return client;
    }
    void send(SPW_Socket client, const std::string& bytes) {
        ASSERT_EQ(sockets.send(client, bytes.data(), static_cast<int>(bytes.size())), static_cast<int>(bytes.size()));
    }
    std::vector<std::string> waitForEvents(std::size_t count) {
        EXPECT_TRUE(sink.waitFor(count));
        return sink.take();
    }

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    std::unique_ptr<VTR_CTcpipListener> listener;
};
