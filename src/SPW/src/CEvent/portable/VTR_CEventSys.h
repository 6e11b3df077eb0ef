#pragma once

#include <cstdint>

#include "SPW_Types.h"

// What a platform half gives VTR_CEvent. Any thread may call every function.
namespace VTR_CEventSys {

enum WaitOutcome { kSet, kTimedOut, kFailed };

// Null when the platform cannot make the event. name is null or empty for an event of this object alone.
SPW_Handle create(bool manualReset, bool initiallySet, const char16_t* name);
// No thread waits on it any more. A thread that is about to return from set may still be inside.
void destroy(SPW_Handle event);
// Releases one waiter (automatic reset) or all (manual reset), or the next to come. Never blocks. False: refused.
bool set(SPW_Handle event);
bool reset(SPW_Handle event);
// Blocks until the event is set, at most timeoutMs (kSPWForever: no limit).
WaitOutcome wait(SPW_Handle event, std::uint32_t timeoutMs);
// Blocks until the event is set. Meanwhile the window messages of the calling thread, if the platform has such, are
// dispatched untranslated: those that wait already first, then whatever input comes.
void waitAndDispatch(SPW_Handle event);

}  // namespace VTR_CEventSys
