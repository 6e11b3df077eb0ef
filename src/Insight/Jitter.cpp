#include "Jitter.h"

void Jitter::add(std::uint32_t difference) {
    m_sixteenfold = m_sixteenfold + difference - ((m_sixteenfold + 8) >> 4);
    ++m_count;
}
