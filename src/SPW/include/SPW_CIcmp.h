#pragma once

#include <cstdint>

#include "SPW_CIpAddress.h"
#include "SPW_CObject.h"
#include "SPW_Types.h"

// Bytes of reply buffer that the smallest reply needs.
constexpr std::uint32_t kSmallestIcmpReply = 28;

// The platform's ICMP echo service ("ping"), reached through `instance`. A service belongs to its caller, who opens,
// uses and closes it; any thread may do so, and several threads may send echoes through one service at once, but none
// may be under way, nor be cancelled, when it is closed.
class SPW_CIcmp : public SPW_CObject {
public:
    // The process-wide object; a test may put another in its place. Usable before main().
    static SPW_CIcmp* instance;

    // Opens the service. Null on failure: kSysAccessDenied when this process may send no echoes, or another code.
    virtual SPW_Handle open() = 0;
    // Null is ignored.
    virtual void close(SPW_Handle service) = 0;

    // Ends the echoes that are under way through the service, at once, and every later one before it is sent; all fail
    // with kSysOperationAborted. Does not wait for what it ends. Any thread; null is ignored.
    // On a device whose platform cannot leave an echo alone (Windows CE) one that is under way lasts until its reply or
    // its time-out; only later ones fail.
    virtual void cancel(SPW_Handle service) = 0;

    // Sends one echo request to address and waits up to timeoutMs (0: the shortest wait that there is; kSPWForever:
    // without limit) for its reply. Returns the number of replies (1), or 0:
    //   kIcmpTimedOut            no reply came in time
    //   kIcmpNetUnreachable, kIcmpHostUnreachable, kIcmpProtocolUnreachable, kIcmpPortUnreachable, kIcmpPacketTooBig,
    //   kIcmpTtlExpired          somebody on the way, or this device, said that there will be none
    //   kSysInsufficientBuffer   replySize is below kSmallestIcmpReply; nothing was sent
    //   kSysInvalidHandle        service is null
    //   kSysOperationAborted     the service was cancelled
    //   another code             the request could not be sent
    // data: dataSize bytes to send along. Their number is kept, their content is not promised: where the platform
    // leaves it to us to tell our replies from others, the first eight bytes are replaced by a token.
    // reply: replySize bytes of the caller's, in which the platform may keep the reply while the call lasts. What it
    // holds afterwards is not defined: the number of replies is all that the call tells.
    virtual std::uint32_t echo(SPW_Handle service, const SPW_CIpAddress& address, const void* data,
                               std::uint16_t dataSize, void* reply, std::uint32_t replySize,
                               std::uint32_t timeoutMs) = 0;

    // A test begins. What this device lacked so far is looked for again at the next call; between two of these a lack
    // is remembered, because looking takes long.
    virtual void lookAgain() {}

    // Code of the calling thread's latest failed operation here; success does not clear it.
    virtual SPW_Result lastError() = 0;
};
