#include "SPW_CSocketTableW32.h"

#include <windows.h>

#include <new>

// Waits until the condition holds. The condition is asked under the lock. Answers false after kLongestWaitMs.
template <typename Condition>
bool SPW_CSocketTableW32::await(Condition condition) {
    for (std::uint32_t waited = 0; waited < kLongestWaitMs; ++waited) {
        {
            const SPW_CGuard guard(lock());
            if (condition()) {
                return true;
            }
        }
        Sleep(1);
    }
    return false;
}

SOCKET SPW_CSocketTableW32::create(int type) {
    const SPW_CGuard nobodyCloses(m_numbers.get());
    (void)await([this] { return m_closedInUse == 0; });  // after a time-out add() decides
    return ::socket(AF_INET, type, 0);
}

SPW_Socket SPW_CSocketTableW32::add(SOCKET native) {
    // A call that has used the old number for too long may have come too late to be woken, and may now wait on the new
    // socket. Closing the new socket wakes it.
    if (await([this, native] { return !isStillUsed(native); })) {
        const SPW_CGuard guard(lock());
        Slot* const slot = takeFree();
        if (slot != nullptr) {
            slot->native = native;
            slot->isClosed = false;
            return SPW_Socket{slot->generation} << kIndexBits | slot->index;
        }
    }
    (void)closesocket(native);
    return kInvalidSocket;
}

SPW_CSocketTableW32::Slot* SPW_CSocketTableW32::acquire(SPW_Socket handle) {
    const SPW_CGuard guard(lock());
    Slot* const slot = find(handle);
    if (slot != nullptr) {
        ++slot->uses;
    }
    return slot;
}

void SPW_CSocketTableW32::release(Slot* slot) {
    const SPW_CGuard guard(lock());
    if (--slot->uses == 0 && slot->isClosed) {
        --m_closedInUse;
        recycle(slot);
    }
}

bool SPW_CSocketTableW32::isClosed(const Slot* slot) {
    const SPW_CGuard guard(lock());
    return slot->isClosed;
}

bool SPW_CSocketTableW32::beginCall(Slot* slot) {
    const SPW_CGuard guard(lock());
    if (slot->isClosed) {
        return false;
    }
    ++slot->calls;
    return true;
}

void SPW_CSocketTableW32::endCall(Slot* slot) {
    const SPW_CGuard guard(lock());
    --slot->calls;
}

bool SPW_CSocketTableW32::close(SPW_Socket handle) {
    const SPW_CGuard nobodyCreates(m_numbers.get());
    Slot* const slot = markClosed(handle);
    if (slot == nullptr) {
        return false;
    }
    (void)await([slot] { return slot->calls == 0; });  // these calls do not block and therefore end
    (void)closesocket(slot->native);                   // neither waits nor fails, because our sockets do not linger
    release(slot);
    return true;
}

// Counts the caller in. A slot that is counted keeps its number.
SPW_CSocketTableW32::Slot* SPW_CSocketTableW32::markClosed(SPW_Socket handle) {
    const SPW_CGuard guard(lock());
    Slot* const slot = find(handle);
    if (slot != nullptr) {
        slot->isClosed = true;
        ++slot->uses;
        ++m_closedInUse;
    }
    return slot;
}

bool SPW_CSocketTableW32::isStillUsed(SOCKET native) {
    if (m_closedInUse == 0) {
        return false;
    }
    for (std::uint32_t index = 0; index < m_chunkCount * kChunkSlots; ++index) {
        const Slot* const slot = slotAt(index);
        if (slot->isClosed && slot->uses > 0 && slot->native == native) {
            return true;
        }
    }
    return false;
}

SPW_CSocketTableW32::Slot* SPW_CSocketTableW32::find(SPW_Socket handle) {
    const std::uint32_t index = static_cast<std::uint32_t>(handle) & ((1u << kIndexBits) - 1);
    if (index >= m_chunkCount * kChunkSlots) {
        return nullptr;
    }
    Slot* const slot = slotAt(index);
    return !slot->isClosed && handle >> kIndexBits == slot->generation ? slot : nullptr;
}

SPW_CSocketTableW32::Slot* SPW_CSocketTableW32::takeFree() {
    if (m_firstFree == nullptr && !addChunk()) {
        return nullptr;
    }
    Slot* const slot = m_firstFree;
    m_firstFree = slot->nextFree;
    return slot;
}

bool SPW_CSocketTableW32::addChunk() {
    if (m_chunkCount == kChunks) {
        return false;
    }
    Slot* const chunk = new (std::nothrow) Slot[kChunkSlots];
    if (chunk == nullptr) {
        return false;
    }
    for (std::uint32_t i = kChunkSlots; i-- > 0;) {
        chunk[i].index = m_chunkCount * kChunkSlots + i;
        chunk[i].nextFree = m_firstFree;
        m_firstFree = &chunk[i];
    }
    m_chunks[m_chunkCount++] = chunk;
    return true;
}

void SPW_CSocketTableW32::recycle(Slot* slot) {
    slot->native = INVALID_SOCKET;
    if (slot->generation == kLastGeneration) {
        return;  // all generations of the slot are used up, and it stays closed for ever
    }
    ++slot->generation;
    slot->nextFree = m_firstFree;
    m_firstFree = slot;
}
