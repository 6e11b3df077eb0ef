#include "ScreenMessageBox.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <thread>

#include "StringPrinting.h"

namespace {

class ScreenMessageBoxTest : public testing::Test {
protected:
    SPW_CMessageBox::Answer show(const char16_t* text, SPW_CMessageBox::Buttons buttons) {
        return m_box.show(text, u"Internal Error", buttons, SPW_CMessageBox::kIconError);
    }
    bool isAwakeWithin(int milliseconds) {
        pollfd source = {m_wakeup.descriptor(), POLLIN, 0};
        return poll(&source, 1, milliseconds) == 1;
    }
    // The next message, once it has come.
    ScreenMessageBox::Message await() {
        for (;;) {
            (void)isAwakeWithin(-1);
            m_wakeup.clear();
            const std::vector<ScreenMessageBox::Message> messages = m_box.take();
            if (!messages.empty()) {
                return messages.front();
            }
        }
    }
    Wakeup m_wakeup;
    ScreenMessageBox m_box{m_wakeup};
};

TEST_F(ScreenMessageBoxTest, ABoxWithNothingToDecideKeepsNobodyWaitingAndIsShownOnce) {
    EXPECT_EQ(show(u"text", SPW_CMessageBox::kOk), SPW_CMessageBox::kAnswerOk);
    EXPECT_EQ(show(u"text", SPW_CMessageBox::kOk), SPW_CMessageBox::kAnswerOk);
    const std::vector<ScreenMessageBox::Message> messages = m_box.take();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].text, u"text");
    EXPECT_EQ(messages[0].caption, u"Internal Error");
    EXPECT_TRUE(m_box.take().empty());
}

TEST_F(ScreenMessageBoxTest, OfMoreBoxesThanAnybodyReadsTheFirstAndTheLastAreShown) {
    for (int i = 0; i < 1000; ++i) {
        (void)m_box.show(SPW_CString(u"text ") + i, u"Internal Error", SPW_CMessageBox::kOk,
                         SPW_CMessageBox::kIconError);
    }
    std::vector<ScreenMessageBox::Message> read;
    for (std::vector<ScreenMessageBox::Message> some = m_box.take(); !some.empty(); some = m_box.take()) {
        for (const ScreenMessageBox::Message& message : some) {
            read.push_back(message);
            m_box.answer(message.number, SPW_CMessageBox::kAnswerOk);
        }
    }
    EXPECT_LT(read.size(), 100U);
    EXPECT_EQ(read.back().text, u"text 999");
    (void)m_box.show(u"text 0", u"Internal Error", SPW_CMessageBox::kOk, SPW_CMessageBox::kIconError);
    EXPECT_EQ(m_box.take().size(), 1U);  // so long ago that it is news again
}

TEST_F(ScreenMessageBoxTest, AFurtherBoxComesToTheScreenWhenOneThereHasBeenRead) {
    for (int i = 0; i < 20; ++i) {
        m_box.tell(SPW_CString(u"text ") + i, u"Linkometry");
    }
    const std::vector<ScreenMessageBox::Message> first = m_box.take();
    ASSERT_LT(first.size(), 20U);
    EXPECT_TRUE(m_box.take().empty());
    m_wakeup.clear();
    m_box.answer(first[0].number, SPW_CMessageBox::kAnswerOk);
    EXPECT_TRUE(isAwakeWithin(0));
    const std::vector<ScreenMessageBox::Message> second = m_box.take();
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(second[0].text, SPW_CString(u"text ") + static_cast<int>(first.size()));
}

