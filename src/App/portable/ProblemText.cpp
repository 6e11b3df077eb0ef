#include "ProblemText.h"

SPW_CString problemText(const StartProblem& problem) {
    switch (problem.kind) {
        case StartProblem::kLogInUse:
            return problem.text + u"\nA test can be started when it is free, or when the settings name another log.";
        case StartProblem::kLogNotOpened:
            return problem.text + u"\nTests can be run all the same.";
        default:
            return problem.text;
    }
}
