#include "SPW_CMessage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "RecordingReporter.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

typedef std::vector<std::uint8_t> Bytes;

// Puts a body together that no push operation makes.
SPW_CMessage messageWithBody(const Bytes& body) {
    Bytes packet = {27, 1, static_cast<std::uint8_t>(body.size() >> 8), static_cast<std::uint8_t>(body.size())};
    packet.insert(packet.end(), body.begin(), body.end());
    SPW_CMessage message;
    message.start();
    std::uint32_t consumed = 0;
    bool completed = false;
    EXPECT_EQ(message.feed(packet.data(), static_cast<std::uint32_t>(packet.size()), consumed, completed), 0u);
    EXPECT_TRUE(completed);
    return message;
}

// Encodings.

TEST(MessageTest, IntFiveIsFiveZeroZeroZeroAndItsTypeId) {
    SPW_CMessage message;
    message.pushInt(5);
    EXPECT_THAT(message.body(), ElementsAre(5, 0, 0, 0, 105));
}

TEST(MessageTest, EveryValueIsFollowedByItsTypeIdInLittleEndian) {
    SPW_CMessage message;
    message.pushChar('A');
    EXPECT_THAT(message.body(), ElementsAre(65, 99));
    message.clear();
    message.pushWide(u'\x1234');
    EXPECT_THAT(message.body(), ElementsAre(0x34, 0x12, 119));
    message.clear();
    message.pushInt(-2);
    EXPECT_THAT(message.body(), ElementsAre(0xFE, 0xFF, 0xFF, 0xFF, 105));
    message.clear();
    message.pushLong(0x01020304);
    EXPECT_THAT(message.body(), ElementsAre(4, 3, 2, 1, 108));
    message.clear();
    message.pushUnsigned(0xF1020304u);
    EXPECT_THAT(message.body(), ElementsAre(4, 3, 2, 0xF1, 117));
    message.clear();
    message.pushValue(7);
    EXPECT_THAT(message.body(), ElementsAre(7, 0, 0, 0, 118));
    message.clear();
    message.pushBlock("xyz", 3);
    EXPECT_THAT(message.body(), ElementsAre('x', 'y', 'z', 3, 0, 0, 0, 117, 100));
    message.clear();
    message.pushString(u"a\x2026");
    EXPECT_THAT(message.body(), ElementsAre('a', 0, 0x26, 0x20, 2, 0, 0, 0, 117, 2, 115));
}

TEST(MessageTest, ValuesComeBackInReverseOrder) {
    SPW_CMessage message;
    message.pushChar('\xE9');
    message.pushWide(u'\xFFFE');
    message.pushInt(-2147483647 - 1);
    message.pushLong(-5);
    message.pushUnsigned(0xFFFFFFFFu);
    message.pushValue(0x80000000u);
    message.pushBlock("\0\x1b", 2);
    message.pushString(u"line \xD83D\xDE00");

    SPW_CString text;
    char block[2] = {1, 1};
    std::uint32_t count = 0;
    std::uint32_t value = 0;
    std::uint32_t number = 0;
    std::int32_t longNumber = 0;
    std::int32_t intNumber = 0;
    char16_t wide = 0;
    char narrow = 0;
    EXPECT_TRUE(message.popString(text));
    EXPECT_EQ(text, u"line \xD83D\xDE00");
    EXPECT_TRUE(message.popBlock(block, sizeof block, count));
    EXPECT_EQ(std::string(block, count), std::string("\0\x1b", 2));
    EXPECT_TRUE(message.popValue(value));
    EXPECT_EQ(value, 0x80000000u);
    EXPECT_TRUE(message.popUnsigned(number));
    EXPECT_EQ(number, 0xFFFFFFFFu);
    EXPECT_TRUE(message.popLong(longNumber));
    EXPECT_EQ(longNumber, -5);
    EXPECT_TRUE(message.popInt(intNumber));
    EXPECT_EQ(intNumber, -2147483647 - 1);
    EXPECT_TRUE(message.popWide(wide));
    EXPECT_EQ(wide, u'\xFFFE');
    EXPECT_TRUE(message.popChar(narrow));
    EXPECT_EQ(narrow, '\xE9');
    EXPECT_TRUE(message.isEmpty());
    EXPECT_EQ(message.error(), 0u);
}

TEST(MessageTest, EmptyStringAndEmptyBlockTravel) {
    SPW_CMessage message;
    message.pushBlock(nullptr, 0);
    message.pushString(u"");
    SPW_CString text(u"before");
    std::uint32_t count = 9;
    EXPECT_TRUE(message.popString(text));
    EXPECT_TRUE(text.isEmpty());
    EXPECT_TRUE(message.popBlock(nullptr, 0, count));
    EXPECT_EQ(count, 0u);
}

