#pragma once

#include <atomic>

#include "Probe.h"
#include "ProbeEventSink.h"
#include "SPW_CString.h"
#include "SPW_CSysError.h"
#include "SPW_CThread.h"
#include "SPW_Types.h"
#include "VTR_CEvent.h"

// The thread of a probe object and its pause gate: how the thread comes to life, is let go, paused and ended. The same
// for connectors, listeners, pingers and the engine's SecondTicker.
//
// Pausing and ending have two halves: asking and waiting. An owner of thousands asks all of them first and then waits
// for each. A thread that is asked ends its sleep, finishes its step and hands the gate to the owner.
//
// A thread's steps and its finish() are virtual operations of the probe object, and SPW_CThread does not wait for
// its thread. So every derived probe class waits in its own destructor, while its operations still stand.
class ProbeWorker {
public:
    ProbeWorker() = default;
    ProbeWorker(const ProbeWorker&) = delete;
    ProbeWorker& operator=(const ProbeWorker&) = delete;

    // ---- The owner's

    // Starts the thread with its pause gate held, so that it blocks before its first step.
    void begin(SPW_CThread& thread);
    // False when the platform had no thread or no event to give (reported there): no step will ever run.
    bool hasThread() const { return m_beginResult == 0; }
    // What begin() gave: 0, or the code of the event or the thread that was refused. The text says the same in words.
    SPW_Result beginResult() const { return m_beginResult; }
    SPW_CString failureText() const;
    // Opens the gate, which the owner holds: steps follow one another from now on.
    void openGate(SPW_CThread& thread);
    // Asks the thread to hand the gate over after its step, and ends its sleep. Returns at once. True when the thread
    // has not been asked before: the owner then ends what else blocks the step.
    bool askToStop();
    // Waits until the thread has handed the gate over: for the step in progress. Asks it if need be.
    void closeGate();
    // Asks the thread to leave its loop after the step in progress, and ends its sleep. Returns at once, unless
    // askToStop() has come before without closeGate(). The result is that of askToStop().
    bool askToEnd(SPW_CThread& thread);
    // Ends the thread and waits for that, the step in progress included. Does nothing when there is none (any more).
    void end(SPW_CThread& thread);

    // Any thread: whether askToStop() came last, and not openGate().
    bool isStopAsked() const { return m_stopAsked; }
    // Ends the thread's sleeps in SPW_CClock::sleepTowards(). askToStop() and askToEnd() set it.
    VTR_CEvent& wake() { return m_wake; }

    // ---- The thread's

    // First thing in a step. False when a stop has been asked for. The thread has then handed the gate over and has got
    // it back, and the step returns at once.
    bool mayStep(SPW_CThread& thread);
    // The thread's finish().
    void signalEnd();

private:
    // Set when the thread has handed the gate over, and when it has left its loop.
    VTR_CEvent m_handedOver;
    // Set when the thread's sleep must end.
    VTR_CEvent m_wake;
    std::atomic<bool> m_stopAsked{false};
    SPW_Result m_beginResult = 0;
    bool m_isRunning = false;
    bool m_isEndAsked = false;
    bool m_isGateHeld = true;
};

// Why this probe object, which may be null, can neither send nor hear anything, in words and with the code; empty when
// it can.
SPW_CString whyNotMade(const Probe* probe);
