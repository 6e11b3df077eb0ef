#pragma once

#include <cstdint>

#include "PeerRowValues.h"
#include "SPW_CString.h"

// How the engine reaches the user interface. Called on probe threads and on the threads that drive the engine, but
// one call at a time, and in the order in which things were counted: the last update of a row is its present state.
// An implementation posts the values to its own thread and returns, since the next probe to be counted waits for it.
// It may call the engine's const operations, no others.
//
// The first two operations, their arguments and their order are fixed by the system's design. The engine calls those
// after them, which carry a whole row.
class UiSink {
public:
    virtual ~UiSink() = default;
    virtual void noOperation() {}
    // A row's figures of one protocol. label: the row's text. quality: percent.
    virtual void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                               std::int32_t total) {
        (void)label;
        (void)quality;
        (void)protocol;
        (void)received;
        (void)total;
    }

    // The row's counts of this protocol have changed. A sink that does not override this gets an updatePeerRow()
    // instead, and can tell rows apart by their labels only.
    virtual void rowChanged(const PeerRowValues& row, int protocol) {
        const ProtocolCounts& counts = row.counts[protocol];
        updatePeerRow(row.label(), row.quality, protocol, counts.received, counts.total);
    }
    // The probes of this kind to this peer could not be made, and none are sent. It is told once a row and protocol.
    // The row may still change afterwards, because the peer's own probes arrive all the same.
    virtual void probesNotMade(const PeerRowValues& row, int protocol) {
        (void)row;
        (void)protocol;
    }
    // The row's state, row.summary.state, has changed, as the engine has found in its look at all rows once a second.
    // What has happened in detail is in TestEngine::eventsAfter(), which already has it.
    virtual void rowStateChanged(const PeerRowValues& row) { (void)row; }
    // The row is gone: it had to make room for another discovered peer. Nothing is told of it any more, and its number
    // does not come again. row: as it was last. A start forgets all rows without this call.
    virtual void rowGivenUp(const PeerRowValues& row) { (void)row; }
};
