// The 8-bit code page is the system's: the western one, which run-wine gives to the tests.

#include "SPW_CString.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "StringPrinting.h"

namespace {

TEST(StringW32Test, TestsHaveTheWesternCodePageAndAnAmericanUser) {
    EXPECT_EQ(GetACP(), 1252u) << "the tests that compare 8-bit texts are for this code page";
    EXPECT_EQ(GetUserDefaultLCID(), 0x409u) << "the tests that compare dates are for this user";
}

TEST(StringW32Test, EveryByteOfTheCodePageComesBack) {
    for (int byte = 1; byte < 256; ++byte) {
        const char text[] = {static_cast<char>(byte), 0};
        const SPW_CString wide(text);
        EXPECT_EQ(wide.length(), 1) << byte;
        EXPECT_STREQ(wide.toAnsi(), text) << byte;
    }
}

TEST(StringW32Test, WhatTheCodePageLacksIsAQuestionMark) {
    EXPECT_STREQ(SPW_CString(u"a\u4E2Dz").toAnsi(), "a?z");
    EXPECT_STREQ(SPW_CString(u"a\U0001F600z").toAnsi(), "a??z") << "both halves of the pair";
}

}  // namespace
