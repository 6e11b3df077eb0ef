#include "SPW_CError.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "RecordingReporter.h"
#include "SPW_CArray.h"
#include "SPW_CThread.h"
#include "SPW_CThreadSlot.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kModule = "src\\Some\\Folder\\Module";

const SPW_Result resultBeforeMain =
    SPW_CError::instance->trace(1, SPW_CError::kNote, kModule, 1, "Class", "method", u"before main");

// Remembers boxes and answers as told; what `inside` does happens while the box is shown.
class ScriptedBox : public SPW_CMessageBox {
public:
    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override {
        shown.push_back({text.toAnsi(), caption.toAnsi(), buttons, icon});
        if (inside) {
            inside();
        }
        return answer;
    }

    std::vector<RecordingReporter::Box> shown;
    Answer answer = kAnswerOk;
    std::function<void()> inside;
};

class ScriptedListener : public SPW_CTraceListener {
public:
    void notify(const SPW_CString& text, std::uint32_t levelMask) override {
        heard.emplace_back(text.toAnsi(), levelMask);
        if (inside) {
            inside();
        }
    }

    std::vector<std::pair<std::string, std::uint32_t>> heard;
    std::function<void()> inside;
};

class ErrorTest : public testing::Test {
protected:
    ErrorTest() { error.setMessageBox(&box); }

    void openLog() { ASSERT_EQ(error.openLogFile(folder.path("error.txt"), u"Application", 7), 0u); }

    SPW_Result report(SPW_Result code, SPW_Result linkedCode, const char16_t* message, std::uint32_t flags) {
        return error.report(kModule, 12, "Class", "method", code, linkedCode, message, flags);
    }

    SPW_Result trace(std::uint32_t level, int kind, const char16_t* message) {
        return error.trace(level, kind, kModule, 12, "Class", "method", message);
    }

    // The lines of the error log behind its header.
    std::vector<std::string> records() {
        std::vector<std::string> lines;
        std::istringstream stream(folder.read("error.txt"));
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line.substr(0, line.find('\r')));
        }
        lines.erase(lines.begin(), lines.begin() + 6);
        return lines;
    }

    // "(th=0x...)" of this thread.
    static std::string thread() {
        char text[32];
        std::snprintf(text, sizeof text, "(th=0x%x)", SPW_CThread::currentId());
        return text;
    }

    TemporaryFolder folder;
    ScriptedClock clock;
    SPW_CError error;
    const ScopedInstance<SPW_CError> installed{error};
    ScriptedBox box;
};

TEST_F(ErrorTest, ReporterWorksBeforeMain) {
    EXPECT_EQ(resultBeforeMain, 462u);
}

// --- Reports ---

TEST_F(ErrorTest, OrdinaryErrorWritesOneRecordAndShowsNoBox) {
    openLog();
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOrdinary), 0u);
    EXPECT_THAT(records(), ElementsAre("ROOT_ERROR 12 " + thread() + " Class::method in module Module:12 -> message"));
    EXPECT_THAT(box.shown, IsEmpty());
}

TEST_F(ErrorTest, RecordWithoutAMessageHasNoArrow) {
    openLog();
    EXPECT_EQ(report(12, 0, u"", SPW_CError::kOrdinary), 0u);
    EXPECT_THAT(records(), ElementsAre("ROOT_ERROR 12 " + thread() + " Class::method in module Module:12"));
}

TEST_F(ErrorTest, LinkedErrorNamesBothCodes) {
    openLog();
    EXPECT_EQ(report(12, 34, u"message", SPW_CError::kOrdinary), 0u);
    EXPECT_THAT(records(), ElementsAre("LINKED_ERROR 12 LINKED TO 34. " + thread() +
                                       " Class::method in module Module:12 -> message"));
}

