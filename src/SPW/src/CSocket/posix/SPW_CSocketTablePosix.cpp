#include <unistd.h>

#include <new>

#include "SPW_CSocketTable.h"

SPW_Socket SPW_CSocketTable::add(int descriptor, bool isStream) {
    Slot* slot = takeFree();
    if (slot == nullptr) {
        (void)::close(descriptor);
        return kInvalidSocket;
    }
    slot->descriptor = descriptor;
    slot->isStream = isStream;
    const std::uint64_t generation = slot->word.load() >> kGenerationShift;
    slot->word.store(generation << kGenerationShift);
    return (generation << kGenerationShift) | slot->index;
}

SPW_CSocketTable::Slot* SPW_CSocketTable::acquire(SPW_Socket handle) {
    return acquireWith(handle, 0);
}

SPW_CSocketTable::Slot* SPW_CSocketTable::acquireToClose(SPW_Socket handle) {
    return acquireWith(handle, kClosed);
}

void SPW_CSocketTable::release(Slot* slot) {
    const std::uint64_t word = slot->word.fetch_sub(1) - 1;
    // A closed slot admits nobody, so exactly one thread sees it closed and unused.
    if ((word & kClosed) != 0 && (word & kUses) == 0) {
        (void)::close(slot->descriptor);
        recycle(slot);
    }
}

SPW_CSocketTable::Slot* SPW_CSocketTable::find(SPW_Socket handle) {
    const std::uint32_t index = static_cast<std::uint32_t>(handle);
    if (index >= kChunks * kChunkSlots) {
        return nullptr;
    }
    Slot* chunk = m_chunks[index / kChunkSlots].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : &chunk[index % kChunkSlots];
}

// Counts in and sets marks, provided that the slot is open and of the handle's generation.
SPW_CSocketTable::Slot* SPW_CSocketTable::acquireWith(SPW_Socket handle, std::uint64_t marks) {
    Slot* slot = find(handle);
    if (slot == nullptr) {
        return nullptr;
    }
    std::uint64_t word = slot->word.load();
    do {
        if (word >> kGenerationShift != handle >> kGenerationShift || (word & kClosed) != 0) {
            return nullptr;
        }
    } while (!slot->word.compare_exchange_weak(word, (word + 1) | marks));
    return slot;
}

SPW_CSocketTable::Slot* SPW_CSocketTable::takeFree() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_firstFree == nullptr && !addChunk()) {
        return nullptr;
    }
    Slot* slot = m_firstFree;
    m_firstFree = slot->nextFree;
    return slot;
}

bool SPW_CSocketTable::addChunk() {
    if (m_chunkCount == kChunks) {
        return false;
    }
    Slot* chunk = new (std::nothrow) Slot[kChunkSlots];
    if (chunk == nullptr) {
        return false;
    }
    for (std::uint32_t i = kChunkSlots; i-- > 0;) {
        chunk[i].index = m_chunkCount * kChunkSlots + i;
        // Generations begin at 1, so that no handle is 0.
        chunk[i].word.store((std::uint64_t{1} << kGenerationShift) | kClosed);
        chunk[i].nextFree = m_firstFree;
        m_firstFree = &chunk[i];
    }
    m_chunks[m_chunkCount++].store(chunk, std::memory_order_release);
    return true;
}

void SPW_CSocketTable::recycle(Slot* slot) {
    slot->descriptor = -1;
    const std::uint64_t generation = (slot->word.load() >> kGenerationShift) + 1;
    if (generation >> kGenerationShift != 0) {
        // The generations of this slot are used up: it stays closed for ever.
        return;
    }
    slot->word.store((generation << kGenerationShift) | kClosed);
    std::lock_guard<std::mutex> guard(m_lock);
    slot->nextFree = m_firstFree;
    m_firstFree = slot;
}
