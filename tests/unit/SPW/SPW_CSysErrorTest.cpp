#include "SPW_CSysError.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

std::string textOf(SPW_Result code) {
    return SPW_CSysError::instance->text(code).toAnsi();
}

TEST(SysErrorTest, TextSaysWhatTheCodeMeans) {
    EXPECT_EQ(textOf(kSysOk), "Success");
    EXPECT_EQ(textOf(2), "File not found");
    EXPECT_EQ(textOf(5), "Access denied");
    EXPECT_EQ(textOf(112), "The disk is full");
    EXPECT_EQ(textOf(10061), "The connection was refused");
}

TEST(SysErrorTest, EveryCodeHasATextOfItsOwn) {
    const SPW_Result codes[] = {0,     2,     3,     4,     5,     6,     8,     17,    18,    19,    31,    32,
                                38,    50,    80,    87,    109,   111,   112,   122,   132,   145,   183,   206,
                                232,   234,   259,   995,   1009,  1010,  1117,  10004, 10013, 10014, 10022, 10024,
                                10035, 10036, 10037, 10038, 10039, 10040, 10041, 10042, 10043, 10044, 10045, 10047,
                                10048, 10049, 10050, 10051, 10052, 10053, 10054, 10055, 10056, 10057, 10058, 10060,
                                10061, 10064, 10065, 11001, 11002, 11003, 11004, 11005, 11009, 11010, 11013};
    std::set<std::string> texts;
    for (const SPW_Result code : codes) {
        const std::string text = textOf(code);
        EXPECT_EQ(text.find("Unknown error"), std::string::npos) << code;
        EXPECT_TRUE(texts.insert(text).second) << code << " shares the text " << text;
    }
}

TEST(SysErrorTest, CodeOutsideTheVocabularyIsShownAsItsNumber) {
    EXPECT_EQ(textOf(77777), "Unknown error 77777");
    EXPECT_EQ(textOf(0xFFFFFFFFu), "Unknown error 4294967295");
}

}  // namespace