TEST_F(ErrorTest, OrdinaryErrorShowsABoxWithTheShowErrorsOption) {
    error.setShowErrors(true);
    EXPECT_EQ(report(4000000000u, 0, u"message", SPW_CError::kOrdinary), 1u);
    EXPECT_EQ(report(12, 34, u"", SPW_CError::kOrdinary), 1u);
    ASSERT_THAT(box.shown, SizeIs(2));
    EXPECT_EQ(box.shown[0].text, "Error (4000000000) in Class::method, Module:12\nmessage");
    EXPECT_EQ(box.shown[0].caption, "Root Error");
    EXPECT_EQ(box.shown[0].buttons, SPW_CMessageBox::kOk);
    EXPECT_EQ(box.shown[0].icon, SPW_CMessageBox::kIconError);
    EXPECT_EQ(box.shown[1].text, "Error (12) in Class::method, Module:12\n");
    EXPECT_EQ(box.shown[1].caption, "Linked Error");
}

TEST_F(ErrorTest, FlagsChooseCaptionAndButtons) {
    struct Case {
        std::uint32_t flags;
        const char* caption;
        SPW_CMessageBox::Buttons buttons;
    };
    const Case cases[] = {
        {1, "Oops", SPW_CMessageBox::kOk},
        {2, "Oops", SPW_CMessageBox::kOkCancel},
        {4, "Oops", SPW_CMessageBox::kRetryCancel},
        {2 | 4, "Oops", SPW_CMessageBox::kRetryCancel},
        {8, "Oops", SPW_CMessageBox::kAbortRetryIgnore},
        {2 | 4 | 8, "Oops", SPW_CMessageBox::kAbortRetryIgnore},
        {4096, "Internal Fatal Error", SPW_CMessageBox::kOk},
        {4096 | 2, "Internal Fatal Error", SPW_CMessageBox::kOkCancel},
    };
    error.setNoExit(true);
    for (const Case& flags : cases) {
        EXPECT_EQ(report(12, 34, u"message", flags.flags), 1u);
        EXPECT_EQ(box.shown.back().caption, flags.caption) << flags.flags;
        EXPECT_EQ(box.shown.back().buttons, flags.buttons) << flags.flags;
    }
    EXPECT_THAT(box.shown, SizeIs(std::size(cases)));
}

TEST_F(ErrorTest, AnswerDecidesTheResult) {
    struct Case {
        SPW_CMessageBox::Answer answer;
        SPW_Result result;
    };
    const Case cases[] = {
        {SPW_CMessageBox::kAnswerOk, 1},     {SPW_CMessageBox::kAnswerYes, 1}, {SPW_CMessageBox::kAnswerCancel, 2},
        {SPW_CMessageBox::kAnswerAbort, 2},  {SPW_CMessageBox::kAnswerNo, 2},  {SPW_CMessageBox::kAnswerRetry, 4},
        {SPW_CMessageBox::kAnswerIgnore, 8}, {SPW_CMessageBox::kNone, 0},
    };
    for (const Case& answered : cases) {
        box.answer = answered.answer;
        EXPECT_EQ(report(12, 0, u"message", SPW_CError::kAbortRetryIgnore), answered.result);
    }
}

TEST_F(ErrorTest, NoBoxSwitchAnswers8WhereABoxWasDue) {
    error.setNoBox(true);
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOkCancel), 8u);
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOrdinary), 0u);
    error.setShowErrors(true);
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOrdinary), 8u);
    EXPECT_THAT(box.shown, IsEmpty());
}

TEST_F(ErrorTest, DerivedReporterMayDescribeACodeItself) {
    class Describing : public SPW_CError {
    public:
        bool describeCode(SPW_Result code, const char* context, SPW_CString& text) override {
            asked = std::string(context) + " " + std::to_string(code);
            text = u"own text";
            return code != 12;
        }
        std::string asked;
    };
    Describing describing;
    describing.setMessageBox(&box);
    EXPECT_EQ(describing.report(kModule, 1, "Class", "method", 12, 0, u"message", SPW_CError::kOkCancel), 1u);
    EXPECT_EQ(describing.asked, "Class 12");
    EXPECT_EQ(box.shown.back().text, "own text");
    EXPECT_EQ(describing.report(kModule, 1, "Class", "method", 13, 0, u"message", SPW_CError::kOkCancel), 1u);
    EXPECT_EQ(box.shown.back().text, "Error (13) in Class::method, Module:1\nmessage");
}

