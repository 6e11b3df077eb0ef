#pragma once

#include <cstdint>

#include "SPW_CIpAddress.h"
#include "SPW_CObject.h"
#include "SPW_Types.h"

// The platform's ICMP echo service, reached through `instance`. Any thread.
class SPW_CIcmp : public SPW_CObject {
public:
    static SPW_CIcmp* instance;

    // Opens the service; null on failure (lastError() tells why).
    virtual SPW_Handle open() = 0;
    virtual void close(SPW_Handle service) = 0;
    // Sends one echo request with dataSize bytes at data and waits up to timeoutMs for its reply.
    // Returns the number of replies, 0 on time-out (kIcmpTimedOut) or failure. replySize is the size in
    // bytes of the caller's reply buffer; one that cannot hold a reply fails with kSysInsufficientBuffer.
    virtual std::uint32_t echo(SPW_Handle service, const SPW_CIpAddress& address, const void* data,
                               std::uint16_t dataSize, void* reply, std::uint32_t replySize,
                               std::uint32_t timeoutMs) = 0;
    // Code of the calling thread's latest failed operation.
    virtual SPW_Result lastError() = 0;
};
