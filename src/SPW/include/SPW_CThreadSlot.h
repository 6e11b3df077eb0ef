#pragma once

#include <cstdint>

#include "SPW_CObject.h"

// One number per thread, 0 until the thread has set it.
class SPW_CThreadSlot : public SPW_CObject {
public:
    SPW_CThreadSlot();
    ~SPW_CThreadSlot() override;
    SPW_CThreadSlot(const SPW_CThreadSlot&) = delete;
    SPW_CThreadSlot& operator=(const SPW_CThreadSlot&) = delete;
    std::intptr_t get() const;
    void set(std::intptr_t value);

private:
    std::uintptr_t m_slot;
};