TEST_F(ErrorTest, DefaultDescriptionIsEmptyAndLeavesTheUsualText) {
    SPW_CString text(u"old");
    EXPECT_TRUE(error.describeCode(12, "Class", text));
    EXPECT_TRUE(text.isEmpty());
}

TEST_F(ErrorTest, DefaultBoxWritesCaptionAndTextToStandardErrorAndAnswersOk) {
    error.setMessageBox(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOkCancel), 1u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Oops: Error (12) in Class::method, Module:12\nmessage\n");
}

// --- Fatal errors ---

TEST_F(ErrorTest, AssertionShowsAFatalBoxAndEndsTheProgramWithExitCode1) {
    error.setMessageBox(nullptr);
    EXPECT_EXIT(error.assertionFailed(kModule, 12, "Class", "method", "a != b"), testing::ExitedWithCode(1),
                "Internal Fatal Error: Error \\(0\\) in Class::method, Module:12\nassertion failed: a != b");
}

TEST_F(ErrorTest, FatalErrorEndsTheProgramOnTheSpot) {
    error.setNoBox(true);
    EXPECT_EXIT(
        {
            std::atexit([] { std::_Exit(7); });
            (void)report(12, 0, u"message", SPW_CError::kFatal);
        },
        testing::ExitedWithCode(1), "");
}

TEST_F(ErrorTest, FatalErrorEndsTheProgramWithoutABoxToo) {
    error.setNoBox(true);
    EXPECT_EXIT((void)report(12, 0, u"message", SPW_CError::kFatal), testing::ExitedWithCode(1), "");
}

TEST_F(ErrorTest, FatalErrorReturnsTheAnswerWithTheNoExitSwitch) {
    error.setNoExit(true);
    box.answer = SPW_CMessageBox::kAnswerCancel;
    EXPECT_EQ(error.assertionFailed(kModule, 12, "Class", "method", "a != b"), 2u);
    EXPECT_THAT(box.shown,
                ElementsAre(AllOf(Field(&RecordingReporter::Box::caption, "Internal Fatal Error"),
                                  Field(&RecordingReporter::Box::text,
                                        "Error (0) in Class::method, Module:12\nassertion failed: a != b"))));
}

TEST_F(ErrorTest, AssertionIsRecordedWithoutACodeAndAsNobodysConsequence) {
    openLog();
    error.setNoExit(true);
    EXPECT_EQ(error.assertionFailed(kModule, 12, "Class", "method", "a != b"), 1u);
    EXPECT_THAT(records(), ElementsAre("ROOT_ERROR 0 " + thread() +
                                       " Class::method in module Module:12 -> assertion failed: a != b"));
}

TEST_F(ErrorTest, FrontEndMayEndTheProgramItself) {
    static int exitCode;
    exitCode = 0;
    error.setExit([](int code) { exitCode = code; });
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOkCancel), 1u);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kFatal), 1u);
    EXPECT_EQ(exitCode, 1);
}

TEST_F(ErrorTest, FatalErrorIsInTheErrorLogBeforeTheProgramEnds) {
    static const TemporaryFolder* logs;
    logs = &folder;
    openLog();
    error.setExit([](int code) {
        (void)std::fputs(logs->read("error.txt").c_str(), stderr);
        std::_Exit(code);
    });
    EXPECT_EXIT((void)report(12, 0, u"last words", SPW_CError::kFatal), testing::ExitedWithCode(1),
                "ROOT_ERROR 12 .* Class::method in module Module:12 -> last words");
}

TEST_F(ErrorTest, RecordIsInTheErrorLogBeforeTheBoxIsShown) {
    openLog();
    int recordsAtTheBox = 0;
    box.inside = [&] { recordsAtTheBox = static_cast<int>(records().size()); };
    report(12, 0, u"fatal", SPW_CError::kOkCancel);
    EXPECT_EQ(recordsAtTheBox, 1);
    error.setShowErrors(true);
    report(12, 0, u"ordinary", SPW_CError::kOrdinary);
    EXPECT_EQ(recordsAtTheBox, 2);
    error.userInfo(kModule, 12, "Class", "function", u"information");
    EXPECT_EQ(recordsAtTheBox, 3);
}

