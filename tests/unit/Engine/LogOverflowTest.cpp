#include "LogOverflow.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kPlenty = 100000;

class LogOverflowTest : public testing::Test {
protected:
    static std::unique_ptr<SPW_CMessage> messageOf(const std::string& text) {
        std::unique_ptr<SPW_CMessage> message(new SPW_CMessage);
        message->pushString(text.c_str());
        return message;
    }
    static bool add(LogOverflow& overflow, const std::string& text, std::uint64_t lateFrom = LogOverflow::kNever) {
        std::unique_ptr<SPW_CMessage> message = messageOf(text);
        const bool isTaken = overflow.add(message, lateFrom);
        EXPECT_EQ(message == nullptr, isTaken);
        return isTaken;
    }
    // Each line as "lost in front, text", then what is lost behind the last one.
    static std::vector<std::string> take(LogOverflow& overflow) {
        const LogOverflow::Content content = overflow.take();
        std::vector<std::string> texts;
        for (const LogOverflow::Line& line : content.lines) {
            SPW_CString text;
            EXPECT_TRUE(line.message->popString(text));
            texts.push_back(std::to_string(line.lostInFront) + ", " + text.toAnsi());
        }
        texts.push_back(std::to_string(content.lostBehind));
        return texts;
    }
};

TEST_F(LogOverflowTest, LinesComeOutInTheirOrderAndLeaveNothingBehind) {
    LogOverflow overflow(kPlenty);
    EXPECT_TRUE(overflow.isEmpty());
    EXPECT_TRUE(add(overflow, "a"));
    EXPECT_TRUE(add(overflow, "b"));
    EXPECT_FALSE(overflow.isEmpty());
    EXPECT_THAT(take(overflow), ElementsAre("0, a", "0, b", "0"));
    EXPECT_TRUE(overflow.isEmpty());
    EXPECT_THAT(take(overflow), ElementsAre("0"));
}

TEST_F(LogOverflowTest, ALineKeepsTheTimeFromWhichItIsLate) {
    LogOverflow overflow(kPlenty);
    EXPECT_TRUE(add(overflow, "a", 17));
    EXPECT_TRUE(add(overflow, "b"));
    const LogOverflow::Content content = overflow.take();
    ASSERT_EQ(content.lines.size(), 2u);
    EXPECT_EQ(content.lines[0].lateFrom100ns, 17u);
    EXPECT_EQ(content.lines[1].lateFrom100ns, LogOverflow::kNever);
}

TEST_F(LogOverflowTest, LostLinesAreCountedWhereTheyWouldStand) {
    LogOverflow overflow(kPlenty);
    overflow.countLost();
    EXPECT_FALSE(overflow.isEmpty());
    EXPECT_TRUE(add(overflow, "a"));
    EXPECT_TRUE(add(overflow, "b"));
    overflow.countLost();
    overflow.countLost();
    EXPECT_TRUE(add(overflow, "c"));
    overflow.countLost();
    EXPECT_THAT(take(overflow), ElementsAre("1, a", "0, b", "2, c", "1"));
    EXPECT_TRUE(overflow.isEmpty());
}

TEST_F(LogOverflowTest, ItsRoomIsBoundedAndComesBack) {
    LogOverflow overflow(kPlenty);
    int taken = 0;
    while (add(overflow, "a line of the usual length, say sixty characters or so ......")) {
        ++taken;
    }
    EXPECT_GT(taken, 200);
    EXPECT_LT(taken, 1000);
    EXPECT_FALSE(add(overflow, std::string(1000, 'x')));
    EXPECT_EQ(overflow.take().lines.size(), static_cast<std::size_t>(taken));
    EXPECT_TRUE(add(overflow, "a"));
}

TEST_F(LogOverflowTest, ALineThatIsLongerThanAllRoomIsRefused) {
    LogOverflow overflow(kPlenty);
    EXPECT_FALSE(add(overflow, std::string(kPlenty, 'x')));
    EXPECT_TRUE(overflow.isEmpty());
}

}  // namespace
