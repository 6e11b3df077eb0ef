#pragma once

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CString.h"
#include "SPW_CThreadSlot.h"
#include "SPW_Types.h"

class SPW_CLogFile;

// Shows the reporter's message boxes. The application installs the one of its front end.
class SPW_CMessageBox {
public:
    enum Icon { kIconError, kIconInformation };
    enum Buttons { kOk, kOkCancel, kRetryCancel, kAbortRetryIgnore };
    enum Answer { kNone, kAnswerOk, kAnswerYes, kAnswerCancel, kAnswerAbort, kAnswerNo, kAnswerRetry, kAnswerIgnore };
    virtual ~SPW_CMessageBox() = default;
    // Any thread. Blocks until the user has answered.
    virtual Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) = 0;
};

class SPW_CTraceListener {
public:
    virtual ~SPW_CTraceListener() = default;
    // Called on the tracing thread, outside the reporter's lock.
    virtual void notify(const SPW_CString& text, std::uint32_t levelMask) = 0;
};

// The process-wide reporter of errors, assertions, user information and traces.
class SPW_CError : public SPW_CObject {
public:
    static SPW_CError* instance;

    enum Flags : std::uint32_t {
        kOrdinary = 0,
        kOkCancel = 2,
        kRetryCancel = 4,
        kAbortRetryIgnore = 8,
        kFatal = 4096,
    };
    enum TraceKind { kEntry = 0, kExit = 1, kNote = 2 };
    static constexpr SPW_Result kLogAlreadyOpen = 461;
    static constexpr SPW_Result kNotTraced = 462;
    static constexpr SPW_Result kUnknownTraceKind = 463;
    static constexpr SPW_Result kLogNotOpen = 464;
    static constexpr SPW_Result kListenerNotFound = 465;

    SPW_CError();
    ~SPW_CError() override;
    virtual SPW_Result closeLogFile();
    virtual SPW_Result openLogFile(const SPW_CString& path, const SPW_CString& application, std::uint32_t version,
                                   std::uint32_t maximumKilobytes = 0, std::int32_t backups = 1);
    virtual void reserved() {}
    virtual bool describeCode(SPW_Result code, const char* context, SPW_CString& text);

    SPW_Result report(const char* module, int line, const char* className, const char* method, SPW_Result code,
                      SPW_Result linkedCode, const SPW_CString& message, std::uint32_t flags);
    void userInfo(const char* module, int line, const char* className, const char* function,
                  const SPW_CString& message);
    SPW_Result trace(std::uint32_t levelMask, int kind, const char* module, int line, const char* className,
                     const char* method, const SPW_CString& message);

    void addListener(SPW_CTraceListener* listener, std::uint32_t mask);
    SPW_Result removeListener(SPW_CTraceListener* listener);
    SPW_Result setListenerMask(SPW_CTraceListener* listener, std::uint32_t mask);

    void setNoExit(bool on);
    void setNoBox(bool on);
    // The process-wide show-errors option: ordinary errors get a box as well.
    void setShowErrors(bool on);
    void setTraceFileMask(std::uint32_t mask);
    void setConsoleEcho(bool on);
    void setShortEcho(bool on);
    // Not owned; null puts the default back, which writes the text to standard error.
    void setMessageBox(SPW_CMessageBox* box);
    // What ends the program after a fatal report: exit code 1. Replaceable for tests; null puts the default back.
    void setExit(void (*exitProgram)(int code));
};