TEST_F(ErrorTest, FatalErrorWithTheSurvivedCodeReturnsTheAnswerToItsBox) {
    error.setSurvivedCode(111);
    box.answer = SPW_CMessageBox::kAnswerCancel;
    EXPECT_EQ(report(111, 0, u"no interface", SPW_CError::kFatal | SPW_CError::kOkCancel), 2u);
    ASSERT_EQ(box.shown.size(), 1u);
    EXPECT_EQ(box.shown[0].caption, "Internal Fatal Error");
    EXPECT_EQ(box.shown[0].buttons, SPW_CMessageBox::kOkCancel);
    EXPECT_EXIT(report(112, 0, u"another", SPW_CError::kFatal), testing::ExitedWithCode(1), "");
}

TEST_F(ErrorTest, AssertionIsNeverSurvived) {
    error.setSurvivedCode(0);
    EXPECT_EXIT(error.assertionFailed("m", 1, "C", "m", "x"), testing::ExitedWithCode(1), "");
}

TEST_F(ErrorTest, BadIndexOfAnArrayIsAFatalAssertion) {
    RecordingReporter recorder;
    SPW_CArrayIndexFailed("index >= 0 && index < m_numberOfElements", 83, "operator []");
    EXPECT_THAT(recorder.reports(),
                ElementsAre(AllOf(IsReport("SPW_CArray", "operator []", 0,
                                           "assertion failed: index >= 0 && index < m_numberOfElements"),
                                  Field(&RecordedReport::module, "SPW_CArray"), Field(&RecordedReport::line, 83),
                                  Field(&RecordedReport::caption, "Internal Fatal Error"))));
}

// --- User information ---

TEST_F(ErrorTest, UserInformationIsWrittenAndShown) {
    openLog();
    error.userInfo(kModule, 12, "Class", "function", u"message");
    EXPECT_THAT(records(), ElementsAre("USER_INFO. " + thread() + " Class::function in module Module:12 -> message"));
    ASSERT_THAT(box.shown, SizeIs(1));
    EXPECT_EQ(box.shown[0].text, "CID: Class\nfunction: function\nin module Module:12\n\nMessage: message");
    EXPECT_EQ(box.shown[0].caption, "Info");
    EXPECT_EQ(box.shown[0].buttons, SPW_CMessageBox::kOk);
    EXPECT_EQ(box.shown[0].icon, SPW_CMessageBox::kIconInformation);
}

TEST_F(ErrorTest, UserInformationWithoutAFunctionAndAMessageLeavesThemOut) {
    openLog();
    error.userInfo(kModule, 12, "Class", "", u"");
    EXPECT_THAT(records(), ElementsAre("USER_INFO. " + thread() + " Class:: in module Module:12"));
    ASSERT_THAT(box.shown, SizeIs(1));
    EXPECT_EQ(box.shown[0].text, "CID: Class\nin module Module:12\n\nMessage: ");
}

TEST_F(ErrorTest, UserInformationIsNotShownWithTheNoBoxSwitch) {
    error.setNoBox(true);
    error.userInfo(kModule, 12, "Class", "function", u"message");
    EXPECT_THAT(box.shown, IsEmpty());
}

// --- Traces ---

TEST_F(ErrorTest, TraceOfEachKindHasItsCharacter) {
    openLog();
    error.setTraceFileMask(1);
    EXPECT_EQ(trace(1, 0, u"in"), 0u);
    EXPECT_EQ(trace(1, 1, u"out"), 0u);
    EXPECT_EQ(trace(1, 2, u""), 0u);
    EXPECT_EQ(trace(1, 5, u"odd"), 463u);
    EXPECT_EQ(trace(1, -1, u"odd"), 463u);
    EXPECT_THAT(records(), ElementsAre("TRACE > Class::method" + thread() + " in module Module:12 -> in",
                                       "TRACE < Class::method" + thread() + " in module Module:12 -> out",
                                       "TRACE ! Class::method" + thread() + " in module Module:12",
                                       "TRACE ? Class::method" + thread() + " in module Module:12 -> odd",
                                       "TRACE ? Class::method" + thread() + " in module Module:12 -> odd"));
}

