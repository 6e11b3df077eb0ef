#include "SPW_CThreadSlot.h"

#include "SPW_CThreadSys.h"

SPW_CThreadSlot::SPW_CThreadSlot() : m_slot(0), m_valid(SPW_CThreadSys::createSlot(m_slot)) {}

SPW_CThreadSlot::~SPW_CThreadSlot() {
    if (m_valid) {
        SPW_CThreadSys::destroySlot(m_slot);
    }
}

std::intptr_t SPW_CThreadSlot::get() const {
    return m_valid ? SPW_CThreadSys::slotValue(m_slot) : 0;
}

void SPW_CThreadSlot::set(std::intptr_t value) {
    if (m_valid) {
        SPW_CThreadSys::setSlotValue(m_slot, value);
    }
}
