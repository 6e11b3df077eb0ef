#pragma once

#include <cstdint>

#include "PeerInsightValues.h"
#include "SPW_CString.h"

// What the record of one peer says, in words for a person. Clock times are local. Texts are safe to show. Threads: any.

// "silent since 12:03:20, for 0:18"; empty for a peer without a state. now100ns: of the clock of Stamp::monotonic100ns.
SPW_CString peerStateText(const PeerInsightValues& values, std::uint64_t now100ns);
// "silent since 12:03:20"; empty for a kind without a state.
SPW_CString inText(const KindValues& kind);
// "connected since 12:00:01", "refused since 12:00:02 (error 10061)": how this device's own sending goes. Empty where
// nothing was sent.
SPW_CString outText(int protocol, const OutValues& out);
// "connected", "refused 10061": the same where there is little room.
SPW_CString outWord(int protocol, const OutValues& out);
// "rtt 0.31 ms, jitter 0.04 ms, mean 0.30 ms, 0.21 ms to 1.3 ms, p95 0.40 ms"; empty while no ping was answered.
SPW_CString roundTripLine(const RoundTripValues& values);
// "12:03:20 - 12:03:38  0:18  Udp, Ping, 36 probes missed"; one that lasts has blanks for its end.
SPW_CString outageLine(const OutageValues& outage);
// What follows from the figures, marked as a conclusion; empty where nothing does.
SPW_CString conclusionText(const PeerInsightValues& values);

// All of it, in lines that end with LF: the states and figures of each kind, in and out; times; outages, the latest
// first; restarts.
SPW_CString insightReport(const PeerInsightValues& values, std::uint64_t now100ns);
