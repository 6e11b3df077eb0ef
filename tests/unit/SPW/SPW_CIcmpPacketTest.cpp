#include "SPW_CIcmpPacket.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "SPW_CSysError.h"

namespace {

using SPW_CIcmpPacket::Answer;
using SPW_CIcmpPacket::Echo;
using Bytes = std::vector<std::uint8_t>;

constexpr SPW_CIpAddress kTarget(192, 0, 2, 7);
constexpr SPW_CIpAddress kOther(192, 0, 2, 8);
constexpr SPW_CIpAddress kRouter(192, 0, 2, 1);
constexpr SPW_CIpAddress kOwn(192, 0, 2, 2);

int sizeOf(const Bytes& bytes) {
    return static_cast<int>(bytes.size());
}

Echo anEcho() {
    Echo echo;
    echo.target = kTarget;
    echo.identifier = 0x1234;
    echo.sequence = 0xABCD;
    echo.token = 0x0102030405060708;
    return echo;
}

Bytes compose(Echo& echo, const std::string& data) {
    Bytes packet(SPW_CIcmpPacket::kHeaderSize + data.size());
    SPW_CIcmpPacket::composeRequest(echo, data.data(), static_cast<std::uint16_t>(data.size()), packet.data());
    return packet;
}

Bytes withChecksum(Bytes message) {
    message[2] = message[3] = 0;
    const std::uint16_t sum = SPW_CIcmpPacket::checksum(message.data(), sizeOf(message));
    message[2] = static_cast<std::uint8_t>(sum >> 8);
    message[3] = static_cast<std::uint8_t>(sum);
    return message;
}

// What a host makes of a request.
Bytes replyTo(Bytes request) {
    request[0] = 0;
    return withChecksum(request);
}

Bytes inIp(const Bytes& message, const SPW_CIpAddress& source, const SPW_CIpAddress& target, std::size_t options = 0) {
    const std::size_t total = 20 + options + message.size();
    Bytes packet{static_cast<std::uint8_t>(0x45 + options / 4),
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
                 0};
    for (const SPW_CIpAddress& address : {source, target}) {
        for (int i = 0; i < 4; ++i) {
            packet.push_back(address.octet(i));
        }
    }
    packet.insert(packet.end(), options, 1);
    packet.insert(packet.end(), message.begin(), message.end());
    return packet;
}

// An error message about a packet, of which it quotes so many bytes.
Bytes errorAbout(const Bytes& packet, std::uint8_t type, std::uint8_t code, std::size_t quoted) {
    Bytes message{type, code, 0, 0, 0, 0, 0, 0};
    message.insert(message.end(), packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(quoted));
    return withChecksum(message);
}

bool isAnswer(const Bytes& packet, const Echo& echo, Answer& answer) {
    return SPW_CIcmpPacket::parsePacket(packet.data(), sizeOf(packet), answer) &&
           SPW_CIcmpPacket::isAnswerTo(answer, echo);
}
bool isAnswer(const Bytes& packet, const Echo& echo) {
    Answer answer;
    return isAnswer(packet, echo, answer);
}

// ---- Checksum ----

TEST(IcmpChecksumTest, IsThatOfAKnownPacket) {
    // A request as ping(8) sends it: identifier 1, sequence 9, 32 letters.
    Bytes packet{8, 0, 0, 0, 0, 1, 0, 9};
    for (const char c : std::string("abcdefghijklmnopqrstuvwabcdefghi")) {
        packet.push_back(static_cast<std::uint8_t>(c));
    }
    EXPECT_EQ(SPW_CIcmpPacket::checksum(packet.data(), sizeOf(packet)), 0x4D52);
}

TEST(IcmpChecksumTest, OfAPacketThatBearsItIsZero) {
    for (const std::size_t size : {8u, 9u, 40u, 1473u, 65535u}) {
        Bytes packet(size);
        for (std::size_t i = 0; i < size; ++i) {
            packet[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
        }
        packet = withChecksum(packet);
        EXPECT_EQ(SPW_CIcmpPacket::checksum(packet.data(), sizeOf(packet)), 0);
        packet[size - 1] = static_cast<std::uint8_t>(packet[size - 1] + 1);
        EXPECT_NE(SPW_CIcmpPacket::checksum(packet.data(), sizeOf(packet)), 0);
    }
}

TEST(IcmpChecksumTest, CarriesAreAdded) {
    const Bytes ones(65534, 0xFF);
    EXPECT_EQ(SPW_CIcmpPacket::checksum(ones.data(), sizeOf(ones)), 0);
    const Bytes odd{0x01, 0x02, 0x03};
    EXPECT_EQ(SPW_CIcmpPacket::checksum(odd.data(), 3), 0xFFFF - 0x0402);
    EXPECT_EQ(SPW_CIcmpPacket::checksum(odd.data(), 0), 0xFFFF);
}

// ---- Requests ----

TEST(IcmpRequestTest, HasHeaderTokenAndTheCallersData) {
    Echo echo = anEcho();
    const Bytes packet = compose(echo, "--------data");
    const Bytes expected =
        withChecksum({8, 0, 0, 0, 0x12, 0x34, 0xAB, 0xCD, 1, 2, 3, 4, 5, 6, 7, 8, 'd', 'a', 't', 'a'});
    EXPECT_EQ(packet, expected);
    EXPECT_TRUE(echo.hasToken);
}

TEST(IcmpRequestTest, WithoutRoomForTheTokenKeepsItsDataWhole) {
    Echo echo = anEcho();
    echo.hasToken = true;
    EXPECT_EQ(compose(echo, "sevenof"),
              withChecksum({8, 0, 0, 0, 0x12, 0x34, 0xAB, 0xCD, 's', 'e', 'v', 'e', 'n', 'o', 'f'}));
    EXPECT_FALSE(echo.hasToken);
    EXPECT_EQ(sizeOf(compose(echo, "")), SPW_CIcmpPacket::kHeaderSize);
}

TEST(IcmpRequestTest, EightBytesAreRoomForTheToken) {
    Echo echo = anEcho();
    EXPECT_EQ(sizeOf(compose(echo, "--------")), SPW_CIcmpPacket::kHeaderSize + SPW_CIcmpPacket::kTokenSize);
    EXPECT_TRUE(echo.hasToken);
}

// ---- Replies ----

TEST(IcmpReplyTest, TheIpHeaderTellsTheTimeToLive) {
    Echo echo = anEcho();
    Bytes packet = inIp(replyTo(compose(echo, "data and more")), kTarget, kOwn);
    for (const int timeToLive : {0, 1, 57, 255}) {
        packet[8] = static_cast<std::uint8_t>(timeToLive);
        Answer answer;
        EXPECT_TRUE(isAnswer(packet, echo, answer));
        EXPECT_EQ(answer.timeToLive, timeToLive);
    }
}

TEST(IcmpReplyTest, AnswersItsRequest) {
    for (const char* data : {"", "1", "--------", "-------- and more"}) {
        Echo echo = anEcho();
        const Bytes reply = replyTo(compose(echo, data));
        Answer answer;
        EXPECT_TRUE(isAnswer(inIp(reply, kTarget, kOwn), echo, answer)) << data;
        EXPECT_EQ(answer.code, kSysOk);
        EXPECT_EQ(answer.target, kTarget);
        EXPECT_TRUE(SPW_CIcmpPacket::parseMessage(reply.data(), sizeOf(reply), kTarget, answer));
        EXPECT_TRUE(SPW_CIcmpPacket::isAnswerTo(answer, echo)) << data;
    }
}

TEST(IcmpReplyTest, IsReadBehindIpOptions) {
    Echo echo = anEcho();
    EXPECT_TRUE(isAnswer(inIp(replyTo(compose(echo, "--------")), kTarget, kOwn, 40), echo));
}

TEST(IcmpReplyTest, MayBeFollowedByPadding) {
    Echo echo = anEcho();
    Bytes packet = inIp(replyTo(compose(echo, "1")), kTarget, kOwn);
    packet.insert(packet.end(), 17, 0xEE);
    EXPECT_TRUE(isAnswer(packet, echo));
}

TEST(IcmpReplyTest, OfAnotherSequenceIsNone) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "--------")), kTarget, kOwn);
    ++echo.sequence;
    EXPECT_FALSE(isAnswer(packet, echo));
}

