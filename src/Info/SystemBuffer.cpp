#include "SystemBuffer.h"

#include <new>

#include "SPW_CSysError.h"

SPW_Result SystemBuffer::statusOfSizeQuery(SPW_Result code) {
    switch (code) {
        case kSysBufferOverflow:
            return 0;
        case kSysNotSupported:
            return kNotOnThisSystem;
        default:
            return kSystemSizeNotHad;  // also a success: without a buffer it has told nothing
    }
}

bool SystemBuffer::allocate(std::uint32_t size) {
    m_memory = ::operator new(size, std::nothrow);
    if (m_memory == nullptr) {
        return false;
    }
    std::memset(m_memory, 0, size);
    m_size = size;
    return true;
}

void SystemBuffer::release() {
    ::operator delete(m_memory);
    m_memory = nullptr;
    m_size = 0;
}

bool SystemBuffer::holds(std::uintptr_t address, std::size_t size) const {
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(m_memory);
    return address >= begin && size <= m_size && address - begin <= m_size - size;
}
