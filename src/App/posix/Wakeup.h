#pragma once

#include <atomic>

// Wakes the one thread that polls its descriptor. Any thread may wake it. Several calls before the thread looks count
// as one.
//
// isSet() tells the same as the descriptor, for a thread whose poll() was refused. It may tell it a moment later, and
// once more after a clear() that comes at the same time.
class Wakeup {
public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    // False if the system has refused the descriptor. Then nobody is woken.
    bool isReady() const { return m_descriptor >= 0; }
    void wake();
    // Readable while there was a call since the latest clear().
    int descriptor() const { return m_descriptor; }
    bool isSet() const { return m_isSet; }
    void clear();

private:
    int m_descriptor;
    std::atomic<bool> m_isSet{false};
};