TEST(MessageTest, LongStringTravelsWhole) {
    SPW_CString line;
    line.fill(u'x', 40000);
    SPW_CMessage message;
    message.pushString(line);
    SPW_CString text;
    EXPECT_TRUE(message.popString(text));
    EXPECT_EQ(text.length(), 40000);
}

TEST(MessageTest, StringOfEightBitCharactersIsConverted) {
    SPW_CMessage message = messageWithBody({'a', 'b', 'c', 3, 0, 0, 0, 117, 1, 115});
    SPW_CString text;
    EXPECT_TRUE(message.popString(text));
    EXPECT_EQ(text, u"abc");
    EXPECT_TRUE(message.isEmpty());
}

TEST(MessageTest, WhatLiesBelowAStringOrABlockStays) {
    SPW_CMessage message =
        messageWithBody({7, 0, 0, 0, 105, 'z', 1, 0, 0, 0, 117, 100, 'a', 'b', 2, 0, 0, 0, 117, 1, 115});
    SPW_CString text;
    char block = 0;
    std::uint32_t count = 0;
    std::int32_t number = 0;
    EXPECT_TRUE(message.popString(text));
    EXPECT_EQ(text, u"ab");
    EXPECT_TRUE(message.popBlock(&block, 1, count));
    EXPECT_EQ(block, 'z');
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(message.popInt(number));
    EXPECT_EQ(number, 7);
}

TEST(MessageTest, DumpIsHexadecimal) {
    SPW_CMessage message;
    message.pushInt(27);
    EXPECT_EQ(message.dump(), u"[0x1b][0x0][0x0][0x0][0x69]");
}

// Errors.

TEST(MessageErrorTest, PoppingFromAnEmptyMessageIsError240) {
    RecordingReporter reporter;
    SPW_CMessage message;
    std::int32_t number = 8;
    EXPECT_FALSE(message.popInt(number));
    EXPECT_EQ(number, 8);
    EXPECT_EQ(message.error(), 240u);
    const auto reports = reporter.takeReports();
    ASSERT_THAT(reports, ElementsAre(IsReport("SPW_CMessage", "popTypeCheck", 240,
                                              "Expecting typeid i, but the message is empty")));
    EXPECT_EQ(reports[0].line, 476);
    EXPECT_FALSE(reports[0].isFatal());
}

TEST(MessageErrorTest, PoppingAnotherTypeIsError244WithTheFoundId) {
    RecordingReporter reporter;
    SPW_CMessage message;
    message.pushString(u"text");
    const Bytes body = message.body();
    std::int32_t number = 8;
    EXPECT_FALSE(message.popInt(number));
    EXPECT_EQ(number, 8);
    EXPECT_EQ(message.error(), 244u);
    EXPECT_EQ(message.body(), body);
    const auto reports = reporter.takeReports();
    ASSERT_THAT(reports,
                ElementsAre(IsReport("SPW_CMessage", "popTypeCheck", 244, "Expecting type-idi, but got type-id s")));
    EXPECT_EQ(reports[0].line, 482);
}

TEST(MessageErrorTest, EveryPopRefusesAnotherTypeAndLeavesItsArgument) {
    char narrow = 'n';
    char16_t wide = u'w';
    std::int32_t number = 8;
    std::uint32_t count = 9;
    char block = 'b';
    SPW_CString text(u"before");
    const struct {
        char id;
        std::function<bool(SPW_CMessage&)> pop;
    } rows[] = {
        {'c', [&](SPW_CMessage& message) { return message.popChar(narrow); }},
        {'w', [&](SPW_CMessage& message) { return message.popWide(wide); }},
        {'i', [&](SPW_CMessage& message) { return message.popInt(number); }},
        {'l', [&](SPW_CMessage& message) { return message.popLong(number); }},
        {'u', [&](SPW_CMessage& message) { return message.popUnsigned(count); }},
        {'v', [&](SPW_CMessage& message) { return message.popValue(count); }},
        {'d', [&](SPW_CMessage& message) { return message.popBlock(&block, 1, count); }},
        {'s', [&](SPW_CMessage& message) { return message.popString(text); }},
    };
    for (const auto& row : rows) {
        RecordingReporter reporter;
        SPW_CMessage message = messageWithBody({1, 0, 0, 0, 120});
        EXPECT_FALSE(row.pop(message)) << row.id;
        EXPECT_EQ(message.error(), 244u);
        EXPECT_THAT(reporter.takeReports(),
                    ElementsAre(IsReport("SPW_CMessage", "popTypeCheck", 244,
                                         std::string("Expecting type-id") + row.id + ", but got type-id x")));
    }
    EXPECT_EQ(narrow, 'n');
    EXPECT_EQ(wide, u'w');
    EXPECT_EQ(number, 8);
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(block, 'b');
    EXPECT_EQ(text, u"before");
}

