#pragma once

#include <winsock.h>

#include <cstdint>

#include "SPW_CCriticalSection.h"
#include "SPW_CLazy.h"
#include "SPW_CSocket.h"

// The sockets behind the handles that the Windows half gives out.
//
// The platform gives the number of a closed socket to one of the next sockets that open. Callers of SPW_CSocket rely on
// the opposite. Therefore a handle is not a socket of the platform. It is a slot of this table together with the slot's
// generation. A slot that is used again has a higher generation, and an old handle matches nothing any more.
//
// Closing a socket wakes the calls that block on it. Therefore close() cannot wait until the last of them has counted
// out. It does wait for the calls that do not block, and no such call begins after the closing. A call that was just
// about to block remains. It might meet another socket under the old number, even one that the platform is about to
// make. Therefore create() waits until all calls that the closing has woken are gone, no socket is closed while another
// is made, and add() waits for the users of a number that accept() was given.
//
// Wine depends on this: its server dies, and every program with it, when a socket is closed during another thread's
// getsockname(), or is polled while it is made.
//
// One lock guards the table. It is held for a few instructions, except when the table grows. The table lives as long as
// the process and frees nothing, because a probe thread may still count out while the program ends.
class SPW_CSocketTableW32 {
public:
    struct Slot {
        SOCKET native = INVALID_SOCKET;
        std::uint32_t generation = 1;  // never 0, and neither is a handle
        std::uint32_t uses = 0;        // operations in progress
        std::uint32_t calls = 0;       // calls of the platform's in progress that do not block
        bool isClosed = true;          // or free
        std::uint32_t index = 0;
        Slot* nextFree = nullptr;
    };

    constexpr SPW_CSocketTableW32() = default;

    // Makes a socket of the platform's. Answers INVALID_SOCKET, with the platform's last error, where none can be made.
    SOCKET create(int type);

    // Takes ownership of the socket. Where there is no room, it closes the socket and answers kInvalidSocket.
    SPW_Socket add(SOCKET native);

    // Counts an operation in. Answers null for a handle that is unknown or closed. Each acquire() that succeeds is
    // paired with one release().
    Slot* acquire(SPW_Socket handle);
    void release(Slot* slot);
    bool isClosed(const Slot* slot);

    // These two stand around a call that does not block. The caller has acquired the slot. The socket is not closed
    // between them. beginCall() answers false for a socket that is closed already, and endCall() is then not called.
    bool beginCall(Slot* slot);
    void endCall(Slot* slot);

    // Closes the platform's socket, and thereby wakes all calls that block on it. Answers false for a handle that is
    // unknown or closed.
    bool close(SPW_Socket handle);

private:
    // A handle has 32 bits on a 32-bit device, with room for fewer sockets and fewer generations.
    static constexpr int kIndexBits = sizeof(SPW_Socket) == 8 ? 20 : 14;
    static constexpr std::uint32_t kLastGeneration = sizeof(SPW_Socket) == 8 ? 0xFFFFFFFF : 0x3FFFE;
    static constexpr std::uint32_t kChunkSlots = 1024;
    static constexpr std::uint32_t kChunks = (1u << kIndexBits) / kChunkSlots;
    // A thread that is waited for needs only a turn of the processor. On a busy machine that turn may come late.
    static constexpr std::uint32_t kLongestWaitMs = 1000;

    SPW_CCriticalSection& lock() { return m_lock.get(); }
    template <typename Condition>
    bool await(Condition condition);
    // All below is called under the lock.
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
