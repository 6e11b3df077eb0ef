#pragma once

#include "SPW_CThread.h"
#include "VTR_CEvent.h"

// How the thread of a probe object comes to life and how its owner waits for its end: the same for connectors,
// listeners and pingers.
//
// A thread's steps and its finish() are virtual operations of the probe object, and SPW_CThread does not wait for
// its thread. So every derived probe class waits in its own destructor, while its operations still stand.
class ProbeWorker {
public:
    ProbeWorker() = default;
    ProbeWorker(const ProbeWorker&) = delete;
    ProbeWorker& operator=(const ProbeWorker&) = delete;

    // Starts the thread with its pause gate held, so that it blocks before its first step.
    void begin(SPW_CThread& thread);
    // The thread's finish().
    void signalEnd();
    // Asks the thread to stop and waits without limit until it has left its loop. gateHeld: the owner holds the
    // pause gate, which is opened to let the thread run out. Does nothing when there is no thread (any more).
    void end(SPW_CThread& thread, bool gateHeld);

private:
    VTR_CEvent m_finished;
    bool m_hasThread = false;
};
