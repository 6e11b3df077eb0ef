#include "Signals.h"

#include <signal.h>
#include <time.h>

#include <initializer_list>

#include "SPW_Types.h"

namespace {

sigset_t requestSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGUSR1, SIGUSR2, SIGHUP})
        sigaddset(&set, number);
    return set;
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
    signal(SIGPIPE, SIG_IGN);
}

Request waitForRequest(std::uint32_t timeoutMs) {
    const sigset_t set = requestSignals();
    if (timeoutMs == kSPWForever)
        return requestOf(sigwaitinfo(&set, nullptr));
    const timespec limit = {static_cast<time_t>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000) * 1000000};
    return requestOf(sigtimedwait(&set, nullptr, &limit));
}