TEST_F(ErrorTest, OneLevelInCommonIsEnough) {
    openLog();
    ScriptedListener listener;
    error.setTraceFileMask(1 | 2);
    error.addListener(&listener, 2 | 4);
    EXPECT_EQ(trace(1 | 8, 2, u"file"), 0u);
    EXPECT_EQ(trace(4 | 8, 2, u"listener"), 0u);
    EXPECT_THAT(records(), SizeIs(1));
    EXPECT_THAT(listener.heard, SizeIs(1));
}

TEST_F(ErrorTest, TraceThatNobodyWantsIsNotPerformed) {
    openLog();
    ScriptedListener listener;
    error.addListener(&listener, 4);
    error.setTraceFileMask(2);
    EXPECT_EQ(trace(1, 0, u"message"), 462u);
    EXPECT_EQ(trace(1, 5, u"message"), 462u);
    EXPECT_THAT(records(), IsEmpty());
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ErrorTest, ListenerHearsTimeMessageAndThread) {
    ScriptedListener listener;
    error.addListener(&listener, 2);
    clock.advanceMs(5);
    EXPECT_EQ(trace(2 | 8, 2, u"message"), 0u);
    EXPECT_THAT(listener.heard, ElementsAre(std::pair("14:07:09.005 message " + thread(), 2u | 8u)));
}

