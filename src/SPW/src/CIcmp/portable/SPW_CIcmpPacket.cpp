#include "SPW_CIcmpPacket.h"

#include <cstring>

#include "SPW_CSysError.h"

namespace SPW_CIcmpPacket {
namespace {

constexpr std::uint8_t kTypeEchoReply = 0;
constexpr std::uint8_t kTypeUnreachable = 3;
constexpr std::uint8_t kTypeEchoRequest = 8;
constexpr std::uint8_t kTypeTimeExceeded = 11;

// Offsets in the ICMP header.
constexpr int kChecksumAt = 2;
constexpr int kIdentifierAt = 4;
constexpr int kSequenceAt = 6;

// The IPv4 header.
constexpr int kSmallestIpHeader = 20;
constexpr int kTotalLengthAt = 2;
constexpr int kFragmentAt = 6;
constexpr int kTimeToLiveAt = 8;
constexpr int kProtocolAt = 9;
constexpr int kIpSourceAt = 12;
constexpr int kIpTargetAt = 16;
constexpr std::uint16_t kFragmentOffset = 0x1FFF;
constexpr std::uint8_t kProtocolIcmp = 1;
// First bits of a multicast address.
constexpr int kGroupPrefix = 0xE;

std::uint16_t read16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

void write16(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

std::uint64_t readToken(const std::uint8_t* bytes) {
    std::uint64_t token = 0;
    for (int i = 0; i < kTokenSize; ++i) {
        token = token << 8 | bytes[i];
    }
    return token;
}

void writeToken(std::uint8_t* bytes, std::uint64_t token) {
    for (int i = kTokenSize; i-- > 0; token >>= 8) {
        bytes[i] = static_cast<std::uint8_t>(token);
    }
}

SPW_CIpAddress readAddress(const std::uint8_t* bytes) {
    return SPW_CIpAddress(bytes[0], bytes[1], bytes[2], bytes[3]);
}

// The length of the IPv4 header before an ICMP header, 0 for anything else. A packet that we receive is whole; of one
// that is quoted to us, the first fragment carries the ICMP header.
int icmpHeaderOffset(const std::uint8_t* bytes, int size) {
    if (size < kSmallestIpHeader || bytes[0] >> 4 != 4) {
        return 0;
    }
    const int length = (bytes[0] & 0x0F) * 4;
    const bool isFirst = (read16(bytes + kFragmentAt) & kFragmentOffset) == 0;
    if (length < kSmallestIpHeader || length > size || !isFirst || bytes[kProtocolAt] != kProtocolIcmp) {
        return 0;
    }
    return length;
}

// Identifier, sequence and token stand at the same places in requests and replies.
void readEcho(const std::uint8_t* bytes, int size, Answer& answer) {
    answer.identifier = read16(bytes + kIdentifierAt);
    answer.sequence = read16(bytes + kSequenceAt);
    answer.hasToken = size >= kHeaderSize + kTokenSize;
    answer.token = answer.hasToken ? readToken(bytes + kHeaderSize) : 0;
}

bool isGroup(const SPW_CIpAddress& address) {
    return address.octet(0) >> 4 == kGroupPrefix;
}

// The packet that an error message is about, its IP header in front.
bool parseQuotedPacket(const std::uint8_t* bytes, int size, Answer& answer) {
    const int offset = icmpHeaderOffset(bytes, size);
    if (offset == 0) {
        return false;
    }
    answer.target = readAddress(bytes + kIpTargetAt);
    return parseQuotedRequest(bytes + offset, size - offset, answer);
}

}  // namespace

std::uint16_t checksum(const std::uint8_t* bytes, int size) {
    std::uint32_t sum = 0;
    for (int i = 0; i + 1 < size; i += 2) {
        sum += read16(bytes + i);
    }
    if (size % 2 != 0) {
        sum += static_cast<std::uint32_t>(bytes[size - 1]) << 8;
    }
    // The 32772 words of the largest request fit 32 bits, and two folds leave no carry.
    sum = (sum >> 16) + (sum & 0xFFFF);
    sum += sum >> 16;
    return static_cast<std::uint16_t>(~sum);
}

void composeRequest(Echo& echo, const void* data, std::uint16_t dataSize, std::uint8_t* packet) {
    std::memset(packet, 0, kHeaderSize);
    packet[0] = kTypeEchoRequest;
    write16(packet + kIdentifierAt, echo.identifier);
    write16(packet + kSequenceAt, echo.sequence);
    if (dataSize > 0) {
        std::memcpy(packet + kHeaderSize, data, dataSize);
    }
    echo.hasToken = dataSize >= kTokenSize;
    if (echo.hasToken) {
        writeToken(packet + kHeaderSize, echo.token);
    }
    write16(packet + kChecksumAt, checksum(packet, kHeaderSize + dataSize));
}

bool parsePacket(const std::uint8_t* bytes, int size, Answer& answer) {
    const int offset = icmpHeaderOffset(bytes, size);
    if (offset == 0) {
        return false;
    }
    const int total = read16(bytes + kTotalLengthAt);
    if (total < offset || total > size || checksum(bytes + offset, total - offset) != 0) {
        return false;
    }
    answer.timeToLive = bytes[kTimeToLiveAt];
    return parseMessage(bytes + offset, total - offset, readAddress(bytes + kIpSourceAt), answer);
}

bool parseMessage(const std::uint8_t* bytes, int size, const SPW_CIpAddress& source, Answer& answer) {
    if (size < kHeaderSize) {
        return false;
    }
    if (bytes[0] == kTypeEchoReply) {
        answer.code = kSysOk;
        answer.target = source;
        readEcho(bytes, size, answer);
        return bytes[1] == 0;
    }
    answer.code = codeOfError(bytes[0], bytes[1]);
    return answer.code != kSysOk && parseQuotedPacket(bytes + kHeaderSize, size - kHeaderSize, answer);
}

bool parseQuotedRequest(const std::uint8_t* bytes, int size, Answer& answer) {
    if (size < kHeaderSize || bytes[0] != kTypeEchoRequest) {
        return false;
    }
    readEcho(bytes, size, answer);
    return true;
}

SPW_Result codeOfError(std::uint8_t type, std::uint8_t code) {
    if (type == kTypeTimeExceeded) {
        return kIcmpTtlExpired;
    }
    if (type != kTypeUnreachable) {
        return kSysOk;
    }
    switch (code) {
        case 0:   // net unreachable
        case 6:   // net unknown
        case 9:   // net prohibited
        case 11:  // net unreachable for this type of service
            return kIcmpNetUnreachable;
        case 2:
            return kIcmpProtocolUnreachable;
        case 3:
            return kIcmpPortUnreachable;
        case 4:  // would have to be fragmented and may not
            return kIcmpPacketTooBig;
        default:
            return kIcmpHostUnreachable;
    }
}

bool isAnswerTo(const Answer& answer, const Echo& echo) {
    if (answer.sequence != echo.sequence || (echo.checksIdentifier && answer.identifier != echo.identifier)) {
        return false;
    }
    if (answer.code == kSysOk) {
        // A host may reply from another of its addresses, and of a group each member does; the token is proof enough.
        return echo.hasToken ? answer.hasToken && answer.token == echo.token
                             : answer.target == echo.target || isGroup(echo.target);
    }
    const bool tokenFits = !echo.hasToken || !answer.hasToken || answer.token == echo.token;
    return answer.target == echo.target && tokenFits;
}

}  // namespace SPW_CIcmpPacket
