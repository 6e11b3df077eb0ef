#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// What a probe object is; passed back in every report and the index of its name in the log.
enum ProbeKind : std::uint32_t {
    kTcpipConnector = 0,
    kTcpipListener = 1,
    kUdpConnector = 2,
    kUdpListener = 3,
    kMulticastConnector = 4,
    kMulticastListener = 5,
    kPinger = 6,
};

// "tcpip connector" ... "pinger"; empty for anything else.
const char16_t* probeKindName(ProbeKind kind);

// A failing step's text followed by the error code in decimal.
SPW_CString probeFailureText(const char16_t* failure, SPW_Result code);

// The number of the probe after this one. Past the greatest number comes the least one.
constexpr std::int32_t nextSequence(std::int32_t sequence) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(sequence) + 1u);
}

// Results of the probes' start and stop operations.
constexpr SPW_Result kProbeAddressMissing = 600;
constexpr SPW_Result kProbeFailed = 601;
constexpr SPW_Result kProbeAlreadyRunning = 602;
constexpr SPW_Result kProbeNotRunning = 603;

// How what a connector sends gets on. A failure stays until something gets through: a connector that tries again and
// again to no avail is not "connecting" in between.
enum OutState : std::uint32_t {
    // Nothing has been tried yet. Never told.
    kOutUnknown = 0,
    // TCP: the first attempt to connect, or the first one after a connection has ended.
    kOutConnecting = 1,
    // TCP: there is a connection, and the far end answers as far as the platform tells. Others: the latest probe has
    // left this device.
    kOutOpen = 2,
    // TCP on Linux: there is a connection, but for a period and a half, and a second at least, the far end has
    // acknowledged nothing, and what was sent has been repeated. Either direction may be the one that is blocked.
    kOutUnanswered = 3,
    kOutRefused = 4,
    kOutTimedOut = 5,
    // Any other failure.
    kOutFailed = 6,
};

struct ProbeOut {
    OutState state = kOutUnknown;
    // Of a failure: the platform's code, else 0.
    SPW_Result code = 0;
    // Of kOutUnanswered, when it was noticed; else 0. Milliseconds since the far end's latest acknowledgement, the
    // packets that it has not acknowledged, and how often in a row they were repeated after a time-out.
    std::uint32_t ageMs = 0;
    std::uint32_t packets = 0;
    std::uint32_t timeouts = 0;
};

// How connectors, listeners and pingers tell the engine what happened. Every operation is called on
// the reporting object's own thread, never on the user-interface thread; several threads at once.
// The sink outlives every object that it was handed to.
class ProbeEventSink {
public:
    virtual ~ProbeEventSink() = default;
    // message: the failing step's text, usually followed by the error code in decimal.
    virtual void onSocketError(ProbeKind kind, std::uint32_t port, const SPW_CString& address, SPW_Result code,
                               const SPW_CString& message) = 0;
    virtual void onDataReceived(ProbeKind kind, std::uint32_t port, const SPW_CString& sender, std::int32_t sequence,
                                const SPW_CString& text) = 0;
    virtual void onDataSent(ProbeKind kind, std::uint32_t port, const SPW_CString& target, std::int32_t sequence,
                            const SPW_CString& text) = 0;

    // What stands beside the three above. A sink that needs none of it overrides nothing.

    // Of a pinger: how the reply came that the next onDataReceived() reports. address: the one of that report.
    // roundTripUs: microseconds, as SPW_EchoReply has them. timeToLive: of the received reply, 0 when it is not known.
    virtual void onReplyMeasured(const SPW_CString& address, std::uint32_t roundTripUs, std::uint8_t timeToLive) {
        (void)address;
        (void)roundTripUs;
        (void)timeToLive;
    }
    // Of a connector: how what it sends gets on now, called on a change alone. target: the one of its onDataSent().
    // After a failure it follows the onSocketError() that tells of it.
    virtual void onOutState(ProbeKind kind, const SPW_CString& target, const ProbeOut& out) {
        (void)kind;
        (void)target;
        (void)out;
    }
};