TEST_F(ErrorTest, TraceForAListenerAloneIsNotWritten) {
    openLog();
    ScriptedListener listener;
    error.addListener(&listener, 2);
    EXPECT_EQ(trace(2, 2, u"message"), 0u);
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(ErrorTest, TraceWithoutAMessageWritesTheRecordAndNotifiesNobody) {
    openLog();
    ScriptedListener listener;
    error.addListener(&listener, 1);
    error.setTraceFileMask(1);
    error.setConsoleEcho(true);
    error.setShortEcho(true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(trace(1, 2, u""), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(records(), SizeIs(1));
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ErrorTest, ConsoleEchoPrintsTheRecordOrItsShortForm) {
    ScriptedListener listener;
    error.addListener(&listener, 1);
    error.setConsoleEcho(true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(trace(1, 2, u"message"), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "TRACE ! Class::method" + thread() + " in module Module:12 -> message\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(trace(1, 2, u""), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "TRACE ! Class::method" + thread() + " in module Module:12\n");
    error.setShortEcho(true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(trace(1, 2, u"message"), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "14:07:09.000 message " + thread() + "\n");
    error.setConsoleEcho(false);
    testing::internal::CaptureStdout();
    EXPECT_EQ(trace(1, 2, u"message"), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ErrorTest, ListenersAreNotifiedInTheOrderOfRegistration) {
    std::string order;
    ScriptedListener first;
    ScriptedListener other;
    ScriptedListener last;
    first.inside = [&order] { order += "first "; };
    other.inside = [&order] { order += "other "; };
    last.inside = [&order] { order += "last "; };
    error.addListener(&first, 1);
    error.addListener(&other, 2);
    error.addListener(&last, 3);
    EXPECT_EQ(trace(1, 2, u"message"), 0u);
    EXPECT_EQ(order, "first last ");
}

TEST_F(ErrorTest, MaskAndRemovalOfAListenerCountAtOnce) {
    ScriptedListener listener;
    error.addListener(&listener, 1);
    EXPECT_EQ(error.setListenerMask(&listener, 2), 0u);
    EXPECT_EQ(trace(1, 2, u"message"), 462u);
    EXPECT_EQ(trace(2, 2, u"message"), 0u);
    EXPECT_EQ(error.removeListener(&listener), 0u);
    EXPECT_EQ(trace(2, 2, u"message"), 462u);
    EXPECT_THAT(listener.heard, SizeIs(1));
}

TEST_F(ErrorTest, RemovalOfAListenerLeavesTheMasksOfTheOthersAndTheFile) {
    openLog();
    ScriptedListener gone;
    ScriptedListener stays;
    error.setTraceFileMask(4);
    error.addListener(&gone, 1);
    error.addListener(&stays, 2);
    EXPECT_EQ(error.removeListener(&gone), 0u);
    EXPECT_EQ(trace(1, 2, u"message"), 462u);
    EXPECT_EQ(trace(2, 2, u"message"), 0u);
    EXPECT_EQ(trace(4, 2, u"message"), 0u);
    EXPECT_THAT(stays.heard, SizeIs(1));
    EXPECT_THAT(records(), SizeIs(1));
}

TEST_F(ErrorTest, UnknownListenerIsNotFound) {
    ScriptedListener listener;
    EXPECT_EQ(error.removeListener(&listener), 465u);
    EXPECT_EQ(error.setListenerMask(&listener, 1), 465u);
    error.addListener(&listener, 1);
    EXPECT_EQ(error.removeListener(&listener), 0u);
    EXPECT_EQ(error.removeListener(&listener), 465u);
}

TEST_F(ErrorTest, ListenerMayRemoveItselfWhileItIsNotified) {
    ScriptedListener listener;
    listener.inside = [&] { EXPECT_EQ(error.removeListener(&listener), 0u); };
    error.addListener(&listener, 1);
    EXPECT_EQ(trace(1, 2, u"message"), 0u);
    EXPECT_EQ(trace(1, 2, u"message"), 462u);
}

// --- Calls from inside the reporter ---

TEST_F(ErrorTest, WhatIsReportedWhileReportingIsDropped) {
    openLog();
    ScriptedListener listener;
    error.addListener(&listener, 1);
    box.inside = [this] {
        EXPECT_EQ(report(13, 0, u"inner", SPW_CError::kFatal), 0u);
        EXPECT_EQ(trace(1, 2, u"inner"), 462u);
        error.userInfo(kModule, 12, "Class", "function", u"inner");
    };
    EXPECT_EQ(report(12, 0, u"outer", SPW_CError::kOkCancel), 1u);
    EXPECT_THAT(records(), SizeIs(1));
    EXPECT_THAT(box.shown, SizeIs(1));
    EXPECT_THAT(listener.heard, IsEmpty());
    EXPECT_EQ(trace(1, 2, u"after"), 0u);
}

TEST_F(ErrorTest, TraceOfAListenerIsDropped) {
    ScriptedListener listener;
    listener.inside = [this] { EXPECT_EQ(trace(1, 0, u"inner"), 462u); };
    error.addListener(&listener, 1);
    EXPECT_EQ(trace(1, 2, u"outer"), 0u);
    EXPECT_THAT(listener.heard, SizeIs(1));
}

TEST_F(ErrorTest, ReportOfOneThreadDoesNotSilenceAnother) {
    openLog();
    box.inside = [this] {
        std::thread other([this] { EXPECT_EQ(report(13, 0, u"other", SPW_CError::kOrdinary), 0u); });
        other.join();
    };
    EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOkCancel), 1u);
    EXPECT_THAT(records(), SizeIs(2));
}

// --- The error log ---

TEST_F(ErrorTest, ErrorLogStartsWithItsHeader) {
    openLog();
    EXPECT_EQ(folder.read("error.txt"),
              std::string(80, '-') +
                  "\r\nDescription: Error logfile\r\nApplication: Application\r\nVersion    : 7\r\n"
                  "Opened     : 7-3-2003 14:07:09\r\n" +
                  std::string(80, '-') + "\r\n");
}

TEST_F(ErrorTest, ErrorLogShowsEveryVersionInDecimal) {
    ASSERT_EQ(error.openLogFile(folder.path("error.txt"), u"Application", 4000000000u), 0u);
    EXPECT_THAT(folder.read("error.txt"), testing::HasSubstr("\r\nVersion    : 4000000000\r\n"));
}

TEST_F(ErrorTest, SecondErrorLogIsRefusedAndReportedToTheFirst) {
    openLog();
    EXPECT_EQ(error.openLogFile(folder.path("second.txt"), u"Application", 7), 461u);
    EXPECT_FALSE(folder.exists("second.txt"));
    const std::vector<std::string> lines = records();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].find("ROOT_ERROR 461 " + thread() + " SPW_CError::openLogFile in module SPW_CError:"), 0u);
    const std::string message = std::string(" -> Attempt to open Error logfile ") + folder.path("second.txt").toAnsi() +
                                " buf a file " + folder.path("error.txt").toAnsi() + " is already open";
    EXPECT_EQ(lines[0].substr(lines[0].find(" -> ")), message);
}

TEST_F(ErrorTest, ErrorLogThatCannotBeOpenedIsNoErrorLog) {
    EXPECT_EQ(error.openLogFile(folder.path("missing/error.txt"), u"Application", 7), 3u);
    EXPECT_EQ(error.closeLogFile(), 464u);
    openLog();
}

TEST_F(ErrorTest, ClosingEndsTheErrorLog) {
    EXPECT_EQ(error.closeLogFile(), 464u);
    openLog();
    EXPECT_EQ(report(12, 0, u"kept", SPW_CError::kOrdinary), 0u);
    EXPECT_EQ(error.closeLogFile(), 0u);
    EXPECT_EQ(report(13, 0, u"lost", SPW_CError::kOrdinary), 0u);
    EXPECT_THAT(records(), SizeIs(1));
    EXPECT_EQ(error.closeLogFile(), 464u);
}

TEST_F(ErrorTest, ErrorLogRotatesWhenToldTo) {
    ASSERT_EQ(error.openLogFile(folder.path("error.txt"), u"Application", 7, 1, 1), 0u);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOrdinary), 0u);
    }
    EXPECT_TRUE(folder.exists("error-1.txt"));
}

