#pragma once

#include <signal.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <mutex>

#include "HelperThread.h"
#include "Wakeup.h"

// The signals that ask the program for something. They are received on a thread of their own, which waits for nothing
// else; so a request to stop is noticed whatever the rest of the program is waiting for, and a second one ends the
// program at once.
//
// SIGINT and SIGTERM ask for a stop, SIGHUP as well if the constructor is told so. SIGUSR1, SIGUSR2 and those of
// alsoReceive() are handed on. A signal that was ignored when the program began stays ignored: a script's background
// job keeps from Ctrl-C, and nohup has promised that the terminal's end changes nothing.
//
// Threads: the one that made the object, before it makes any other, but for what is said below. A process has one.
class Signals {
public:
    // A second request that comes sooner is the first one: timeout(1), for one, sends each of its signals twice.
    static constexpr std::int64_t kSameRequestMs = 100;
    // How often the watcher is called while the program ends.
    static constexpr int kWatchMs = 100;

    // wakeup: woken when next() has something; must outlive the object.
    Signals(Wakeup& wakeup, bool doesHangupStop);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    // False when there was no thread to be had: nothing is received then.
    bool isReady() const { return m_thread.isRunning(); }
    void alsoReceive(std::initializer_list<int> numbers);

    // The number of a signal that has come, or 0. A request to stop goes before all others; the same signal twice is
    // one until it is taken. Any thread.
    int next();
    // Whether a stop has been asked for by a signal. Any thread.
    bool isStopRequested() const { return m_isStopRequested; }
    bool isStop(int number) const { return sigismember(&m_stops, number) == 1; }

    // The program has begun to end, for whatever reason; a request to stop says so by itself. Any thread.
    void endBegins() { m_end.wake(); }
    // While the program ends, `watcher` is called every kWatchMs on the thread of the signals; an empty one ends that,
    // and is not called any more on return. Any thread but that one.
    void setWatcher(std::function<void()> watcher);

private:
    void work();
    void takeInOthers();
    void takeStop(int number);
    void watch();

    Wakeup& m_wakeup;
    Wakeup m_end;
    Wakeup m_finish;
    Wakeup m_moreOthers;
    sigset_t m_stops;
    std::mutex m_othersLock;
    sigset_t m_others;  // guarded by the lock
    const int m_stopSource;
    const int m_otherSource;
    std::atomic<std::uint64_t> m_pending{0};  // a bit for each signal's number
    std::atomic<bool> m_isStopRequested{false};
    std::int64_t m_stopRequestedMs = 0;  // the thread's
    std::mutex m_watcherLock;
    std::function<void()> m_watcher;
    HelperThread m_thread;  // the last: it uses all the others
};

// Whether a terminal's hang-up would reach this process.
bool hasControllingTerminal();

// Ignores SIGPIPE and SIGXFSZ, so that a reader of our output that goes away, and a file that reaches the limit set for
// files, show as failed writes.
void ignoreWriteSignals();
