#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "SPW_CBackOff.h"
#include "SPW_CDeadlinePosix.h"
#include "SPW_CIcmp.h"
#include "SPW_CIcmpPacket.h"
#include "SPW_CRoundTripPosix.h"
#include "SPW_Types.h"

// One ICMP socket and the echoes that are under way through it. Any number of threads at once.
//
// There is no thread of our own behind it. Of the threads that wait for a reply, one at a time is the receiver: it
// reads the socket and hands each reply to its echo, whosever that is. When its own echo has ended it leaves, and
// wakes another to receive on. So an answer costs the same wake-ups as with a thread that does nothing but receive, a
// single echo costs none, and at the end of the process there is nothing to stop.
//
// Receiving that fails for good pauses, as listeners do. Echoes still end in time meanwhile.
class SPW_CIcmpChannel {
public:
    // A datagram socket: the kernel gives it the replies to its own requests alone, under an identifier of the
    // kernel's choice. A raw socket: it gets a copy of every ICMP message for this device.
    enum Kind { kDatagram, kRaw };

    // The echoes that are cancelled together: those of one service. Kept by the service; the channel sees to the rest.
    class Group {
        friend class SPW_CIcmpChannel;
        bool m_isCancelled = false;  // under the channel's lock
    };

    // Opens a channel; null, with errno saying why, when the socket cannot be had.
    static std::unique_ptr<SPW_CIcmpChannel> open(Kind kind);
    ~SPW_CIcmpChannel();
    SPW_CIcmpChannel(const SPW_CIcmpChannel&) = delete;
    SPW_CIcmpChannel& operator=(const SPW_CIcmpChannel&) = delete;

    // Sends one request and waits for what becomes of it: 0 for a reply, else a code as SPW_CIcmp::echo() has them.
    // Tells in reply how the reply came; its buffer and its count are the caller's affair.
    SPW_Result echo(Group& group, const SPW_EchoRequest& request, SPW_EchoReply& reply);
    // Of a raw channel: whether the kernel gives it messages at all. Messages that nobody waits for would fill its
    // queue. It hears from its opening on. No echo may be under way while it does not.
    void setHearing(bool hears);
    // Ends the group's echoes under way, and every later one before it is sent.
    void cancel(Group& group);

private:
    // An answer and its arrival.
    struct Message {
        SPW_CIcmpPacket::Answer answer;
        SPW_CArrivalPosix arrival;
    };
    // An echo under way; lives on the stack of its thread.
    struct Waiter {
        const Group* group = nullptr;
        SPW_CIcmpPacket::Echo echo;
        // The thread's own: both clocks just before the request was sent.
        SPW_CClockReadingPosix sending;
        bool isDone = false;
        SPW_Result code = 0;
        // Of a reply.
        SPW_CArrivalPosix arrival;
        std::uint8_t timeToLive = 0;
        std::condition_variable wake;
    };
    enum Received { kNothing, kOther, kAnswer, kFailed };

    SPW_CIcmpChannel(int descriptor, int alarm, Kind kind);

    bool enter(Waiter& waiter);
    void leave(Waiter& waiter);
    SPW_Result send(Waiter& waiter, const std::uint8_t* packet, std::size_t size);
    SPW_Result await(std::unique_lock<std::mutex>& lock, Waiter& waiter, const SPW_CDeadlinePosix& deadline);
    void deliver(const Message& message);
    void end(Waiter& waiter, SPW_Result code);
    void wakeReceiver();
    void discardPending();
    bool waitForMessage(const SPW_CDeadlinePosix& deadline);
    Received receiveUntil(const SPW_CDeadlinePosix& deadline, bool isLate, Message& message);
    void noteReceived(Received received);
    void waitForTurn(std::unique_lock<std::mutex>& lock, Waiter& waiter, const SPW_CDeadlinePosix& deadline);
    Received receiveNow(Message& message);
    Received receiveError(SPW_CIcmpPacket::Answer& answer);

    const int m_descriptor;
    // Of a raw channel: readable when the receiver shall look whether its own echo has ended. Else -1.
    const int m_alarm;
    const Kind m_kind;
    const std::uint16_t m_identifier;
    // Touched by the receiver alone. While there is no receiver: by the holder of m_lock.
    const std::unique_ptr<std::uint8_t[]> m_buffer;
    int m_receiveError = 0;  // errno of the latest failure to receive

    std::mutex m_lock;
    // Below: under m_lock.
    std::unordered_map<std::uint16_t, Waiter*> m_waiters;  // by sequence
    Waiter* m_receiver = nullptr;
    // Of receiving, which may fail for good. Nobody receives before the time m_receiveDue.
    SPW_CBackOff m_backOff;
    SPW_CDeadlinePosix::Clock::time_point m_receiveDue;
    // What an echo without a reply ends with: that its time is up, or why nothing can be received.
    SPW_Result m_lateCode;
};
