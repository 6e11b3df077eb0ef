#pragma once

#include <cstdint>
#include <memory>

#include "SPW_CCriticalSection.h"
#include "SPW_CMessage.h"
#include "SPW_CThread.h"

// The second base of the queue: what an owner that only knows the queue may delete it by.
class SPW_CMessageTarget {
public:
    virtual ~SPW_CMessageTarget() = default;
};

// A thread with a bounded queue of message values (pointers travel as pointer-sized numbers) and one
// optional timed message.
//
// One reader, the queue's own thread in step(), and any number of writers. The queue does not own what the values
// point at: the thread that takes a value deletes it. The derived class takes what is still queued at the end.
class SPW_CThreadMessageQueue : public SPW_CThread, public SPW_CMessageTarget {
public:
    // Result of qGetMsg when nothing came in time.
    static constexpr SPW_Result kTimedOut = 521;

    // A queue of one place.
    SPW_CThreadMessageQueue();
    // capacity 0 makes one place, too.
    explicit SPW_CThreadMessageQueue(std::uint32_t capacity);
    ~SPW_CThreadMessageQueue() override;

    // 0, or kNoSemaphore (reported) when the platform had none left: the queue then takes no message and is always
    // empty. Its owner does not start it.
    SPW_Result queueResult() const;
    // Blocks until there is room. Any thread. A queue that takes no message leaves the message with the caller.
    void qAddMsg(std::uintptr_t message);
    // The same without blocking. A message that finds room is traced like one of qAddMsg. False when there is no room;
    // the message then stays with the caller.
    [[nodiscard]] bool qTryAddMsg(std::uintptr_t message);
    // Takes the oldest message, or the timed message when it is due; `message` is 0 when neither came within timeoutMs
    // (kSPWForever: no limit). Callers go by `message`. The result is 0 for a message, kTimedOut for none; for a timed
    // message that was due at the call it is the time left in the unit of setTimedMessage, 0 or negative. A timed
    // message is a pointer to SPW_CMessage that the caller now owns. Reader only.
    SPW_Result qGetMsg(std::uintptr_t& message, std::uint32_t timeoutMs);
    // Takes the messages that wait now, at most `most`, the oldest first, and returns how many. Their places stay taken
    // until freePlaces(): the bound of the queue holds for what its reader works on as well. Each is traced like one
    // that qGetMsg takes. Never blocks. Reader only.
    std::uint32_t qTakeWaiting(std::uintptr_t* messages, std::uint32_t most);
    // Frees the places of that many messages that qTakeWaiting() has given. Reader only.
    void freePlaces(std::uint32_t count);
    // Arms the one timed message, which is the queue's until it is handed out; one that is still armed is deleted.
    // `delay` is in microseconds when the message is armed, but qGetMsg waits as many milliseconds for it; see there.
    // Reader only, or before start().
    void setTimedMessage(std::uint32_t delay, std::unique_ptr<SPW_CMessage> message);
    // Whether all places are free, and whether none is. Any thread; by the time of the return it may have changed.
    bool isEmpty() const;
    bool isFull() const;

private:
    void append(std::uintptr_t message);
    bool waitForItem(std::uint32_t timeoutMs);
    std::int64_t timedMessageRemaining() const;
    std::uintptr_t takeTimedMessage();
    std::uintptr_t takeOldest();
    std::uintptr_t removeOldest();
    std::int32_t lockedCount() const;

    const std::uint32_t m_capacity;
    SPW_Handle m_items;
    SPW_Handle m_freeSlots;
    // Not a semaphore like the two above. A semaphore gives a unit to the longest waiter even while it is still asleep.
    // Once writer and reader had met here, each would wait for the other's wake-up at every message.
    mutable SPW_CCriticalSection m_queueLock;
    // Guarded by m_queueLock.
    std::unique_ptr<std::uintptr_t[]> m_ring;
    std::uint32_t m_writeIndex;
    std::uint32_t m_removeIndex;
    std::int32_t m_count;
    // The reader's own.
    bool m_timedPending;
    std::uint64_t m_due100ns;
    std::unique_ptr<SPW_CMessage> m_timedMessage;
};
