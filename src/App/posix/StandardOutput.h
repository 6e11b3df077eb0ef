#pragma once

#include <unistd.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "HelperThread.h"
#include "Wakeup.h"

// The program's standard output, or a file that is written in the same way. A thread of its own writes it, and a reader
// that stalls therefore holds up only this thread.
//
// Threads: the one that made the object. isBusy() and failure() may be called on any thread.
class StandardOutput {
public:
    // wakeup: woken when a text is written or lost. descriptor: what is written to; it stays the caller's. Both must
    // outlive the object.
    explicit StandardOutput(Wakeup& wakeup, int descriptor = STDOUT_FILENO);
    // No text may be on its way, because the thread could wait for the reader for ever.
    ~StandardOutput();
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    // False if the system has refused the thread. Then nothing is written.
    bool isReady() const { return m_thread.isRunning(); }
    // Hands a text over. After a failure it goes nowhere.
    void print(const std::string& text);
    // Whether some text is still on its way.
    bool isBusy() const;
    // The error number with which the first text was lost, or 0.
    int failure() const;
    // Waits until everything is written or lost. Returns false if the reader takes nothing for that long.
    bool waitUntilWritten(std::uint32_t patienceMs);

private:
    void work();
    void count(std::size_t bytes);

    Wakeup& m_wakeup;
    const int m_descriptor;
    mutable std::mutex m_lock;  // guards all below but the thread
    std::condition_variable m_changed;
    std::string m_text;        // what the thread has not begun with
    bool m_isWriting = false;  // something else
    std::uint64_t m_progress = 0;
    int m_failure = 0;
    bool m_isFinished = false;
    HelperThread m_thread;  // the last: it uses all the others
};
