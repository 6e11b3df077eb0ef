#pragma once

#include <cstdint>

#include "InsightEvent.h"
#include "InsightState.h"
#include "SPW_CString.h"

// The words in which front ends say what the record of a peer holds. Texts are safe to show. Threads: any.

// "waiting", "reachable", "degraded", "partial" or "silent"; empty for a peer without a state.
const char16_t* stateWord(PeerState state);
// "waiting", "ok", "lossy" or "silent"; empty for a kind without a state.
const char16_t* stateWord(KindState state);
// "connecting", "open", "unanswered", "refused", "timed out" or "failed"; empty where nothing was sent.
const char16_t* stateWord(SendState state);

// "0:18", "2:05" or "1:02:05": whole seconds, cut.
SPW_CString spanText(std::uint64_t span100ns);
// "12:00:05": local time of a wall clock's reading (SPW_CClock::wall100ns), or "-" for 0, which is never.
SPW_CString clockText(std::uint64_t wall100ns);
// "0.31 ms", "1.3 ms", "80 ms" or "1.2 s": two digits at least from a tenth of a millisecond on.
SPW_CString roundTripText(std::uint32_t time100ns);
// "2 routers between"; empty where that is not known.
SPW_CString hopsText(int hops);
// "Mcast, Ping": the kinds whose bits are set (1 << Protocol), in the order of their columns.
SPW_CString kindNames(std::uint8_t kinds);
// "10.0.0.7 (pocket1)", or the bare address of a peer without a name. "all peers" where the event has no peer.
SPW_CString peerLabel(const InsightEvent& event);
// What has happened to whom, in one sentence without a time, such as
// "10.0.0.7 (pocket1) is silent, after 2:05 reachable".
SPW_CString eventSentence(const InsightEvent& event);