TEST(IcmpReplyTest, OfAnotherTokenIsNone) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "--------")), kTarget, kOwn);
    ++echo.token;
    EXPECT_FALSE(isAnswer(packet, echo));
}

TEST(IcmpReplyTest, OfAnotherIdentifierIsNoneUnlessTheSystemChoosesIt) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "--------")), kTarget, kOwn);
    ++echo.identifier;
    EXPECT_FALSE(isAnswer(packet, echo));
    echo.checksIdentifier = false;
    EXPECT_TRUE(isAnswer(packet, echo));
}

TEST(IcmpReplyTest, FromAnotherAddressIsKnownByItsTokenOnly) {
    Echo echo = anEcho();
    EXPECT_TRUE(isAnswer(inIp(replyTo(compose(echo, "--------")), kOther, kOwn), echo));
    EXPECT_FALSE(isAnswer(inIp(replyTo(compose(echo, "short")), kOther, kOwn), echo));
    EXPECT_TRUE(isAnswer(inIp(replyTo(compose(echo, "short")), kTarget, kOwn), echo));
}

TEST(IcmpReplyTest, OfAnyMemberAnswersTheRequestToAGroup) {
    for (const char* data : {"short", "--------"}) {
        Echo echo = anEcho();
        echo.target = SPW_CIpAddress(224, 0, 0, 1);
        const Bytes packet = inIp(replyTo(compose(echo, data)), kOther, kOwn);
        EXPECT_TRUE(isAnswer(packet, echo)) << data;
        ++echo.sequence;
        EXPECT_FALSE(isAnswer(packet, echo)) << data;
    }
    for (const SPW_CIpAddress& target : {SPW_CIpAddress(223, 255, 255, 255), SPW_CIpAddress(240, 0, 0, 1)}) {
        Echo echo = anEcho();
        echo.target = target;
        EXPECT_FALSE(isAnswer(inIp(replyTo(compose(echo, "short")), kOther, kOwn), echo));
    }
}

