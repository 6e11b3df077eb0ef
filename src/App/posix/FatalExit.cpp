#include "FatalExit.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "SPW_CError.h"
#include "TerminalRescue.h"

namespace {

// The reporter calls a plain function.
ScreenMessageBox* screenBox = nullptr;
Wakeup* screenWakeup = nullptr;
std::thread::id screenThread;
std::atomic<int> fatalCode{0};
std::atomic<bool> isScreenGone{false};

[[noreturn]] void endProcess(int code) {
    screenBox->close();  // what has not been read is said on standard error
    _exit(code);
}

void exitAfterFatalError(int code) {
    if (std::this_thread::get_id() == screenThread) {
        TerminalRescue::restore();
        endProcess(code);
    }
    screenBox->waitUntilRead();
    fatalCode = code;
    screenWakeup->wake();
    // The screen's thread ends the process, unless it has left its screen already.
    while (!isScreenGone) {
        (void)poll(nullptr, 0, 20);
    }
    endProcess(code);
}

}  // namespace

FatalExit::FatalExit(ScreenMessageBox& box, Wakeup& wakeup) {
    screenBox = &box;
    screenWakeup = &wakeup;
    screenThread = std::this_thread::get_id();
    SPW_CError::instance->setMessageBox(&box);
    SPW_CError::instance->setExit(exitAfterFatalError);
}

FatalExit::~FatalExit() {
    SPW_CError::instance->setExit(nullptr);
    SPW_CError::instance->setMessageBox(nullptr);
}

bool FatalExit::isDue() {
    return fatalCode != 0;
}

void FatalExit::screenIsGone() {
    isScreenGone = true;
    if (isDue()) {
        endProcess(fatalCode);
    }
    screenBox->close();
}
