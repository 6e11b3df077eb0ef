#pragma once

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// What the user must be told when the program or a test has been started: something that keeps the test from running,
// or from being the test that was meant. Every front end shows each of them, in its own way.
struct StartProblem {
    enum Kind {
        kLogInUse,            // another program writes to the log; no test may run before there is another log
        kLogNotOpened,        // a test runs without a log
        kListenerNotStarted,  // the peers will not be heard
        kNoInterface,         // no peer can be reached
        kProbeNotMade,        // a peer is not measured by all that was selected
        kNoPause,             // probes leave without a pause, which is hardly what anybody wants
    };

    Kind kind = kLogNotOpened;
    SPW_CString text;  // one line in plain words, without a full stop; safe to show

    static StartProblem ofLog(const SPW_CString& path, SPW_Result code);
    // errorText: the listener's, which ends with a number that few know by heart.
    static StartProblem ofListener(const SPW_CString& errorText);
    static StartProblem ofNoInterface();
    static StartProblem ofProbes();
    static StartProblem ofNoPause();
};

bool hasProblem(const SPW_CArray<StartProblem>& problems, StartProblem::Kind kind);
