#pragma once

#include <cstdint>

#include "SPW_CString.h"

// Protocol numbers of row updates.
enum Protocol : int { kMulticast = 0, kUdp = 1, kTcpip = 2, kPing = 3, kProtocols = 4 };

// How the engine reaches the user interface. Called on probe threads and on the thread that drives the
// engine, several at once; an implementation posts the values to its own thread and returns.
class UiSink {
public:
    virtual ~UiSink() = default;
    virtual void noOperation() {}
    virtual void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                               std::int32_t total) = 0;
};
