#include "StartProblem.h"

#include "ForeignText.h"
#include "SPW_CSysError.h"

StartProblem StartProblem::ofLog(const SPW_CString& path, SPW_Result code) {
    if (code == kSysSharingViolation) {
        return {kLogInUse, u"the log " + showableText(path) + u" is in use by another linkometry"};
    }
    return {kLogNotOpened,
            u"cannot open the log file " + showableText(path) + u": " + SPW_CSysError::instance->text(code)};
}

StartProblem StartProblem::ofListener(const SPW_CString& errorText) {
    const SPW_Result code = static_cast<SPW_Result>(errorText.afterLast(u" ").toInt());
    SPW_CString text = u"cannot listen: " + errorText + u" (" + SPW_CSysError::instance->text(code);
    if (code == kSockAddressInUse) {
        text += u"; is another linkometry running?";
    }
    return {kListenerNotStarted, showableText(text + u")")};
}

StartProblem StartProblem::ofNoInterface() {
    return {kNoInterface, u"no network interface has an address by which other devices could reach this one"};
}

StartProblem StartProblem::ofProbes() {
    return {kProbeNotMade,
            u"some probes could not be made, because the system has no thread left for them; the log says which"};
}

StartProblem StartProblem::ofNoPause() {
    return {kNoPause,
            u"the settings \"frequency qty\" and \"frequency units\" make no time above 0 (units are milliseconds, "
            u"seconds, minutes, hours and days): probes leave without a pause"};
}

bool hasProblem(const SPW_CArray<StartProblem>& problems, StartProblem::Kind kind) {
    for (int i = 0; i < problems.numberOfElements(); ++i) {
        if (problems[i].kind == kind) {
            return true;
        }
    }
    return false;
}
