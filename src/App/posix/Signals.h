#pragma once

#include <signal.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <mutex>

#include "HelperThread.h"
#include "Wakeup.h"

// The signals that ask the program for something. A thread of their own receives them and waits for nothing else. A
// request to stop is therefore noticed whatever the rest of the program is waiting for, and a second request ends the
// program at once.
//
// SIGINT and SIGTERM ask for a stop. SIGHUP does so too if the constructor is told so. SIGUSR1, SIGUSR2 and those of
// alsoReceive() are handed on. A signal that was ignored when the program began stays ignored: a script's background
// job must not hear Ctrl-C, and nohup has promised that the terminal's end changes nothing.
//
// Threads: the one that made the object. It makes the object before any other thread. Functions for other threads say
// so below. A process has one object.
class Signals {
public:
    // A second request that comes sooner than this counts as the first one. timeout(1), for example, sends each of its
    // signals twice.
    static constexpr std::int64_t kSameRequestMs = 100;
    // How often the watcher is called while the program ends.
    static constexpr int kWatchMs = 100;

    // wakeup: woken when next() has a signal. It must outlive the object.
    Signals(Wakeup& wakeup, bool doesHangupStop);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    // False if the system has refused the thread or a descriptor. Then signals are not received.
    bool isReady() const;
    void alsoReceive(std::initializer_list<int> numbers);

    // Returns the number of a signal that has come, or 0. A request to stop goes before all others. A signal that comes
    // twice before it is taken counts once. Any thread.
    int next();
    // Whether a stop has been asked for by a signal. Any thread.
    bool isStopRequested() const { return m_isStopRequested; }
    bool isStop(int number) const { return sigismember(&m_stops, number) == 1; }

    // Says that the program has begun to end. A request to stop says this by itself. Any thread.
    void endBegins() { m_end.wake(); }
    // While the program ends, `watcher` is called every kWatchMs on the thread of the signals. An empty one ends this:
    // after the return the former watcher is not called any more. Any thread but that of the signals.
    void setWatcher(std::function<void()> watcher);

private:
    bool hasDescriptors() const;
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

// Ignores SIGPIPE and SIGXFSZ. A reader of the output that goes away, and a file that reaches the limit for files, then
// show as failed writes.
void ignoreWriteSignals();
