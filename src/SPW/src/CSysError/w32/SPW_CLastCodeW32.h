#pragma once

#include <atomic>

#include "SPW_CLazy.h"
#include "SPW_CThreadSlot.h"
#include "SPW_Types.h"

// The code of each thread's latest failure in one family of operations. The platform's own last error does not serve,
// because calls of other families, and calls that succeed, write it too.
//
// Without a thread-local slot all threads share one code. It may then be the code of another thread's failure, but
// never that of a success.
//
// Constant-initialised; usable before main(). Any thread.
class SPW_CLastCodeW32 {
public:
    constexpr SPW_CLastCodeW32() = default;

    // 0 before the thread's first failure.
    SPW_Result get() {
        SPW_CThreadSlot& slot = m_slot.get();
        return slot.isValid() ? static_cast<SPW_Result>(slot.get()) : m_sharedCode.load();
    }
    void set(SPW_Result code) {
        m_slot.get().set(static_cast<std::intptr_t>(code));
        m_sharedCode = code;
    }

private:
    SPW_CLazy<SPW_CThreadSlot> m_slot;
    std::atomic<SPW_Result> m_sharedCode{0};
};
