#pragma once

#include "SPW_CString.h"
#include "SPW_Types.h"

class ProbeWorker;

// What the owner of many probe objects needs of each, be it a connector, a listener or a pinger. A start is
// StartSending(), StartListening() or StartPinging(), and so on; their headers give the codes.
//
// The owner of a probe is the thread that may construct, start, stop and destroy it: one thread at a time. ProbeSet
// hands a probe from one thread to another under its lock.
//
// Stopping and destroying have two halves: the owner of many asks all of them first and waits for each then.
class Probe {
public:
    virtual ~Probe() = default;

    // 0 or a code.
    [[nodiscard]] virtual SPW_Result startProbe() = 0;
    // Says that a stop comes; returns at once.
    virtual void askToStop() = 0;
    // 0 or a code. When it returns, the probe makes no call until the next start.
    [[nodiscard]] virtual SPW_Result stopProbe() = 0;
    // Says that the destruction comes, which is all that may follow. Returns at once, unless askToStop() has come
    // before without stopProbe(): then it waits for the step in progress.
    virtual void askToEnd() = 0;
    // Why the latest start or stop failed, in words. Some probes give it once.
    virtual SPW_CString failureText() = 0;
    // Tells whether the probe has a thread.
    virtual const ProbeWorker& worker() const = 0;
};
