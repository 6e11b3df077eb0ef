#include "Signals.h"

#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <iterator>
#include <utility>

#include "NowMs.h"
#include "PatientPoll.h"
#include "TerminalRescue.h"

namespace {

constexpr int kExitOfSignal = 128;  // what a shell adds to a signal's number

bool isIgnored(int number) {
    struct sigaction action;
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// A blocked signal comes even if it is ignored. Ignored signals are therefore left out.
void add(std::initializer_list<int> numbers, sigset_t& set) {
    for (const int number : numbers) {
        if (!isIgnored(number)) {
            sigaddset(&set, number);
        }
    }
}

sigset_t setOf(std::initializer_list<int> numbers) {
    sigset_t set;
    sigemptyset(&set);
    add(numbers, set);
    return set;
}

int openSource(const sigset_t& set) {
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
}

// The number of a signal that waits there, or 0.
int take(int source) {
    signalfd_siginfo information;
    return read(source, &information, sizeof information) == sizeof information
               ? static_cast<int>(information.ssi_signo)
               : 0;
}

// Ends the program as the signal does if nobody handles it. The program's starter then sees which signal ended it.
[[noreturn]] void endBySignal(int number) {
    TerminalRescue::restore();
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(number);
    // The kernel spares the first process of a container. That one comes here.
    _exit(kExitOfSignal + number);
}

}  // namespace

Signals::Signals(Wakeup& wakeup, bool doesHangupStop)
    : m_wakeup(wakeup),
      m_stops(doesHangupStop ? setOf({SIGINT, SIGTERM, SIGHUP}) : setOf({SIGINT, SIGTERM})),
      m_others(doesHangupStop ? setOf({SIGUSR1, SIGUSR2}) : setOf({SIGUSR1, SIGUSR2, SIGHUP})),
      m_stopSource(openSource(m_stops)),
      m_otherSource(openSource(m_others)),
      m_thread([this] { work(); }) {
    ignoreWriteSignals();
}

bool Signals::isReady() const {
    return m_thread.isRunning() && hasDescriptors();
}

bool Signals::hasDescriptors() const {
    return m_stopSource >= 0 && m_otherSource >= 0 && m_end.isReady() && m_finish.isReady() && m_moreOthers.isReady();
}

Signals::~Signals() {
    m_finish.wake();
    m_thread.join();
    close(m_stopSource);
    close(m_otherSource);
}

void Signals::alsoReceive(std::initializer_list<int> numbers) {
    const std::lock_guard<std::mutex> guard(m_othersLock);
    add(numbers, m_others);
    pthread_sigmask(SIG_BLOCK, &m_others, nullptr);
    m_moreOthers.wake();  // what comes before the thread has taken them in waits for it
}

int Signals::next() {
    std::uint64_t pending = m_pending;
    while (pending != 0) {
        int number = 0;
        for (int each = 1; each < 64; ++each) {
            const bool isPending = (pending >> each & 1) != 0;
            if (isPending && (number == 0 || (isStop(each) && !isStop(number)))) {
                number = each;
            }
        }
        const std::uint64_t bit = std::uint64_t{1} << number;
        if ((m_pending.fetch_and(~bit) & bit) != 0) {
            return number;
        }
        pending = m_pending;  // another thread has taken it
    }
    return 0;
}

void Signals::setWatcher(std::function<void()> watcher) {
    const std::lock_guard<std::mutex> guard(m_watcherLock);
    m_watcher = std::move(watcher);
}

// The requests to stop have a source of their own. A source gives the signal with the smallest number first, which is
// SIGHUP. With one source for all, a sender of SIGHUP that is faster than the reader would keep SIGTERM from ending the
// program.
void Signals::work() {
    if (!hasDescriptors()) {
        return;  // nobody could end the wait
    }
    bool isEnding = false;
    for (;;) {
        pollfd sources[] = {{m_finish.descriptor(), POLLIN, 0},
                            {m_stopSource, POLLIN, 0},
                            {m_otherSource, POLLIN, 0},
                            {m_moreOthers.descriptor(), POLLIN, 0},
                            {m_end.descriptor(), POLLIN, 0}};
        // Once the end has begun there is nothing more to hear of it.
        const nfds_t count = std::size(sources) - (isEnding ? 1 : 0);
        (void)patientPoll(sources, count, isEnding ? kWatchMs : -1);
        if (m_finish.isSet()) {
            return;
        }
        if (m_moreOthers.isSet()) {
            takeInOthers();
        }
        isEnding = isEnding || m_end.isSet();
        const int stop = take(m_stopSource);
        const int number = stop != 0 ? stop : take(m_otherSource);
        if (number != 0) {
            m_pending |= std::uint64_t{1} << number;
        }
        // A stop is requested only when next() can give its signal.
        if (stop != 0) {
            takeStop(stop);
            isEnding = true;
        }
        if (number != 0) {
            m_wakeup.wake();
        }
        if (isEnding) {
            watch();
        }
    }
}

void Signals::takeInOthers() {
    m_moreOthers.clear();
    const std::lock_guard<std::mutex> guard(m_othersLock);
    (void)signalfd(m_otherSource, &m_others, 0);
}

void Signals::takeStop(int number) {
    const std::int64_t now = nowMs();
    if (!m_isStopRequested) {
        m_stopRequestedMs = now;
        m_isStopRequested = true;
    } else if (now - m_stopRequestedMs >= kSameRequestMs) {
        endBySignal(number);
    }
}

void Signals::watch() {
    const std::lock_guard<std::mutex> guard(m_watcherLock);
    if (m_watcher) {
        m_watcher();
    }
}

bool hasControllingTerminal() {
    const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) {
        return false;
    }
    close(terminal);
    return true;
}

void ignoreWriteSignals() {
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}
