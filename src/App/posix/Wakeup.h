#pragma once

// Wakes the one thread that polls its descriptor. Any thread may wake it. Several calls before the thread looks count
// as one.
class Wakeup {
public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    void wake();
    // Readable while there was a call since the latest clear().
    int descriptor() const { return m_descriptor; }
    void clear();

private:
    int m_descriptor;
};
