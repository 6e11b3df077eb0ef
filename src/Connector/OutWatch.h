#pragma once

#include <cstdint>

#include "ProbeEventSink.h"
#include "SPW_CSocket.h"
#include "SPW_CString.h"

// Follows how what one connector sends gets on, and tells the sink of every change, once.
//
//     event                                     state
//     the connector begins to connect           kOutConnecting; after an attempt that failed: as it was
//     it has connected, or a datagram has left  kOutOpen
//     the far end leaves probes unanswered      kOutUnanswered
//     it answers again                          kOutOpen
//     a call has failed                         kOutRefused, kOutTimedOut or kOutFailed; as it was when the connector
//                                               itself had closed the socket
//
// Belongs to the connector's thread.
class OutWatch {
public:
    // periodMs: milliseconds between probes. What is handed over outlives the watch.
    OutWatch(ProbeEventSink* sink, ProbeKind kind, const SPW_CString& target, std::int32_t periodMs);

    void beginConnecting();
    void open();
    void fail(SPW_Result code);
    // Looks at a connection just before its next probe, which leaves at now100ns (as SPW_CClock counts). The probe
    // before has then had one period. Asks the platform once a second at most.
    void look(SPW_Socket socket, std::uint64_t now100ns);

private:
    void change(const ProbeOut& out);

    ProbeEventSink* const m_sink;
    const ProbeKind m_kind;
    const SPW_CString& m_target;
    const std::uint32_t m_patienceMs;
    ProbeOut m_out;
    // Since an attempt to connect has begun, and until one succeeds.
    bool m_isTrying = false;
    std::uint64_t m_lastLook100ns = 0;
};
