// Foreign ICMP: whatever arrives is read within its bounds, the reply to a request is always known as such, and one
// that is damaged never is.
//
// Input: sixteen bytes that choose an echo and a damage, then bytes that are read as a packet, as a message and as a
// quoted request, and that are the data of the request.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "Require.h"
#include "SPW_CIcmpPacket.h"
#include "SPW_CSysError.h"

namespace {

using SPW_CIcmpPacket::Answer;
using SPW_CIcmpPacket::Echo;

constexpr std::size_t kChoice = 16;
constexpr std::size_t kMostData = 2000;
constexpr SPW_CIpAddress kTarget(192, 0, 2, 7);

Echo chosenEcho(const std::uint8_t* choice) {
    Echo echo;
    echo.target = kTarget;
    echo.identifier = static_cast<std::uint16_t>(choice[0] << 8 | choice[1]);
    echo.sequence = static_cast<std::uint16_t>(choice[2] << 8 | choice[3]);
    std::memcpy(&echo.token, choice + 4, sizeof echo.token);
    echo.checksIdentifier = (choice[12] & 1) == 0;
    return echo;
}

void readForeign(const std::uint8_t* bytes, int size, const Echo& echo) {
    Answer answer;
    if (SPW_CIcmpPacket::parsePacket(bytes, size, answer)) {
        require(size >= 28, "a packet has its headers");
        require(!answer.hasToken || size >= 36, "a token is within the packet");
        (void)SPW_CIcmpPacket::isAnswerTo(answer, echo);
    }
    Answer message;
    if (SPW_CIcmpPacket::parseMessage(bytes, size, kTarget, message)) {
        require(size >= 8, "a message has its header");
        require(message.code == kSysOk || message.code == SPW_CIcmpPacket::codeOfError(bytes[0], bytes[1]),
                "the code is that of the message");
        require(message.code != kSysOk || message.target == kTarget, "a reply is its sender's");
    }
    Answer quoted;
    if (SPW_CIcmpPacket::parseQuotedRequest(bytes, size, quoted)) {
        require(bytes[0] == 8, "only a request is quoted");
        require(quoted.hasToken == (size >= 16), "a token is quoted when there is room for it");
    }
}

void setChecksum(std::vector<std::uint8_t>& message) {
    message[2] = message[3] = 0;
    const std::uint16_t sum = SPW_CIcmpPacket::checksum(message.data(), static_cast<int>(message.size()));
    message[2] = static_cast<std::uint8_t>(sum >> 8);
    message[3] = static_cast<std::uint8_t>(sum);
}

std::vector<std::uint8_t> inIp(const std::vector<std::uint8_t>& message) {
    const std::size_t total = 20 + message.size();
    std::vector<std::uint8_t> packet{0x45,
                                     0,
                                     static_cast<std::uint8_t>(total >> 8),
                                     static_cast<std::uint8_t>(total),
                                     0,
                                     0,
                                     0,
                                     0,
                                     64,
                                     1,
                                     0,
                                     0,
                                     192,
                                     0,
                                     2,
                                     7,
                                     192,
                                     0,
                                     2,
                                     2};
    packet.insert(packet.end(), message.begin(), message.end());
    return packet;
}

void answerOwn(Echo echo, const std::uint8_t* data, std::size_t size, std::uint8_t damageAt, std::uint8_t damage) {
    std::vector<std::uint8_t> message(SPW_CIcmpPacket::kHeaderSize + size);
    SPW_CIcmpPacket::composeRequest(echo, data, static_cast<std::uint16_t>(size), message.data());
    require(SPW_CIcmpPacket::checksum(message.data(), static_cast<int>(message.size())) == 0,
            "a request bears its checksum");
    message[0] = 0;
    setChecksum(message);
    std::vector<std::uint8_t> packet = inIp(message);
    Answer answer;
    require(SPW_CIcmpPacket::parsePacket(packet.data(), static_cast<int>(packet.size()), answer), "a reply is read");
    require(SPW_CIcmpPacket::isAnswerTo(answer, echo), "a reply answers its request");
    // A sum of ones' complement does not tell 0x0000 from 0xFFFF; no other change of one byte escapes it.
    const std::size_t at = 20 + damageAt % message.size();
    packet[at] = static_cast<std::uint8_t>(packet[at] ^ damage);
    require(damage == 0 || !SPW_CIcmpPacket::parsePacket(packet.data(), static_cast<int>(packet.size()), answer),
            "a damaged reply is none");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    if (size < kChoice) {
        return 0;
    }
    const Echo echo = chosenEcho(input);
    // A block of exactly this size lets the sanitizer see a read beyond it.
    const std::size_t rest = size - kChoice;
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[rest]);
    std::memcpy(bytes.get(), input + kChoice, rest);
    readForeign(bytes.get(), static_cast<int>(rest), echo);
    answerOwn(echo, bytes.get(), std::min(rest, kMostData), input[13], input[14]);
    return 0;
}
