#include "Signals.h"

#include <signal.h>
#include <time.h>

#include <initializer_list>

#include "SPW_Types.h"

namespace {

sigset_t setOf(std::initializer_list<int> numbers) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers)
        sigaddset(&set, number);
    return set;
}

bool isIgnored(int number) {
    struct sigaction action;
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Without a SIGHUP that is ignored already: `nohup` has promised the user that the terminal's end changes nothing, and
// a blocked signal would come all the same.
sigset_t requestSignals() {
    sigset_t set = setOf({SIGINT, SIGTERM, SIGUSR1, SIGUSR2});
    if (!isIgnored(SIGHUP))
        sigaddset(&set, SIGHUP);
    return set;
}

// Of several pending signals the kernel delivers the one with the smallest number; SIGHUP's is 1, and whoever sent it
// faster than the program starts over could not end the program with SIGTERM.
bool isStopPending() {
    const sigset_t set = setOf({SIGINT, SIGTERM});
    const timespec atOnce = {0, 0};
    return sigtimedwait(&set, nullptr, &atOnce) > 0;
}

Request requestOf(int signalNumber) {
    switch (signalNumber) {
        case SIGINT:
        case SIGTERM:
            return Request::kStop;
        case SIGUSR1:
            return Request::kSnapshot;
        case SIGUSR2:
            return Request::kReset;
        case SIGHUP:
            return Request::kRestart;
        default:
            return Request::kNone;
    }
}

}  // namespace

void blockRequestSignals() {
    const sigset_t set = requestSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ignoreWriteSignals();
}

void ignoreWriteSignals() {
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

Request waitForRequest(std::uint32_t timeoutMs) {
    if (isStopPending())
        return Request::kStop;
    const sigset_t set = requestSignals();
    if (timeoutMs == kSPWForever)
        return requestOf(sigwaitinfo(&set, nullptr));
    const timespec limit = {static_cast<time_t>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000) * 1000000};
    return requestOf(sigtimedwait(&set, nullptr, &limit));
}
