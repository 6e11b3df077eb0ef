#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CLazy.h"
#include "SPW_CString.h"
#include "SPW_CThreadSlot.h"
#include "SPW_Types.h"

class SPW_CLogFile;

// Shows the reporter's message boxes, over the active window and topmost where there are windows. The application
// installs the one of its front end.
class SPW_CMessageBox {
public:
    enum Icon { kIconError, kIconInformation };
    enum Buttons { kOk, kOkCancel, kRetryCancel, kAbortRetryIgnore };
    enum Answer { kNone, kAnswerOk, kAnswerYes, kAnswerCancel, kAnswerAbort, kAnswerNo, kAnswerRetry, kAnswerIgnore };
    virtual ~SPW_CMessageBox() = default;
    // Any thread, several at a time. Blocks until the user has answered.
    virtual Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) = 0;
};

class SPW_CTraceListener {
public:
    virtual ~SPW_CTraceListener() = default;
    // Called on the tracing thread, outside the reporter's lock. What it reports or traces itself is dropped.
    virtual void notify(const SPW_CString& text, std::uint32_t levelMask) = 0;
};

// The process-wide reporter of errors, assertions, user information and traces.
//
// Every class hands it the place of an event - module path, line, class and method name, all 8-bit texts - with a
// code and a message. It writes a one-line record to the error log, asks the user in a message box when the event
// calls for one, passes traces to listeners, and ends the program on a fatal error. Records and boxes show only the
// file-name part of the module path.
//
// A report that a thread makes inside of another one is dropped silently: a failing log file cannot make the reporter
// call itself for ever. (Where the platform has no thread-local slot left, the threads that are reporting are listed
// instead.)
//
// Threads: any thread may call everything at any time, and `instance` may be used before main() and until the
// process has ended.
class SPW_CError : public SPW_CObject {
public:
    // The one reporter that all code uses. Tests may put their own in its place while no other thread reports.
    static SPW_CError* instance;

    // What report() does besides writing the record. The buttons of the highest bit set win.
    enum Flags : std::uint32_t {
        kOrdinary = 0,
        kOkCancel = 2,
        kRetryCancel = 4,
        kAbortRetryIgnore = 8,
        kFatal = 4096,  // an assertion: the program ends with exit code 1
    };
    enum TraceKind { kEntry = 0, kExit = 1, kNote = 2 };

    static constexpr SPW_Result kLogAlreadyOpen = 461;
    static constexpr SPW_Result kNotTraced = 462;
    static constexpr SPW_Result kUnknownTraceKind = 463;
    static constexpr SPW_Result kLogNotOpen = 464;
    static constexpr SPW_Result kListenerNotFound = 465;

    // What report() returns for the user's answer to the box: none of these is 0.
    static constexpr SPW_Result kAnsweredOk = 1;      // OK or Yes
    static constexpr SPW_Result kAnsweredCancel = 2;  // Cancel, Abort or No
    static constexpr SPW_Result kAnsweredRetry = 4;
    static constexpr SPW_Result kAnsweredIgnore = 8;  // Ignore, and every box while the no-box switch is set

    constexpr SPW_CError() = default;
    ~SPW_CError() override;
    SPW_CError(const SPW_CError&) = delete;
    SPW_CError& operator=(const SPW_CError&) = delete;

    // 464 when no error log is open, else the result of closing the file; the error log is gone in any case.
    virtual SPW_Result closeLogFile();
    // Opens the error log, continuing an existing file; header and rotation are those of SPW_CLogFile. 461, with one
    // report, when one is open already; else the file's result, and no error log is open when that is not 0.
    virtual SPW_Result openLogFile(const SPW_CString& path, const SPW_CString& application, std::uint32_t version,
                                   std::uint32_t maximumKilobytes = 0, std::int32_t backups = 1);
    // Keeps its place in the order of the virtual operations.
    virtual void reserved() {}
    // Lets a derived reporter choose what the box of an error says: false shows `text` as this operation left it,
    // true the usual text of place and message. `context` is the name of the reporting class, because the families of
    // codes are per class. The default clears the text and answers true.
    virtual bool describeCode(SPW_Result code, const char* context, SPW_CString& text);

    // Reports an error. A linked code other than 0 marks an error that wraps an earlier one, whose code it is.
    // Returns one of the kAnswered results, or 0 when no box was due: an ordinary error has one only while
    // setShowErrors is on. Blocks while the box is shown. Does not return from kFatal unless setNoExit is on.
    SPW_Result report(const char* module, int line, const char* className, const char* method, SPW_Result code,
                      SPW_Result linkedCode, const SPW_CString& message, std::uint32_t flags);
    // Reports a broken assertion: a fatal error without a code, "assertion failed: " and the condition's text.
    SPW_Result assertionFailed(const char* module, int line, const char* className, const char* method,
                               const char* condition);
    // Tells the user something in an information box. An empty function name is left out of the box.
    void userInfo(const char* module, int line, const char* className, const char* function,
                  const SPW_CString& message);
    // Traces an entry, an exit or a note of the levels in the mask. 0, 463 for a kind that is none of them, or 462 when
    // these levels are wanted nowhere, which costs next to nothing.
    SPW_Result trace(std::uint32_t levelMask, int kind, const char* module, int line, const char* className,
                     const char* method, const SPW_CString& message);
    // Whether traces of one of the levels are wanted. For callers that would have to make a message first.
    bool isTraced(std::uint32_t levelMask) const {
        return (levelMask & m_combinedMask.load(std::memory_order_relaxed)) != 0;
    }

