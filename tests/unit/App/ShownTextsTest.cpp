#include "ShownTexts.h"

#include <gtest/gtest.h>

namespace {

SPW_CString numbered(int number) {
    return SPW_CString(u"text ") + number;
}

TEST(ShownTextsTest, ATextIsNewOnce) {
    ShownTexts texts;
    EXPECT_TRUE(texts.isNew(u"no interface"));
    EXPECT_TRUE(texts.isNew(u"no name"));
    EXPECT_FALSE(texts.isNew(u"no interface"));
    EXPECT_FALSE(texts.isNew(u"no name"));
}

TEST(ShownTextsTest, HoweverManyTextsThereWereAFurtherOneIsNewAndTheOldestAreForgotten) {
    ShownTexts texts;
    for (int i = 0; i <= ShownTexts::kRemembered; ++i) {
        EXPECT_TRUE(texts.isNew(numbered(i))) << i;
    }
    for (int i = 1; i <= ShownTexts::kRemembered; ++i) {
        EXPECT_FALSE(texts.isNew(numbered(i))) << i;
    }
    EXPECT_TRUE(texts.isNew(numbered(0)));
}

}  // namespace
