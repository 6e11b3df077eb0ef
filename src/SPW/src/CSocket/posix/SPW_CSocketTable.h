#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "SPW_CSocket.h"

// What stands behind the handles that the posix half gives out.
//
// The kernel gives the number of a closed descriptor to the next one that opens, and a number that is closed while
// a thread blocks on it does not wake that thread. Callers of SPW_CSocket rely on the opposite of both. So a handle is
// not a descriptor but a slot of this table and the slot's generation:
// (a) when a slot is used again its generation has grown, so an old handle matches nothing any more;
// (b) every operation counts itself in while it uses the slot; closing marks the slot and shuts the socket down, and
// the last operation to count out closes the descriptor. No operation ever meets a descriptor that has become another
// socket's.
//
// Counting in and out is one atomic operation each on the slot's own word; the lock is for opening and closing only.
// The table lives as long as the process and frees nothing: a probe thread may still count out during exit().
class SPW_CSocketTable {
public:
    // Each on a cache line of its own: the threads of neighbouring sockets do not slow one another down.
    struct alignas(64) Slot {
        // Bits 32..63: generation; bit 31: closed (or free); bits 0..30: operations in progress.
        std::atomic<std::uint64_t> word{0};
        int descriptor = -1;
        bool isStream = false;
        std::uint32_t index = 0;
        Slot* nextFree = nullptr;
    };

    // Takes ownership of the descriptor. kInvalidSocket, with the descriptor closed, when there is no room.
    SPW_Socket add(int descriptor, bool isStream);

    // Counts an operation in; null when the handle is unknown or closed. Each is paired with one release().
    Slot* acquire(SPW_Socket handle);
    void release(Slot* slot);

    // acquire() and closing in one step: of several threads that close one handle, one gets the slot.
    Slot* acquireToClose(SPW_Socket handle);
    // Of the caller's own slot: whether other operations are in progress on it.
    static bool hasOtherUses(const Slot& slot) { return (slot.word.load() & kUses) > 1; }
    static bool isClosed(const Slot& slot) { return (slot.word.load() & kClosed) != 0; }

private:
    static constexpr std::uint64_t kClosed = std::uint64_t{1} << 31;
    static constexpr std::uint64_t kUses = kClosed - 1;
    static constexpr int kGenerationShift = 32;
    // Over a million sockets, more than the kernel lets one process open by default.
    static constexpr std::uint32_t kChunkSlots = 1024;
    static constexpr std::uint32_t kChunks = 1024;

    static_assert(sizeof(SPW_Socket) == sizeof(std::uint64_t), "a handle is a slot and its generation");

    Slot* find(SPW_Socket handle);
    Slot* acquireWith(SPW_Socket handle, std::uint64_t marks);
    Slot* takeFree();
    bool addChunk();
    void recycle(Slot* slot);

    // Chunks are made under the lock, never move and never go; any thread reads the pointers.
    std::atomic<Slot*> m_chunks[kChunks] = {};

    std::mutex m_lock;
    // Below: under m_lock.
    Slot* m_firstFree = nullptr;
    std::uint32_t m_chunkCount = 0;
};
