#include "ConsoleMessageBox.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class ConsoleMessageBoxTest : public testing::Test {
protected:
    // What a box writes to standard error.
    std::string shown(const char16_t* text, const char16_t* caption = u"Error") {
        testing::internal::CaptureStderr();
        m_answer = m_box.show(text, caption, SPW_CMessageBox::kOk, SPW_CMessageBox::kIconError);
        return testing::internal::GetCapturedStderr();
    }
    SPW_CMessageBox::Answer answerTo(SPW_CMessageBox::Buttons buttons) {
        testing::internal::CaptureStderr();
        const SPW_CMessageBox::Answer answer = m_box.show(u"text", u"Error", buttons, SPW_CMessageBox::kIconError);
        (void)testing::internal::GetCapturedStderr();
        return answer;
    }

    ConsoleMessageBox m_box;
    SPW_CMessageBox::Answer m_answer = SPW_CMessageBox::kAnswerOk;
};

TEST_F(ConsoleMessageBoxTest, ABoxIsOneLineOfCaptionAndText) {
    EXPECT_EQ("linkometry: Error: Error (2) in SPW_CFile::open Open file failed\n",
              shown(u"Error (2) in SPW_CFile::open\nOpen file failed"));
    EXPECT_EQ("linkometry: Error:\n", shown(u""));
}

TEST_F(ConsoleMessageBoxTest, AnInformationIsItsMessageAlone) {
    testing::internal::CaptureStderr();
    (void)m_box.show(u"CID: Class\nfunction: read\nin module Module:12\n\nMessage: file:6: a mistake.\nNot used.",
                     u"Info", SPW_CMessageBox::kOk, SPW_CMessageBox::kIconInformation);
    EXPECT_EQ("linkometry: file:6: a mistake. Not used.\n", testing::internal::GetCapturedStderr());
}

TEST_F(ConsoleMessageBoxTest, TheSameIsToldOnce) {
    EXPECT_NE("", shown(u"disk full"));
    EXPECT_EQ("", shown(u"disk full"));
    EXPECT_NE("", shown(u"disk full", u"Another caption"));
    EXPECT_NE("", shown(u"cable out"));
    EXPECT_EQ("", shown(u"disk full"));
}

TEST_F(ConsoleMessageBoxTest, HoweverMuchWasToldSomethingNewIsTold) {
    for (int i = 0; i < 300; ++i) {
        EXPECT_NE("", shown((SPW_CString(u"text ") + i).text()));
    }
    EXPECT_EQ("", shown(u"text 299"));
}

TEST_F(ConsoleMessageBoxTest, TheTextIsShowable) {
    EXPECT_EQ("linkometry: Error: a?[2J? b\n", shown(u"a\x1B[2J\r\nb"));
}

TEST_F(ConsoleMessageBoxTest, TheAnswerIsTheButtonThatGoesOn) {
    EXPECT_EQ(SPW_CMessageBox::kAnswerOk, answerTo(SPW_CMessageBox::kOk));
    EXPECT_EQ(SPW_CMessageBox::kAnswerCancel, answerTo(SPW_CMessageBox::kRetryCancel));
    EXPECT_EQ(SPW_CMessageBox::kAnswerIgnore, answerTo(SPW_CMessageBox::kAbortRetryIgnore));
}

}  // namespace
