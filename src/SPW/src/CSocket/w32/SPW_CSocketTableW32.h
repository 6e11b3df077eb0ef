#pragma once

#include <winsock.h>

#include <cstdint>

#include "SPW_CCriticalSection.h"
#include "SPW_CLazy.h"
#include "SPW_CSocket.h"

// What stands behind the handles that the Windows half gives out.
//
// The platform gives the number of a closed socket to one of the next that open. Callers of SPW_CSocket rely on the
// opposite. So a handle is not a platform's socket but a slot of this table and the slot's generation: when a slot is
// used again its generation has grown, and an old handle matches nothing any more.
//
// Closing is what wakes the calls that block on a socket here, so it cannot wait until the last of them has counted
// out. A call that counted itself in just before might then meet another socket under the old number. Therefore a
// number that somebody still uses is not given out: add() waits until those that the closing has woken are gone.
//
// One lock for all; it is held for a few instructions, except when the table grows. The table lives as long as the
// process and frees nothing: a probe thread may still count out during the end of the program.
class SPW_CSocketTableW32 {
public:
    struct Slot {
        SOCKET native = INVALID_SOCKET;
        std::uint32_t generation = 1;  // none is 0, so that no handle is 0
        std::uint32_t uses = 0;        // operations in progress
        bool isClosed = true;          // or free
        std::uint32_t index = 0;
        Slot* nextFree = nullptr;
    };

    constexpr SPW_CSocketTableW32() = default;

    // Takes ownership of the socket. kInvalidSocket, with the socket closed, when there is no room.
    SPW_Socket add(SOCKET native);

    // Counts an operation in; null when the handle is unknown or closed. Each is paired with one release().
    Slot* acquire(SPW_Socket handle);
    void release(Slot* slot);
    bool isClosed(const Slot* slot);

    // Closes the platform's socket, which wakes whoever blocks on it. False when the handle is unknown or closed.
    bool close(SPW_Socket handle);

private:
    // A handle has 32 bits on a 32-bit device: there are fewer sockets and fewer generations then.
    static constexpr int kIndexBits = sizeof(SPW_Socket) == 8 ? 20 : 14;
    static constexpr std::uint32_t kLastGeneration = sizeof(SPW_Socket) == 8 ? 0xFFFFFFFF : 0x3FFFE;
    static constexpr std::uint32_t kChunkSlots = 1024;
    static constexpr std::uint32_t kChunks = (1u << kIndexBits) / kChunkSlots;
    static constexpr std::uint32_t kLongestWaitMs = 100;

    SPW_CCriticalSection& lock() { return m_lock.get(); }
    bool awaitNobodyUses(SOCKET native);
    // Below: under the lock.
    bool isStillUsed(SOCKET native);
    Slot* find(SPW_Socket handle);
    Slot* slotAt(std::uint32_t index) { return &m_chunks[index / kChunkSlots][index % kChunkSlots]; }
    Slot* takeFree();
    bool addChunk();
    void recycle(Slot* slot);

    SPW_CLazy<SPW_CCriticalSection> m_lock;
    Slot* m_chunks[kChunks] = {};
    std::uint32_t m_chunkCount = 0;
    std::uint32_t m_closedInUse = 0;  // slots that are closed and have operations in progress
    Slot* m_firstFree = nullptr;
};
