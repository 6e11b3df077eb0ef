#include "SPW_CSysErrorW32.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>

#include "SPW_CSysError.h"
#include "SPW_CThreadSlot.h"

namespace {

TEST(SysErrorW32Test, PlatformsCodeIsKeptWhateverSucceedsLater) {
    SetLastError(1234);
    EXPECT_EQ(SPW_CSysErrorW32::fail(), 1234u);
    SetLastError(0);
    SPW_CThreadSlot slot;
    (void)slot.get();
    EXPECT_EQ(SPW_CSysError::instance->last(), 1234u);
}

TEST(SysErrorW32Test, CodeOutsideTheVocabularyIsExplainedByThePlatform) {
    const std::string text = SPW_CSysError::instance->text(ERROR_PRIVILEGE_NOT_HELD).toAnsi();
    EXPECT_EQ(text.find("Unknown error"), std::string::npos);
    EXPECT_GT(text.size(), 10u);
    EXPECT_EQ(text.back(), '.') << "without the line end that the platform puts behind: " << text;
}

TEST(SysErrorW32Test, EachThreadHasItsOwn) {
    SPW_CSysErrorW32::setLast(5);
    std::thread other([] { EXPECT_EQ(SPW_CSysError::instance->last(), 0u); });
    other.join();
    EXPECT_EQ(SPW_CSysError::instance->last(), 5u);
}

}  // namespace
