#pragma once

#include <atomic>

// Lets one call of the system fail for one descriptor, while a ScopedFault lives. The linker hands the framework's
// calls over; see CMakeLists.txt.
struct CallFault {
    int file = -1;
    int error = 0;
    int calls = 0;  // for that descriptor
};

extern CallFault closeFault;     // closes all the same, as an interrupted close does
extern CallFault truncateFault;  // of ftruncate; leaves the file alone

// Whether flock() locks for one only what is open for writing, as on a network file system.
extern bool flockWantsWriting;
// How often the framework has called flock() so far.
extern std::atomic<int> flockCalls;

class ScopedFault {
public:
    ScopedFault(CallFault& fault, int file, int error) : m_fault(fault) { fault = {file, error, 0}; }
    ~ScopedFault() { m_fault.file = -1; }
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;

private:
    CallFault& m_fault;
};
