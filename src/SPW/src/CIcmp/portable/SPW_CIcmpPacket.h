#pragma once

#include <cstdint>

#include "SPW_CIpAddress.h"
#include "SPW_Types.h"

// The bytes of ICMP echo: makes requests and reads what may answer them. Pure functions over foreign bytes, which may
// hold anything; nothing is read beyond the given size and nothing is kept. Any thread.
namespace SPW_CIcmpPacket {

constexpr int kHeaderSize = 8;
constexpr int kTokenSize = 8;

// What identifies one echo that is under way.
struct Echo {
    SPW_CIpAddress target;
    std::uint16_t identifier = 0;
    // False where the system puts an identifier of its own into requests and sees to the replies' itself.
    bool checksIdentifier = true;
    std::uint16_t sequence = 0;
    // The first bytes of the data, when there is room for it.
    std::uint64_t token = 0;
    bool hasToken = false;
};

// A message that may end an echo.
struct Answer {
    // kSysOk: an echo reply; else what went wrong (kIcmp... of SPW_CSysError.h).
    SPW_Result code = 0;
    // The sender of the reply. Of an error message: the target of the request that went wrong.
    SPW_CIpAddress target;
    std::uint16_t identifier = 0;
    std::uint16_t sequence = 0;
    std::uint64_t token = 0;
    // An error message quotes as much of its request as its sender likes.
    bool hasToken = false;
    // With which the message itself arrived. A message without its IP header leaves it as it is.
    std::uint8_t timeToLive = 0;
};

// The internet checksum of the bytes: 0 when they contain their own right one.
std::uint16_t checksum(const std::uint8_t* bytes, int size);

// Writes an echo request of kHeaderSize + dataSize bytes, the checksum included. With kTokenSize bytes of data or more
// the token takes the place of the first ones, and echo.hasToken is set.
void composeRequest(Echo& echo, const void* data, std::uint16_t dataSize, std::uint8_t* packet);

// Reads a whole IPv4 packet, as a raw socket delivers it. False for all but an echo reply and an error message about
// an echo request, undamaged and complete.
bool parsePacket(const std::uint8_t* bytes, int size, Answer& answer);

// Reads an ICMP message that `source` sent, without the IP header before it; its checksum was verified, and it may be
// cut short after the token. False for all but an echo reply and an error message about an echo request.
bool parseMessage(const std::uint8_t* bytes, int size, const SPW_CIpAddress& source, Answer& answer);

// Reads an echo request as an error message quotes it, without the IP header before it. answer keeps its code and
// target. False for anything else.
bool parseQuotedRequest(const std::uint8_t* bytes, int size, Answer& answer);

// The code for an ICMP error message, 0 for a type that is none.
SPW_Result codeOfError(std::uint8_t type, std::uint8_t code);

// Whether the answer belongs to the echo. The sequence must be the same, and the identifier where the echo checks it.
// Beside these:
//
//     answer   echo                  must have
//     reply    with a token          the same token; any sender will do
//     reply    without, to a host    the host as its sender
//     reply    without, to a group   nothing more
//     error    any                   the same target, and the same token if both have one
bool isAnswerTo(const Answer& answer, const Echo& echo);

}  // namespace SPW_CIcmpPacket
