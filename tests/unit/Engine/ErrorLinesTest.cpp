#include "ErrorLines.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ErrorLinesTest : public testing::Test {
protected:
    // What is logged when the line comes at this time, in milliseconds; "" for nothing.
    std::string at(std::uint64_t ms, const char16_t* text = u"select failed", std::int32_t limit = 3) {
        SPW_CString line(text);
        return lines.admit(line, limit, kStart + ms * 10000) ? line.toAnsi() : "";
    }
    std::vector<std::string> dueAt(std::uint64_t ms) {
        SPW_CArray<SPW_CString> due;
        lines.takeDue(kStart + ms * 10000, due);
        return textsOf(due);
    }
    std::vector<std::string> all() {
        SPW_CArray<SPW_CString> taken;
        lines.takeAll(taken);
        return textsOf(taken);
    }
    static std::vector<std::string> textsOf(const SPW_CArray<SPW_CString>& array) {
        std::vector<std::string> texts;
        for (int i = 0; i < array.numberOfElements(); ++i) {
            texts.emplace_back(array[i].toAnsi());
        }
        return texts;
    }
    static SPW_CString numbered(int number) {
        SPW_CString text(u"error ");
        text += number;
        return text;
    }

    static constexpr std::uint64_t kStart = 127017148290000000;
    ErrorLines lines;
};

}  // namespace

TEST_F(ErrorLinesTest, TheFirstThreeOfARowPassAsTheyAre) {
    EXPECT_EQ(at(0), "select failed");
    EXPECT_EQ(at(0), "select failed");
    EXPECT_EQ(at(1), "select failed");
    EXPECT_EQ(at(2), "");
}

TEST_F(ErrorLinesTest, FromThenOnOneLineASecondTellsTheNumber) {
    for (int i = 0; i < 3; ++i) {
        at(0);
    }
    for (int ms = 1; ms < 1000; ++ms) {
        ASSERT_EQ(at(static_cast<std::uint64_t>(ms)), "");
    }
    EXPECT_EQ(at(1000), "select failed (1000 times)");
    EXPECT_EQ(at(1001), "");
    EXPECT_EQ(at(2000), "select failed (2 times)");
}

TEST_F(ErrorLinesTest, WhatHasBeenCountedIsToldThoughNoMoreComes) {
    for (int i = 0; i < 10; ++i) {
        at(0);
    }
    EXPECT_THAT(dueAt(999), IsEmpty());
    EXPECT_THAT(dueAt(1000), ElementsAre("select failed (7 times)"));
    EXPECT_THAT(dueAt(2000), IsEmpty());
}

TEST_F(ErrorLinesTest, AtTheEndAllThatHasBeenCountedIsTold) {
    for (int i = 0; i < 4; ++i) {
        at(0);
    }
    EXPECT_THAT(all(), ElementsAre("select failed"));
    EXPECT_THAT(all(), IsEmpty());
    EXPECT_EQ(at(1), "select failed");
}

TEST_F(ErrorLinesTest, ASecondWithoutTheLineEndsTheRow) {
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(at(static_cast<std::uint64_t>(1000 * round)), "select failed") << round;
        }
    }
}

TEST_F(ErrorLinesTest, ALineThatComesEverySecondAlwaysPassesAsItIs) {
    for (std::uint64_t second = 0; second < 1000; ++second) {
        ASSERT_EQ(at(1000 * second), "select failed");
    }
}

TEST_F(ErrorLinesTest, DifferentLinesAreDifferentRows) {
    for (int i = 0; i < 4; ++i) {
        at(0);
    }
    EXPECT_EQ(at(0, u"accept failed"), "accept failed");
}

TEST_F(ErrorLinesTest, WithoutALimitEveryLinePasses) {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(at(0, u"select failed", 0), "select failed");
    }
}

TEST_F(ErrorLinesTest, AllConnectionsOfAListenerMayFailAtOnce) {
    for (int i = 0; i < 63; ++i) {
        SPW_CString line = numbered(i);
        ASSERT_TRUE(lines.admit(line, 3, kStart));
        ASSERT_EQ(line, numbered(i));
    }
}

TEST_F(ErrorLinesTest, LessThanAHundredLinesPassInTenSecondsWhateverHappens) {
    int passed = 0;
    for (int ms = 0; ms < 10000; ++ms) {
        for (int i = 0; i < 3; ++i) {
            SPW_CString line = numbered(7 * ms + i);
            passed += lines.admit(line, 3, kStart + static_cast<std::uint64_t>(ms) * 10000) ? 1 : 0;
        }
        passed += ms % 1000 == 999 ? static_cast<int>(dueAt(static_cast<std::uint64_t>(ms)).size()) : 0;
    }
    EXPECT_LT(passed, 100);
    EXPECT_GT(passed, 64);
}

TEST_F(ErrorLinesTest, WhatFindsNoRoomIsToldAsANumber) {
    for (int i = 0; i < 100; ++i) {
        SPW_CString line = numbered(i);
        (void)lines.admit(line, 3, kStart);
    }
    EXPECT_THAT(dueAt(100), ElementsAre("SOCKET ERROR: 36 more of many kinds"));
}

TEST_F(ErrorLinesTest, NoErrorIsLostCount) {
    int told = 0;
    int came = 0;
    const auto count = [&](const std::string& text) {
        const std::size_t open = text.find('(');
        told += text.empty() ? 0 : open == std::string::npos ? 1 : std::stoi(text.substr(open + 1));
    };
    for (std::uint64_t ms = 0; ms < 5000; ms += 7) {
        count(at(ms, came % 3 == 0 ? u"a" : u"b"));
        ++came;
    }
    for (const std::string& text : all()) {
        count(text);
    }
    EXPECT_EQ(told, came);
}
