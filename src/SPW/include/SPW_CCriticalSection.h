#pragma once

#include "SPW_CObject.h"
#include "SPW_Types.h"

// Mutual exclusion inside the process. Not recursive: a thread that enters twice stops for ever.
//
// Any thread may enter; the thread that entered leaves. The owner destroys the section when nobody is inside or waits.
// Prefer SPW_CGuard to the bare calls.
class SPW_CCriticalSection : public SPW_CObject {
public:
    SPW_CCriticalSection();
    ~SPW_CCriticalSection() override;
    SPW_CCriticalSection(const SPW_CCriticalSection&) = delete;
    SPW_CCriticalSection& operator=(const SPW_CCriticalSection&) = delete;
    // Blocks until no other thread is inside.
    void enter();
    void leave();

private:
    SPW_Handle m_handle;
};

// Holds a critical section for the life of a block.
class SPW_CGuard {
public:
    explicit SPW_CGuard(SPW_CCriticalSection& section) : m_section(section) { m_section.enter(); }
    ~SPW_CGuard() { m_section.leave(); }
    SPW_CGuard(const SPW_CGuard&) = delete;
    SPW_CGuard& operator=(const SPW_CGuard&) = delete;

private:
    SPW_CCriticalSection& m_section;
};
