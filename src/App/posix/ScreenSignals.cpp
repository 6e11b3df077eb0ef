#include "ScreenSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <initializer_list>

#include "Signals.h"

namespace {

sigset_t waitedFor() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGTSTP, SIGCONT, SIGWINCH})
        sigaddset(&set, number);
    // One that the program was started to ignore stays ignored; blocked, it would come all the same.
    struct sigaction hangup;
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler == SIG_IGN)
        sigdelset(&set, SIGHUP);
    return set;
}

}  // namespace

ScreenSignals::ScreenSignals() {
    blockRequestSignals();
    const sigset_t set = waitedFor();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_descriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
}

ScreenSignals::~ScreenSignals() {
    close(m_descriptor);
}

int ScreenSignals::next() {
    signalfd_siginfo information;
    const bool isRead = read(m_descriptor, &information, sizeof information) == sizeof information;
    return isRead ? static_cast<int>(information.ssi_signo) : 0;
}
