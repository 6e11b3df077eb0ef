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
};
