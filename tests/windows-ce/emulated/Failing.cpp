#include <gmock/gmock.h>
#include <gtest/gtest.h>

// CMakeLists.txt expects that eight of these ten tests fail: one for each way to fail.

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class NumberTest : public testing::TestWithParam<int> {};

}  // namespace

TEST(Fails, Equality) {
    EXPECT_EQ(1, 2) << "said";
}
TEST(Fails, Truth) {
    EXPECT_TRUE(false);
}
TEST(Fails, Text) {
    EXPECT_STREQ("a", "b");
}
TEST(Fails, TooFewElements) {
    EXPECT_THAT(std::vector<int>({1, 2}), ElementsAre(1, 2, 3));
}
TEST(Fails, TooManyElements) {
    EXPECT_THAT(std::vector<int>({1, 2, 3}), ElementsAre(1, 2));
}
TEST(Fails, Negation) {
    EXPECT_THAT(std::string("abc"), Not(HasSubstr("bc")));
}
TEST(Fails, ExitCode) {
    EXPECT_EXIT(std::abort(), testing::ExitedWithCode(1), "");
}
TEST_P(NumberTest, FailsForOneOfThem) {
    EXPECT_NE(GetParam(), 2);
}
INSTANTIATE_TEST_SUITE_P(Fails, NumberTest, testing::Values(1, 2, 3));

TEST(Passes, AMatchAndAFatalCheckThatHolds) {
    ASSERT_THAT(std::vector<int>(), IsEmpty());
    ASSERT_EQ(std::string("x") + "y", "xy");
}
TEST(Passes, ACheckThatEndsTheTestIsTheLast) {
    [] {
        ASSERT_LT(1, 2);
        return;
    }();
}