TEST(MessageErrorTest, BlockWithoutRoomIsError241) {
    RecordingReporter reporter;
    SPW_CMessage message;
    message.pushBlock("xyz", 3);
    char buffer[2] = {'-', '-'};
    std::uint32_t count = 9;
    EXPECT_FALSE(message.popBlock(buffer, sizeof buffer, count));
    EXPECT_EQ(message.error(), 241u);
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(std::string(buffer, 2), "--");
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CMessage", "popBlock", 241, "No room for the block")));
}

TEST(MessageErrorTest, NothingIsTakenAfterAnErrorUntilClear) {
    RecordingReporter reporter;
    SPW_CMessage message;
    message.pushInt(1);
    std::uint32_t number = 0;
    std::int32_t right = 0;
    EXPECT_FALSE(message.popUnsigned(number));
    reporter.takeReports();
    EXPECT_FALSE(message.popInt(right));
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
    EXPECT_EQ(message.error(), 244u);
    message.clear();
    EXPECT_EQ(message.error(), 0u);
    message.pushInt(2);
    EXPECT_TRUE(message.popInt(right));
    EXPECT_EQ(right, 2);
}

TEST(MessageErrorTest, ForeignBodiesThatDoNotHoldTheirValueAreRefused) {
    const Bytes intTooShort = {1, 2, 3, 105};
    const Bytes textWithoutWidth = {115};
    const Bytes textWithoutCount = {2, 115};
    const Bytes textTooShort = {'a', 0, 2, 0, 0, 0, 117, 2, 115};
    const Bytes textOfFourBillion = {'a', 0, 0xFF, 0xFF, 0xFF, 0xFF, 117, 2, 115};
    const Bytes textOfWidthThree = {'a', 0, 1, 0, 0, 0, 117, 3, 115};
    const Bytes textWithSignedCount = {'a', 0, 1, 0, 0, 0, 105, 2, 115};
    const Bytes blockTooShort = {'a', 2, 0, 0, 0, 117, 100};
    const struct {
        const Bytes& body;
        SPW_Result error;
    } rows[] = {{intTooShort, 240},       {textWithoutWidth, 240}, {textWithoutCount, 240},    {textTooShort, 240},
                {textOfFourBillion, 240}, {textOfWidthThree, 244}, {textWithSignedCount, 244}, {blockTooShort, 240}};
    for (const auto& row : rows) {
        RecordingReporter reporter;
        SPW_CMessage message = messageWithBody(row.body);
        std::int32_t number = 8;
        SPW_CString text(u"before");
        char buffer[16];
        std::uint32_t count = 9;
        switch (row.body.back()) {
            case 'i':
                EXPECT_FALSE(message.popInt(number));
                break;
            case 's':
                EXPECT_FALSE(message.popString(text));
                break;
            default:
                EXPECT_FALSE(message.popBlock(buffer, sizeof buffer, count));
        }
        EXPECT_EQ(message.error(), row.error) << testing::PrintToString(row.body);
        EXPECT_EQ(reporter.takeReports().size(), 1u);
        EXPECT_EQ(number, 8);
        EXPECT_EQ(text, u"before");
        EXPECT_EQ(count, 9u);
    }
}

// Framing.

TEST(MessagePacketTest, PacketIsEscapeVersionAndLengthHighByteFirst) {
    SPW_CMessage message;
    const std::string bytes(300, 'z');
    message.pushBlock(bytes.data(), 300);
    Bytes packet;
    ASSERT_TRUE(message.toPacket(packet));
    ASSERT_EQ(packet.size(), 4u + 306u);
    EXPECT_THAT(Bytes(packet.begin(), packet.begin() + 5), ElementsAre(27, 1, 1, 50, 'z'));
}

TEST(MessagePacketTest, BodyMayHold65535BytesAndNoMore) {
    const Bytes bytes(65530);
    SPW_CMessage message;
    Bytes packet;
    message.pushBlock(bytes.data(), 65529);
    EXPECT_TRUE(message.toPacket(packet));
    EXPECT_EQ(packet.size(), 4u + 65535u);
    message.clear();
    message.pushBlock(bytes.data(), 65530);
    RecordingReporter reporter;
    EXPECT_FALSE(message.toPacket(packet));
    EXPECT_THAT(packet, IsEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CMessage", "toPacket", 241, "The message is too long for a packet")));
    EXPECT_EQ(message.error(), 0u) << "the message itself is whole";
}

class ReceiverTest : public testing::Test {
protected:
    SPW_Result feed(const Bytes& bytes) {
        return m_message.feed(bytes.data(), static_cast<std::uint32_t>(bytes.size()), m_consumed, m_completed);
    }
    RecordingReporter m_reporter;
    SPW_CMessage m_message;
    std::uint32_t m_consumed = 99;
    bool m_completed = true;
};

TEST_F(ReceiverTest, FeedBeforeStartIs245AndTellsTheUser) {
    EXPECT_EQ(feed({27, 1, 0, 0}), 245u);
    EXPECT_EQ(m_message.error(), 245u);
    EXPECT_EQ(m_consumed, 0u);
    EXPECT_FALSE(m_completed);
    const auto boxes = m_reporter.boxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].caption, "Info");
    EXPECT_THAT(boxes[0].text, testing::EndsWith("Message: Start wasn't called"));
}