TEST_F(ErrorTest, ThreadsReportTraceAndOpenTheLogAtTheSameTime) {
    ScriptedListener listener;
    std::atomic<bool> done{false};
    std::thread reporting([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(report(12, 0, u"message", SPW_CError::kOrdinary), 0u);
            (void)trace(1, SPW_CError::kNote, u"message");
        }
        done = true;
    });
    while (!done) {
        (void)error.openLogFile(folder.path("error.txt"), u"Application", 7);
        error.addListener(&listener, 1);
        error.setTraceFileMask(1);
        EXPECT_EQ(error.removeListener(&listener), 0u);
        error.setTraceFileMask(0);
        EXPECT_EQ(error.closeLogFile(), 0u);
    }
    reporting.join();
}

// --- A process that has used its thread-local slots up

class ErrorWithoutSlotsTest : public testing::Test {
protected:
    ErrorWithoutSlotsTest() {
        do {
            m_slots.push_back(std::make_unique<SPW_CThreadSlot>());
        } while (m_slots.back()->isValid());
        m_reporter.setMessageBox(&m_box);
        m_reporter.setShowErrors(true);
        m_reporter.setExit([](int code) { exitCode = code; });
        exitCode = -1;
    }
    void report(const char16_t* message) {
        m_reporter.report(kModule, 1, "Class", "method", 12, 0, message, SPW_CError::kOrdinary);
    }

    static int exitCode;
    std::vector<std::unique_ptr<SPW_CThreadSlot>> m_slots;
    ScriptedBox m_box;
    SPW_CError m_reporter;  // asks for its slots at its first report
};
int ErrorWithoutSlotsTest::exitCode = -1;

TEST_F(ErrorWithoutSlotsTest, ReportsAllTheSame) {
    report(u"first");
    report(u"second");
    EXPECT_THAT(m_box.shown, SizeIs(2));
    EXPECT_EQ(m_reporter.trace(0, SPW_CError::kNote, kModule, 1, "Class", "method", u"unwanted"), 462u);
}

TEST_F(ErrorWithoutSlotsTest, AnAssertionStillEndsTheProgram) {
    (void)m_reporter.assertionFailed(kModule, 1, "Class", "method", "it holds");
    EXPECT_EQ(exitCode, 1);
    EXPECT_THAT(m_box.shown, SizeIs(1));
}

TEST_F(ErrorWithoutSlotsTest, WhatAThreadReportsWhileItReportsIsDroppedAndWhatOthersReportIsNot) {
    m_box.inside = [this] {
        m_box.inside = nullptr;
        report(u"nested");
        std::thread([this] { report(u"of another thread"); }).join();
    };
    report(u"first");
    EXPECT_THAT(m_box.shown, SizeIs(2));
    report(u"afterwards");
    EXPECT_THAT(m_box.shown, SizeIs(3));
}

}  // namespace
