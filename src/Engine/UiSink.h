#pragma once

#include <cstdint>

#include "SPW_CString.h"

// Protocol numbers of row updates.
enum Protocol : int { kMulticast = 0, kUdp = 1, kTcpip = 2, kPing = 3, kProtocols = 4 };

// How the engine reaches the user interface. Called on probe threads and on the threads that drive the engine, but
// one call at a time, and in the order in which things were counted: the last update of a row is its present state.
// An implementation posts the values to its own thread and returns, since the next probe to be counted waits for it.
// It may call the engine's const operations, no others.
class UiSink {
public:
    virtual ~UiSink() = default;
    virtual void noOperation() {}
    // label: the row's text and key, safe to show. quality: percent.
    virtual void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                               std::int32_t total) = 0;
    // The probes of this kind to this peer could not be made, so nothing is sent to it. Once a row and kind, after
    // which the row may still be updated: the peer's own probes arrive all the same.
    virtual void probesNotMade(const SPW_CString& label, int protocol) {
        (void)label;
        (void)protocol;
    }
};
