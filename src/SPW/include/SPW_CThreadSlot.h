#pragma once

#include <cstdint>

#include "SPW_CObject.h"

// One number per thread, 0 until the thread has set it. What a thread stored is forgotten when it ends.
//
// Any thread may call get and set at any time; each sees its own number only. The owner destroys the slot when no
// thread uses it any more. The platform has a limited number of slots (some have 64): keep them for what the
// process has one of. When none is left, every get answers 0 and set does nothing; who must not do without asks
// isValid().
class SPW_CThreadSlot : public SPW_CObject {
public:
    SPW_CThreadSlot();
    ~SPW_CThreadSlot() override;
    SPW_CThreadSlot(const SPW_CThreadSlot&) = delete;
    SPW_CThreadSlot& operator=(const SPW_CThreadSlot&) = delete;
    bool isValid() const { return m_valid; }
    std::intptr_t get() const;
    void set(std::intptr_t value);

private:
    std::uintptr_t m_slot;
    bool m_valid;
};
