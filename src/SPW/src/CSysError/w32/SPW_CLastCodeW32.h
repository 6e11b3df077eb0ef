#pragma once

#include "SPW_CLazy.h"
#include "SPW_CThreadSlot.h"
#include "SPW_Types.h"

// The code of each thread's latest failure in one family of operations. The platform's own memory of it does not
// serve: calls of other families, and successful ones, write it too.
//
// Constant-initialised; usable before main(). Any thread.
class SPW_CLastCodeW32 {
public:
    constexpr SPW_CLastCodeW32() = default;

    // 0 before the thread's first failure.
    SPW_Result get() { return static_cast<SPW_Result>(m_slot.get().get()); }
    void set(SPW_Result code) { m_slot.get().set(static_cast<std::intptr_t>(code)); }

private:
    SPW_CLazy<SPW_CThreadSlot> m_slot;
};