TEST_F(ScreenMessageBoxTest, WhoeverWaitsForAnAnswerWaitsHoweverManyBoxesCome) {
    SPW_CMessageBox::Answer answer = SPW_CMessageBox::kNone;
    for (int i = 0; i < 16; ++i) {
        m_box.tell(u"before", u"Linkometry");
    }
    (void)m_box.take();
    m_wakeup.clear();
    std::thread asking([&] { answer = show(u"choose", SPW_CMessageBox::kRetryCancel); });
    (void)isAwakeWithin(-1);
    for (int i = 0; i < 200; ++i) {
        m_box.tell(u"behind", u"Linkometry");
    }
    m_box.answer(1, SPW_CMessageBox::kAnswerOk);
    const std::vector<ScreenMessageBox::Message> next = m_box.take();
    ASSERT_EQ(next.size(), 1U);
    EXPECT_EQ(next[0].text, u"choose");
    m_box.answer(next[0].number, SPW_CMessageBox::kAnswerRetry);
    asking.join();
    EXPECT_EQ(answer, SPW_CMessageBox::kAnswerRetry);
}

TEST_F(ScreenMessageBoxTest, WhatIsToldIsShownAsOftenAsItIsTold) {
    m_box.tell(u"cannot listen", u"Linkometry");
    m_box.tell(u"cannot listen", u"Linkometry");
    const std::vector<ScreenMessageBox::Message> messages = m_box.take();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[1].text, u"cannot listen");
    EXPECT_EQ(messages[1].buttons, SPW_CMessageBox::kOk);
    EXPECT_NE(messages[0].number, messages[1].number);
    m_box.answer(messages[0].number, SPW_CMessageBox::kAnswerOk);
    testing::internal::CaptureStderr();
    m_box.close();
    m_box.tell(u"later", u"Linkometry");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "linkometry: Linkometry: cannot listen\nlinkometry: Linkometry: later\n");
}

TEST_F(ScreenMessageBoxTest, AThreadWaitsForItsOwnAnswer) {
    std::atomic<int> first{0};
    std::atomic<int> second{0};
    std::thread one([&] { first = show(u"one", SPW_CMessageBox::kRetryCancel); });
    const ScreenMessageBox::Message messageOne = await();
    std::thread two([&] { second = show(u"two", SPW_CMessageBox::kAbortRetryIgnore); });
    const ScreenMessageBox::Message messageTwo = await();
    m_box.answer(messageTwo.number, SPW_CMessageBox::kAnswerAbort);
    two.join();
    m_box.answer(messageOne.number, SPW_CMessageBox::kAnswerRetry);
    one.join();
    EXPECT_EQ(first, SPW_CMessageBox::kAnswerRetry);
    EXPECT_EQ(second, SPW_CMessageBox::kAnswerAbort);
}

TEST_F(ScreenMessageBoxTest, TheScreensOwnThreadNeverWaits) {
    EXPECT_EQ(show(u"text", SPW_CMessageBox::kRetryCancel), SPW_CMessageBox::kAnswerCancel);
    EXPECT_EQ(m_box.take().size(), 1U);
    m_box.waitUntilRead();
}

TEST_F(ScreenMessageBoxTest, ClosedItReleasesAllAndSaysOnStandardErrorWhatWasNotRead) {
    testing::internal::CaptureStderr();
    std::atomic<int> answer{0};
    std::thread waiting([&] { answer = show(u"question", SPW_CMessageBox::kRetryCancel); });
    (void)await();
    (void)show(u"unread", SPW_CMessageBox::kOk);
    m_box.close();
    waiting.join();
    EXPECT_EQ(answer, SPW_CMessageBox::kAnswerCancel);
    (void)show(u"later", SPW_CMessageBox::kOk);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "linkometry: Internal Error: question\nlinkometry: Internal Error: unread\n"
              "linkometry: Internal Error: later\n");
}

TEST_F(ScreenMessageBoxTest, WhoWaitsUntilAllIsReadIsReleasedByTheLastAnswer) {
    (void)show(u"text", SPW_CMessageBox::kOk);
    std::atomic<bool> isRead{false};
    std::thread waiting([&] {
        m_box.waitUntilRead();
        EXPECT_TRUE(isRead);
    });
    isRead = true;
    m_box.answer(m_box.take().front().number, SPW_CMessageBox::kAnswerOk);
    waiting.join();
}

}  // namespace
