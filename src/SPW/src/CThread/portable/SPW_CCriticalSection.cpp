#include "SPW_CCriticalSection.h"

#include "SPW_CThreadSys.h"

SPW_CCriticalSection::SPW_CCriticalSection() : m_handle(SPW_CThreadSys::createCriticalSection()) {}

SPW_CCriticalSection::~SPW_CCriticalSection() {
    SPW_CThreadSys::destroyCriticalSection(m_handle);
}

void SPW_CCriticalSection::enter() {
    SPW_CThreadSys::enterCriticalSection(m_handle);
}

void SPW_CCriticalSection::leave() {
    SPW_CThreadSys::leaveCriticalSection(m_handle);
}
