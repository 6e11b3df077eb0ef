#pragma once

#include <pthread.h>
#include <signal.h>

#include <functional>
#include <utility>

// A thread for one job. Its owner waits for the job's end. No signal that somebody sends is delivered to the thread. It
// is not a std::thread, because that reports a refused thread only by an exception.
class HelperThread {
public:
    explicit HelperThread(std::function<void()> job) : m_job(std::move(job)) {
        // The thread and all threads that it starts inherit what is blocked here. The signals of a crash are not
        // blocked, because their handler puts the terminal back.
        sigset_t sent;
        sigset_t former;
        sigfillset(&sent);
        for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) {
            sigdelset(&sent, number);
        }
        pthread_sigmask(SIG_BLOCK, &sent, &former);
        m_isRunning = pthread_create(&m_thread, nullptr, run, this) == 0;
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }
    ~HelperThread() { join(); }
    HelperThread(const HelperThread&) = delete;
    HelperThread& operator=(const HelperThread&) = delete;

    // False if the system has refused the thread. Then the job is never done.
    bool isRunning() const { return m_isRunning; }
    // Waits for the end of the job. May be called twice.
    void join() {
        if (m_isRunning) {
            pthread_join(m_thread, nullptr);
        }
        m_isRunning = false;
    }

private:
    static void* run(void* self) {
        static_cast<HelperThread*>(self)->m_job();
        return nullptr;
    }

    const std::function<void()> m_job;
    pthread_t m_thread{};
    bool m_isRunning = false;
};
