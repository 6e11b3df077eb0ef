#pragma once

#include <cstdint>

#include "SPW_CIpAddress.h"
#include "SPW_CObject.h"
#include "SPW_Types.h"

// Bytes of reply buffer that the smallest reply needs.
constexpr std::uint32_t kSmallestIcmpReply = 28;

// What an echo sends, and how long it waits. The caller owns the data, which must stay until the echo has ended.
struct SPW_EchoRequest {
    SPW_CIpAddress address;
    const void* data = nullptr;
    std::uint16_t dataSize = 0;   // bytes
    std::uint32_t timeoutMs = 0;  // 0: the shortest wait that there is; kSPWForever: without limit
};

// What became of an echo.
struct SPW_EchoReply {
    // The caller's: memory in which the platform may keep the reply while the echo lasts. Its content is not defined
    // afterwards.
    void* buffer = nullptr;
    std::uint32_t bufferSize = 0;  // bytes

    // The echo's: the number of replies, 0 or 1.
    std::uint32_t count = 0;

    // The two below are the echo's, too. Without a reply they mean nothing.
    //
    // Microseconds between the request's sending and the reply's arrival, measured with a clock that nobody sets; at
    // most 2^32 - 1. Linux takes the arrival from the kernel, Windows from the return of the platform's call. On
    // Windows a busy machine therefore makes the time longer. A handheld counts whole milliseconds.
    std::uint32_t roundTripUs = 0;
    // Time-to-live with which the reply arrived: what its sender gave it, less one for each router on its way. 0 when
    // the platform does not tell.
    std::uint8_t timeToLive = 0;
};

// The platform's ICMP echo service ("ping"), reached through `instance`. A service belongs to its caller, who opens,
// uses and closes it; any thread may do so, and several threads may send echoes through one service at once, but none
// may be under way, nor be cancelled, when it is closed.
class SPW_CIcmp : public SPW_CObject {
public:
    // The process-wide object; a test may put another in its place. Usable before main().
    static SPW_CIcmp* instance;

    // The process is about to give up rights. Takes now what open() would need them for, and keeps it to the end of the
    // process. Does nothing where open() needs no right, where there is no such right, and when it is called again.
    virtual void openAhead() {}

    // Opens the service. Null on failure: kSysAccessDenied when this process may send no echoes, or another code.
    virtual SPW_Handle open() = 0;
    // Null is ignored.
    virtual void close(SPW_Handle service) = 0;

    // Ends the echoes that are under way through the service, at once, and every later one before it is sent; all fail
    // with kSysOperationAborted. Does not wait for what it ends. Any thread; null is ignored.
    // On a device whose platform cannot leave an echo alone (Windows CE) one that is under way lasts until its reply or
    // its time-out; only later ones fail.
    virtual void cancel(SPW_Handle service) = 0;

    // Sends one echo request and waits for its reply. Without a reply the count is 0, and lastError() tells why:
    //   kIcmpTimedOut            no reply came in time
    //   kIcmpNetUnreachable, kIcmpHostUnreachable, kIcmpProtocolUnreachable, kIcmpPortUnreachable, kIcmpPacketTooBig,
    //   kIcmpTtlExpired          somebody on the way, or this device, said that there will be none
    //   kSysInsufficientBuffer   the reply buffer is below kSmallestIcmpReply; nothing was sent
    //   kSysInvalidHandle        service is null
    //   kSysOperationAborted     the service was cancelled
    //   another code             the request could not be sent
    // The number of data bytes is kept, their content is not promised: where the platform leaves it to us to tell our
    // replies from others, the first eight bytes are replaced by a token.
    virtual void echo(SPW_Handle service, const SPW_EchoRequest& request, SPW_EchoReply& reply) = 0;

    // A test begins. What this device lacked so far is looked for again at the next call; between two of these a lack
    // is remembered, because looking takes long.
    virtual void lookAgain() {}

    // Code of the calling thread's latest failed operation here; success does not clear it.
    virtual SPW_Result lastError() = 0;
};