TEST(IcmpReplyTest, WithoutTheTokenThatWasSentIsNone) {
    Echo echo = anEcho();
    const Bytes shortReply = inIp(replyTo(compose(echo, "short")), kTarget, kOwn);
    (void)compose(echo, "--------");
    EXPECT_FALSE(isAnswer(shortReply, echo));
}

TEST(IcmpReplyTest, DamagedInAnyBitIsNone) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "-------- data")), kTarget, kOwn);
    for (std::size_t at = 20; at < packet.size(); ++at) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes damaged = packet;
            damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ 1 << bit);
            EXPECT_FALSE(isAnswer(damaged, echo)) << at << "." << bit;
        }
    }
}

TEST(IcmpReplyTest, CutShortAnywhereIsNone) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "-------- data")), kTarget, kOwn);
    for (std::size_t size = 0; size < packet.size(); ++size) {
        // A copy of exactly this size lets a sanitizer see a read beyond it.
        const Bytes cut(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(isAnswer(cut, echo)) << size;
    }
}

TEST(IcmpReplyTest, OurOwnRequestIsNoReply) {
    Echo echo = anEcho();
    EXPECT_FALSE(isAnswer(inIp(compose(echo, "--------"), kOwn, kTarget), echo));
}

TEST(IcmpReplyTest, WithAForeignIpHeaderIsNone) {
    Echo echo = anEcho();
    const Bytes packet = inIp(replyTo(compose(echo, "--------")), kTarget, kOwn);
    const auto with = [&](std::size_t at, int value) {
        Bytes changed = packet;
        changed[at] = static_cast<std::uint8_t>(value);
        return changed;
    };
    EXPECT_FALSE(isAnswer(with(0, 0x65), echo)) << "version 6";
    EXPECT_FALSE(isAnswer(with(0, 0x44), echo)) << "a header of 16 bytes";
    EXPECT_FALSE(isAnswer(with(0, 0x4F), echo)) << "a header longer than the packet";
    EXPECT_FALSE(isAnswer(with(3, 19), echo)) << "a packet shorter than its header";
    EXPECT_FALSE(isAnswer(with(3, 255), echo)) << "a packet longer than what came";
    EXPECT_FALSE(isAnswer(with(7, 1), echo)) << "a later fragment";
    EXPECT_FALSE(isAnswer(with(9, 17), echo)) << "UDP";
}

// ---- Error messages ----

class IcmpErrorTest : public testing::Test {
protected:
    Echo m_echo = anEcho();
    Bytes m_request = inIp(compose(m_echo, "--------"), kOwn, kTarget);

