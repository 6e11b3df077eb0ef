#pragma once

#include <cstdint>

#include "Canvas.h"
#include "PeerRowValues.h"
#include "SPW_CString.h"

// How a row of the list is marked: by its peer's state and its quality, of which the worse one counts. The state says
// how things are now. The quality also says what was lost before.
//
//   mark   look       state              quality
//   X      failure    silent             0
//   !      warning    partial, degraded  1 to 99
//   blank  plain      all others         100
//
// A row whose probes could not all be made is marked "?", unless its peer is silent.
char16_t rowMark(const PeerRowValues& row);
Look rowLook(const PeerRowValues& row);
// Whether nothing of the row needs to be looked at: its mark is blank.
bool isWell(const PeerRowValues& row);

// "silent 0:18": the state, and how long it has lasted. Empty for a peer that is well or still waited for. now100ns: of
// the clock of Stamp::monotonic100ns.
SPW_CString rowStateText(const PeerSummary& summary, std::uint64_t now100ns);
// "0:18": the same where there is less room; the mark says the rest.
SPW_CString rowStateAge(const PeerSummary& summary, std::uint64_t now100ns);
// How much a state is to be looked at, the worst being the highest.
int severity(PeerState state);

// The same mark for a quality alone: a blank at 100, "!" below 100, "X" at 0.
char16_t qualityMark(int quality);
