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
// out. It does wait for those that do not block, and none begins once a socket is closed. What is left are calls that
// were just about to block. They might meet another socket under the old number, even one that the platform is only
// about to make. Therefore create() waits until all that the closing has woken are gone, and nobody closes a socket
// while one is made; and add() waits for the users of a number that accept() was given.
//
// Wine makes no allowances here: its server, and every program with it, dies when a socket is closed in the middle of
// another thread's getsockname(), or polled while it is made.
//
// One lock for the table; it is held for a few instructions, except when the table grows. The table lives as long as
// the process and frees nothing: a probe thread may still count out during the end of the program.
class SPW_CSocketTableW32 {
public:
    struct Slot {
        SOCKET native = INVALID_SOCKET;
        std::uint32_t generation = 1;  // none is 0, so that no handle is 0
        std::uint32_t uses = 0;        // operations in progress
        std::uint32_t calls = 0;       // those of the platform's calls in progress that do not block
        bool isClosed = true;          // or free
        std::uint32_t index = 0;
        Slot* nextFree = nullptr;
    };

    constexpr SPW_CSocketTableW32() = default;

    // A new socket of the platform's; INVALID_SOCKET, with the platform's last error, when there is none to be had.
    SOCKET create(int type);

    // Takes ownership of the socket. kInvalidSocket, with the socket closed, when there is no room.
    SPW_Socket add(SOCKET native);

    // Counts an operation in; null when the handle is unknown or closed. Each is paired with one release().
    Slot* acquire(SPW_Socket handle);
    void release(Slot* slot);
    bool isClosed(const Slot* slot);

    // Around a call that does not block, for whoever has counted himself in; the socket is not closed meanwhile. False,
    // and then without an end, when it is already.
    bool beginCall(Slot* slot);
    void endCall(Slot* slot);

    // Closes the platform's socket, which wakes whoever blocks on it. False when the handle is unknown or closed.
    bool close(SPW_Socket handle);

private:
    // A handle has 32 bits on a 32-bit device: there are fewer sockets and fewer generations then.
    static constexpr int kIndexBits = sizeof(SPW_Socket) == 8 ? 20 : 14;
    static constexpr std::uint32_t kLastGeneration = sizeof(SPW_Socket) == 8 ? 0xFFFFFFFF : 0x3FFFE;
    static constexpr std::uint32_t kChunkSlots = 1024;
    static constexpr std::uint32_t kChunks = (1u << kIndexBits) / kChunkSlots;
    // Whoever is waited for needs no more than a turn of the processor, which may be late on a busy machine.
    static constexpr std::uint32_t kLongestWaitMs = 1000;

    SPW_CCriticalSection& lock() { return m_lock.get(); }
    template <typename Condition>
    bool await(Condition condition);
    // Below: under the lock.
    bool isStillUsed(SOCKET native);
    Slot* markClosed(SPW_Socket handle);
    Slot* find(SPW_Socket handle);
    Slot* slotAt(std::uint32_t index) { return &m_chunks[index / kChunkSlots][index % kChunkSlots]; }
    Slot* takeFree();
    bool addChunk();
    void recycle(Slot* slot);

    SPW_CLazy<SPW_CCriticalSection>
        m_numbers;  // while the platform gives out a number or takes one back; before m_lock
    SPW_CLazy<SPW_CCriticalSection> m_lock;
    Slot* m_chunks[kChunks] = {};
    std::uint32_t m_chunkCount = 0;
    std::uint32_t m_closedInUse = 0;  // slots that are closed and have operations in progress
    Slot* m_firstFree = nullptr;
};