    Bytes error(std::uint8_t type, std::uint8_t code, std::size_t quoted) {
        return inIp(errorAbout(m_request, type, code, quoted), kRouter, kOwn);
    }
};

TEST_F(IcmpErrorTest, EndsTheEchoWithItsCode) {
    Answer answer;
    ASSERT_TRUE(isAnswer(error(3, 1, m_request.size()), m_echo, answer));
    EXPECT_EQ(answer.code, kIcmpHostUnreachable);
    EXPECT_EQ(answer.target, kTarget) << "not the router that tells it";
    EXPECT_TRUE(answer.hasToken);
}

TEST_F(IcmpErrorTest, NeedsNoMoreThanTheHeadersQuoted) {
    Answer answer;
    ASSERT_TRUE(isAnswer(error(3, 1, 28), m_echo, answer));
    EXPECT_FALSE(answer.hasToken);
    for (std::size_t quoted = 0; quoted < 28; ++quoted) {
        EXPECT_FALSE(isAnswer(error(3, 1, quoted), m_echo)) << quoted;
    }
}

TEST_F(IcmpErrorTest, AboutTheFirstFragmentOfARequestIsAboutTheRequest) {
    m_request[6] = 0x20;
    EXPECT_TRUE(isAnswer(error(3, 1, 28), m_echo));
}

TEST_F(IcmpErrorTest, AboutAnotherEchoIsNone) {
    const Bytes message = error(3, 1, m_request.size());
    Echo other = m_echo;
    other.target = kOther;
    EXPECT_FALSE(isAnswer(message, other));
    other = m_echo;
    ++other.sequence;
    EXPECT_FALSE(isAnswer(message, other));
    other = m_echo;
    ++other.identifier;
    EXPECT_FALSE(isAnswer(message, other));
    other = m_echo;
    ++other.token;
    EXPECT_FALSE(isAnswer(message, other));
    EXPECT_TRUE(isAnswer(error(3, 1, 28), other)) << "the token is not quoted there";
}

TEST_F(IcmpErrorTest, AboutSomethingElseIsNone) {
    m_request[9] = 17;
    EXPECT_FALSE(isAnswer(error(3, 3, 28), m_echo)) << "a datagram";
    m_request[9] = 1;
    m_request[20] = 0;
    EXPECT_FALSE(isAnswer(error(3, 1, 28), m_echo)) << "a reply of ours";
}

TEST_F(IcmpErrorTest, HasACodeForEachReason) {
    const struct {
        std::uint8_t type;
        std::uint8_t code;
        SPW_Result expected;
    } kCases[] = {
        {3, 0, 11002},  {3, 1, 11003}, {3, 2, 11004},  {3, 3, 11005},  {3, 4, 11009},  {3, 5, 11003},  {3, 6, 11002},
        {3, 7, 11003},  {3, 9, 11002}, {3, 10, 11003}, {3, 11, 11002}, {3, 12, 11003}, {3, 13, 11003}, {11, 0, 11013},
        {11, 1, 11013}, {0, 0, 0},     {4, 0, 0},      {5, 0, 0},      {8, 0, 0},      {12, 0, 0},
    };
    for (const auto& entry : kCases) {
        EXPECT_EQ(SPW_CIcmpPacket::codeOfError(entry.type, entry.code), entry.expected)
            << int{entry.type} << "/" << int{entry.code};
    }
}

TEST_F(IcmpErrorTest, ARedirectEndsNothing) {
    EXPECT_FALSE(isAnswer(error(5, 1, m_request.size()), m_echo));
}

TEST_F(IcmpErrorTest, ARequestIsReadFromAQueueOfErrors) {
    Answer answer;
    answer.code = kIcmpHostUnreachable;
    answer.target = kTarget;
    const Bytes quoted(m_request.begin() + 20, m_request.end());
    ASSERT_TRUE(SPW_CIcmpPacket::parseQuotedRequest(quoted.data(), sizeOf(quoted), answer));
    EXPECT_TRUE(SPW_CIcmpPacket::isAnswerTo(answer, m_echo));
    EXPECT_EQ(answer.code, kIcmpHostUnreachable);
    EXPECT_FALSE(SPW_CIcmpPacket::parseQuotedRequest(quoted.data(), 7, answer));
}

}  // namespace