TEST_F(ReceiverTest, FeedBeforeStartLeavesAnEarlierError) {
    std::int32_t number = 0;
    EXPECT_FALSE(m_message.popInt(number));
    EXPECT_EQ(feed({27}), 245u);
    EXPECT_EQ(m_message.error(), 240u);
}

TEST_F(ReceiverTest, PacketArrivesByteByByte) {
    SPW_CMessage sent;
    sent.pushString(u"line");
    Bytes packet;
    ASSERT_TRUE(sent.toPacket(packet));
    m_message.start();
    for (std::size_t i = 0; i < packet.size(); ++i) {
        EXPECT_EQ(feed({packet[i]}), 0u);
        EXPECT_EQ(m_consumed, 1u);
        EXPECT_EQ(m_completed, i + 1 == packet.size());
    }
    SPW_CString text;
    EXPECT_TRUE(m_message.popString(text));
    EXPECT_EQ(text, u"line");
}

TEST_F(ReceiverTest, GarbageBeforeTheEscapeIsSkipped) {
    m_message.start();
    EXPECT_EQ(feed({1, 2, 3}), 0u);
    EXPECT_EQ(m_consumed, 3u);
    EXPECT_EQ(feed({0, 255, 27, 1, 0, 2, 65, 99}), 0u);
    EXPECT_EQ(m_consumed, 8u);
    EXPECT_TRUE(m_completed);
    EXPECT_EQ(m_message.packetErrors(), 0u);
    char value = 0;
    EXPECT_TRUE(m_message.popChar(value));
    EXPECT_EQ(value, 'A');
}

TEST_F(ReceiverTest, BytesBeyondThePacketAreLeftForTheNext) {
    const Bytes stream = {27, 1, 0, 2, 65, 99, 27, 1, 0, 2, 66, 99};
    m_message.start();
    EXPECT_EQ(feed(stream), 0u);
    EXPECT_TRUE(m_completed);
    EXPECT_EQ(m_consumed, 6u);
    EXPECT_EQ(feed({27}), 245u);
    m_message.start();
    EXPECT_EQ(feed(Bytes(stream.begin() + 6, stream.end())), 0u);
    EXPECT_TRUE(m_completed);
    EXPECT_THAT(m_message.body(), ElementsAre(66, 99));
}

TEST_F(ReceiverTest, PacketWithoutBodyIsCompleteWithItsHeader) {
    m_message.start();
    EXPECT_EQ(feed({27, 1, 0, 0, 7}), 0u);
    EXPECT_TRUE(m_completed);
    EXPECT_EQ(m_consumed, 4u);
    EXPECT_TRUE(m_message.isEmpty());
}

TEST_F(ReceiverTest, HeaderOfVersionTwoIsAPacketError) {
    m_message.start();
    EXPECT_EQ(feed({27, 2, 0, 1, 27, 1, 0, 1, 77}), 0u);
    EXPECT_EQ(m_message.packetErrors(), 1u);
    EXPECT_TRUE(m_completed);
    EXPECT_THAT(m_message.body(), ElementsAre(77));
    const auto boxes = m_reporter.boxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_THAT(boxes[0].text,
                testing::AllOf(testing::HasSubstr("SPW_CMessage:562"), testing::EndsWith("Message: Packet error")));
}

TEST_F(ReceiverTest, LengthsAreHighByteFirst) {
    m_message.start();
    EXPECT_EQ(feed({27, 1, 1, 2}), 0u);
    EXPECT_EQ(feed(Bytes(300, 5)), 0u);
    EXPECT_TRUE(m_completed);
    EXPECT_EQ(m_consumed, 258u);
    EXPECT_EQ(m_message.body(), Bytes(258, 5));
}

TEST_F(ReceiverTest, StartForgetsAHalfPacketAndTheError) {
    EXPECT_EQ(feed({1}), 245u);
    m_message.start();
    EXPECT_EQ(feed({27, 1, 0, 9, 1, 2}), 0u);
    m_message.start();
    EXPECT_EQ(m_message.error(), 0u);
    EXPECT_EQ(feed({27, 1, 0, 1, 3}), 0u);
    EXPECT_TRUE(m_completed);
    EXPECT_THAT(m_message.body(), ElementsAre(3));
}

}  // namespace
