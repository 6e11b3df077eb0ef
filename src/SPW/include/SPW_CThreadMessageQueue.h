#pragma once

#include <cstdint>

#include "SPW_CMessage.h"
#include "SPW_CThread.h"

// The second base of the queue: what an owner that only knows the queue may delete it by.
class SPW_CMessageTarget {
public:
    virtual ~SPW_CMessageTarget() = default;
};

// A thread with a bounded queue of message values (pointers travel as pointer-sized numbers) and one
// optional timed message. One reader (the queue's own thread, in step), any number of writers.
class SPW_CThreadMessageQueue : public SPW_CThread, public SPW_CMessageTarget {
public:
    SPW_CThreadMessageQueue();
    explicit SPW_CThreadMessageQueue(std::uint32_t capacity);
    ~SPW_CThreadMessageQueue() override;

    // Blocks until there is room.
    void qAddMsg(std::uintptr_t message);
    SPW_Result qGetMsg(std::uintptr_t& message, std::uint32_t timeoutMs);
    // Takes ownership of message. See the .cpp for the units: they are deliberate.
    void setTimedMessage(std::uint32_t delay, SPW_CMessage* message);
    bool isEmpty() const;
    bool isFull() const;
};