    // Listeners are not owned, and hear traces with a message in the order in which they were added. A trace under
    // way on another thread may still reach a listener just after its removal.
    void addListener(SPW_CTraceListener* listener, std::uint32_t mask);
    // 0, or 465 when it is not registered.
    SPW_Result removeListener(SPW_CTraceListener* listener);
    SPW_Result setListenerMask(SPW_CTraceListener* listener, std::uint32_t mask);

    // A fatal error does not end the program.
    void setNoExit(bool on) { m_noExit = on; }
    // The no-exit switch for the fatal errors of one code: they get their box, and the program goes on. At first the
    // code is 0, which means none. The program never survives an assertion, which has no code.
    void setSurvivedCode(SPW_Result code) { m_survivedCode = code; }
    // No box is shown; where one was due report() returns 8.
    void setNoBox(bool on) { m_noBox = on; }
    // Ordinary errors get a box as well.
    void setShowErrors(bool on) { m_showErrors = on; }
    // The trace levels that are written to the error log.
    void setTraceFileMask(std::uint32_t mask);
    // Traces that are wanted are printed to standard output as well: the record, or with short echo its short form of
    // time, message and thread.
    void setConsoleEcho(bool on) { m_consoleEcho = on; }
    void setShortEcho(bool on) { m_shortEcho = on; }
    // Not owned. Null puts the default back, which writes caption and text to standard error and answers OK.
    void setMessageBox(SPW_CMessageBox* box) { m_messageBox = box; }
    // The function that ends the program after a fatal report, with exit code 1. When it returns, report() returns as
    // well. A front end that has to tidy up its terminal sets its own. Null puts the default back, which ends the
    // process on the spot: other threads are still using what destructors and exit handlers would take from them.
    void setExit(void (*exitProgram)(int code)) { m_exit = exitProgram; }

private:
    struct Listener {
        SPW_CTraceListener* object = nullptr;
        std::uint32_t mask = 0;
    };
    class Nesting;
    struct Place;
    // More threads than ever report at once.
    static constexpr int kMostReporting = 64;

    // Whether an error log is open, and its name.
    bool isLogOpen(SPW_CString& name);
    // Takes the log over; false, and the name of the other, when there is an error log by now.
    bool adoptLog(std::unique_ptr<SPW_CLogFile>& log, SPW_CString& openName);
    void writeToLog(const SPW_CString& record);
    bool isSurvived(SPW_Result code) const;
    static SPW_CString errorRecord(const Place& place, SPW_Result code, SPW_Result linkedCode,
                                   const SPW_CString& message);
    SPW_Result ask(const Place& place, SPW_Result code, SPW_Result linkedCode, const SPW_CString& message,
                   std::uint32_t flags);
    SPW_CMessageBox& box();
    void traceWanted(std::uint32_t levelMask, int kind, const Place& place, const SPW_CString& message);
    void notifyListeners(const SPW_CString& shortText, std::uint32_t levelMask);
    int findListener(const SPW_CTraceListener* listener);
    void combineMasks();

    std::atomic<bool> m_noExit{false};
    std::atomic<bool> m_noBox{false};
    std::atomic<std::uint32_t> m_traceFileMask{0};
    std::atomic<std::uint32_t> m_combinedMask{0};  // the file's mask and every listener's
    SPW_CLogFile* m_log = nullptr;                 // owned; guarded by m_logLock
    SPW_CLazy<SPW_CThreadSlot> m_traceDepth;       // kept for a debugger; records do not show it
    SPW_CLazy<SPW_CThreadSlot> m_nesting;
    // The numbers of the threads that are reporting, 0 in free places; used where m_nesting has no slot.
    std::atomic<std::uint32_t> m_reporting[kMostReporting]{};
    std::atomic<bool> m_consoleEcho{false};
    std::atomic<bool> m_shortEcho{false};
    SPW_CLazy<SPW_CArray<Listener>> m_listeners;  // guarded by m_listenerLock
    SPW_CLazy<SPW_CCriticalSection> m_listenerLock;
    SPW_CLazy<SPW_CCriticalSection> m_logLock;  // keeps the error log alive while a line is being written
    std::atomic<bool> m_showErrors{false};
    std::atomic<SPW_Result> m_survivedCode{0};
    std::atomic<SPW_CMessageBox*> m_messageBox{nullptr};
    std::atomic<void (*)(int code)> m_exit{nullptr};
};
