#include "LogOverflow.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kPlenty = 100000;

class LogOverflowTest : public testing::Test {
protected:
    static bool add(LogOverflow& overflow, const std::string& text, std::uint64_t lateFrom = LogOverflow::kNever) {
        auto message = std::make_unique<SPW_CMessage>();
        message->pushString(text.c_str());
        auto line = std::make_unique<LogOverflow::Line>(std::move(message), lateFrom);
        const bool isTaken = overflow.add(line);
        EXPECT_EQ(line == nullptr, isTaken);
        return isTaken;
    }
    // Each line as "lost in front, text", then what is lost behind the last one.
    static std::vector<std::string> take(LogOverflow& overflow) {
        LogOverflow::Content content = overflow.take();
        std::vector<std::string> texts;
        while (const std::unique_ptr<LogOverflow::Line> line = content.takeFirst()) {
            SPW_CString text;
            EXPECT_TRUE(line->message->popString(text));
            texts.push_back(std::to_string(line->lostInFront) + ", " + text.toAnsi());
        }
        texts.push_back(std::to_string(content.takeLost()));
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
    LogOverflow::Content content = overflow.take();
    EXPECT_EQ(content.takeFirst()->lateFrom100ns, 17u);
    EXPECT_EQ(content.takeFirst()->lateFrom100ns, LogOverflow::kNever);
    EXPECT_EQ(content.takeFirst(), nullptr);
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
    EXPECT_EQ(take(overflow).size(), static_cast<std::size_t>(taken) + 1);
    EXPECT_TRUE(add(overflow, "a"));
}

TEST_F(LogOverflowTest, ALineThatIsLongerThanAllRoomIsRefused) {
    LogOverflow overflow(kPlenty);
    EXPECT_FALSE(add(overflow, std::string(kPlenty, 'x')));
    EXPECT_TRUE(overflow.isEmpty());
}

TEST_F(LogOverflowTest, ALongRowOfLinesThatNobodyTakesEndsWithoutHarm) {
    LogOverflow overflow(UINT32_MAX);
    for (int i = 0; i < 200000; ++i) {
        ASSERT_TRUE(add(overflow, ""));
    }
}

}  // namespace
