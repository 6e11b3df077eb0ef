#pragma once

#include <windows.h>

class Lock {
public:
    Lock() { InitializeCriticalSection(&m_section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void enter() { EnterCriticalSection(&m_section); }
    void leave() { LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

class Guard {
public:
    explicit Guard(Lock& lock) : m_lock(lock) { m_lock.enter(); }
    ~Guard() { m_lock.leave(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    Lock& m_lock;
};
