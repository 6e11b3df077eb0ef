#include "SPW_CError.h"

#include <memory>

#include "SPW_CClock.h"
#include "SPW_CErrorSys.h"
#include "SPW_CImmortal.h"
#include "SPW_CLogFile.h"
#include "SPW_CThread.h"

namespace {

constexpr const char* kModule = "src\\SPW\\src\\CError\\portable\\SPW_CError";
constexpr const char* kClass = "SPW_CError";
constexpr int kFatalExitCode = 1;

// Never destroyed: threads that outlive main() and destructors of other static objects may still report.
SPW_CImmortal<SPW_CError> processReporter;

// Stands in until the application installs the box of its front end.
class StandardErrorBox : public SPW_CMessageBox {
public:
    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons, Icon) override {
        SPW_CErrorSys::printError(caption + u": " + text + u"\n");
        return kAnswerOk;
    }
};

SPW_CImmortal<StandardErrorBox> standardErrorBox;

void appendMessage(SPW_CString& record, const SPW_CString& message) {
    if (!message.isEmpty()) {
        record.append(u" -> ");
        record.append(message);
    }
}

SPW_CMessageBox::Buttons buttonsFor(std::uint32_t flags) {
    if ((flags & SPW_CError::kAbortRetryIgnore) != 0) {
        return SPW_CMessageBox::kAbortRetryIgnore;
    }
    if ((flags & SPW_CError::kRetryCancel) != 0) {
        return SPW_CMessageBox::kRetryCancel;
    }
    return (flags & SPW_CError::kOkCancel) != 0 ? SPW_CMessageBox::kOkCancel : SPW_CMessageBox::kOk;
}

const char16_t* captionFor(std::uint32_t flags, SPW_Result linkedCode) {
    if ((flags & SPW_CError::kFatal) != 0) {
        return u"Internal Fatal Error";
    }
    if (flags != SPW_CError::kOrdinary) {
        return u"Oops";
    }
    return linkedCode != 0 ? u"Linked Error" : u"Root Error";
}

SPW_Result resultFor(SPW_CMessageBox::Answer answer) {
    switch (answer) {
        case SPW_CMessageBox::kAnswerOk:
        case SPW_CMessageBox::kAnswerYes:
            return SPW_CError::kAnsweredOk;
        case SPW_CMessageBox::kAnswerCancel:
        case SPW_CMessageBox::kAnswerAbort:
        case SPW_CMessageBox::kAnswerNo:
            return SPW_CError::kAnsweredCancel;
        case SPW_CMessageBox::kAnswerRetry:
            return SPW_CError::kAnsweredRetry;
        case SPW_CMessageBox::kAnswerIgnore:
            return SPW_CError::kAnsweredIgnore;
        case SPW_CMessageBox::kNone:
            break;
    }
    return 0;
}

char16_t kindCharacter(int kind) {
    switch (kind) {
        case SPW_CError::kEntry:
            return u'>';
        case SPW_CError::kExit:
            return u'<';
        case SPW_CError::kNote:
            return u'!';
        default:
            return u'?';
    }
}

// What listeners and the short echo get; nothing for a trace without a message.
SPW_CString shortTraceText(const SPW_CString& message, std::uint32_t thread) {
    SPW_CString text;
    if (!message.isEmpty()) {
        const SPW_CalendarTime now = SPW_CClock::instance->localNow();
        text.format(u"%02d:%02d:%02d.%03d ", now.hour, now.minute, now.second, now.millisecond);
        text.append(message);
        SPW_CString suffix;
        suffix.format(u" (th=0x%x)", thread);
        text.append(suffix);
    }
    return text;
}

void echo(const SPW_CString& text) {
    if (!text.isEmpty()) {
        SPW_CErrorSys::printOutput(text + u"\n");
    }
}

void addTo(SPW_CThreadSlot& slot, int change) {
    slot.set(slot.get() + change);
}

}  // namespace

SPW_CError* SPW_CError::instance = &processReporter.value;

// Counts the reporter calls that the calling thread is inside of.
class SPW_CError::Nesting {
public:
    explicit Nesting(SPW_CError& reporter) : m_count(reporter.m_nesting.get()) {
        addTo(m_count, 1);
        if (m_count.isValid()) {
            m_isOutermost = m_count.get() == 1;
        } else {
            enlist(reporter);
        }
    }
    ~Nesting() {
        addTo(m_count, -1);
        if (m_place != nullptr) {
            *m_place = 0;
        }
    }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    bool isOutermost() const { return m_isOutermost; }

private:
    // A thread is in the list as long as it is inside of its outermost call. When the list is full, the call counts as
    // nested and is dropped: a report that is lost does less harm than a reporter that waits for itself.
    void enlist(SPW_CError& reporter) {
        const std::uint32_t self = SPW_CThread::currentId();
        for (const std::atomic<std::uint32_t>& thread : reporter.m_reporting) {
            if (thread == self) {
                return;
            }
        }
        for (std::atomic<std::uint32_t>& thread : reporter.m_reporting) {
            std::uint32_t nobody = 0;
            if (thread.compare_exchange_strong(nobody, self)) {
                m_place = &thread;
                m_isOutermost = true;
                return;
            }
        }
    }

    SPW_CThreadSlot& m_count;
    std::atomic<std::uint32_t>* m_place = nullptr;
    bool m_isOutermost = false;
};

// Where an event happened, as records and boxes print it.
struct SPW_CError::Place {
    Place(const char* modulePath, int lineNumber, const char* reportingClass, const char* reportingMethod)
        : module(SPW_CString(modulePath).getFileName()),
          line(lineNumber),
          context(reportingClass),
          className(reportingClass),
          method(reportingMethod),
          thread(SPW_CThread::currentId()) {}

    SPW_CString module;
    int line;
    const char* context;
    SPW_CString className;
    SPW_CString method;
    std::uint32_t thread;
};

SPW_CError::~SPW_CError() {
    delete m_log;
}

SPW_Result SPW_CError::openLogFile(const SPW_CString& path, const SPW_CString& application, std::uint32_t version,
                                   std::uint32_t maximumKilobytes, std::int32_t backups) {
    SPW_CString openName;
    if (!isLogOpen(openName)) {
        // Opened before it is shared and outside the lock: a failure to open is reported, and reports take the lock.
        std::unique_ptr<SPW_CLogFile> log(new SPW_CLogFile);
        const SPW_Result result =
            log->open(path, u"Error logfile", application, SPW_CString(static_cast<unsigned long>(version)),
                      maximumKilobytes, backups, true);
        if (result != 0) {
            return result;
        }
        if (adoptLog(log, openName)) {
            return 0;
        }
    }
    (void)report(kModule, __LINE__, kClass, "openLogFile", kLogAlreadyOpen, 0,
                 u"Attempt to open Error logfile " + path + u" buf a file " + openName + u" is already open",
                 kOrdinary);  // the answer changes nothing
    return kLogAlreadyOpen;
}

bool SPW_CError::isLogOpen(SPW_CString& name) {
    const SPW_CGuard guard(m_logLock.get());
    if (m_log == nullptr) {
        return false;
    }
    name = m_log->path();
    return true;
}

bool SPW_CError::adoptLog(std::unique_ptr<SPW_CLogFile>& log, SPW_CString& openName) {
    const SPW_CGuard guard(m_logLock.get());
    if (m_log != nullptr) {
        openName = m_log->path();
        return false;
    }
    m_log = log.release();
    return true;
}

SPW_Result SPW_CError::closeLogFile() {
    std::unique_ptr<SPW_CLogFile> log;
    {
        const SPW_CGuard guard(m_logLock.get());
        log.reset(m_log);
        m_log = nullptr;
    }
    return log != nullptr ? log->close() : kLogNotOpen;
}

void SPW_CError::writeToLog(const SPW_CString& record) {
    const SPW_CGuard guard(m_logLock.get());
    if (m_log != nullptr) {
        (void)m_log->writeLine(record, false);  // the reporter cannot report its own failures
    }
}

bool SPW_CError::describeCode(SPW_Result, const char*, SPW_CString& text) {
    text.clear();
    return true;
}

SPW_Result SPW_CError::report(const char* module, int line, const char* className, const char* method, SPW_Result code,
                              SPW_Result linkedCode, const SPW_CString& message, std::uint32_t flags) {
    const Nesting nesting(*this);
    if (!nesting.isOutermost()) {
        return 0;
    }
    const Place place(module, line, className, method);
    writeToLog(errorRecord(place, code, linkedCode, message));
    const bool boxIsDue = flags != kOrdinary || m_showErrors;
    const SPW_Result answer = boxIsDue ? ask(place, code, linkedCode, message, flags) : 0;
    if ((flags & kFatal) != 0 && !m_noExit && !isSurvived(code)) {
        void (*const exitProgram)(int) = m_exit;
        exitProgram != nullptr ? exitProgram(kFatalExitCode) : SPW_CErrorSys::exitProcess(kFatalExitCode);
    }
    return answer;
}

bool SPW_CError::isSurvived(SPW_Result code) const {
    return code != 0 && code == m_survivedCode;
}

SPW_CString SPW_CError::errorRecord(const Place& place, SPW_Result code, SPW_Result linkedCode,
                                    const SPW_CString& message) {
    SPW_CString record;
    if (linkedCode != 0) {
        record.format(u"%s %d LINKED TO %d. (th=0x%x) %s::%s in module %s:%d", u"LINKED_ERROR", code, linkedCode,
                      place.thread, place.className.text(), place.method.text(), place.module.text(), place.line);
    } else {
        record.format(u"%s %d (th=0x%x) %s::%s in module %s:%d", u"ROOT_ERROR", code, place.thread,
                      place.className.text(), place.method.text(), place.module.text(), place.line);
    }
    appendMessage(record, message);
    return record;
}

SPW_Result SPW_CError::ask(const Place& place, SPW_Result code, SPW_Result linkedCode, const SPW_CString& message,
                           std::uint32_t flags) {
    SPW_CString text;
    if (describeCode(code, place.context, text)) {
        text = u"Error (";
        text.append(static_cast<unsigned long>(code));
        text += u") in " + place.className + u"::" + place.method + u", " + place.module + u":" + place.line;
        text += u"\n" + message;
    }
    if (m_noBox) {
        return kAnsweredIgnore;
    }
    return resultFor(box().show(text, captionFor(flags, linkedCode), buttonsFor(flags), SPW_CMessageBox::kIconError));
}

SPW_CMessageBox& SPW_CError::box() {
    SPW_CMessageBox* installed = m_messageBox;
    return installed != nullptr ? *installed : standardErrorBox.value;
}

SPW_Result SPW_CError::assertionFailed(const char* module, int line, const char* className, const char* method,
                                       const char* condition) {
    return report(module, line, className, method, 0, 0, u"assertion failed: " + SPW_CString(condition), kFatal);
}

void SPW_CError::userInfo(const char* module, int line, const char* className, const char* function,
                          const SPW_CString& message) {
    const Nesting nesting(*this);
    if (!nesting.isOutermost()) {
        return;
    }
    const Place place(module, line, className, function);
    SPW_CString record;
    record.format(u"%s. (th=0x%x) %s::%s in module %s:%d", u"USER_INFO", place.thread, place.className.text(),
                  place.method.text(), place.module.text(), place.line);
    appendMessage(record, message);
    writeToLog(record);
    if (m_noBox) {
        return;
    }
    SPW_CString text;
    if (place.method.isEmpty()) {
        text.format(u"CID: %s\nin module %s:%d", place.className.text(), place.module.text(), place.line);
    } else {
        text.format(u"CID: %s\nfunction: %s\nin module %s:%d", place.className.text(), place.method.text(),
                    place.module.text(), place.line);
    }
    text += u"\n\nMessage: " + message;
    (void)box().show(text, u"Info", SPW_CMessageBox::kOk, SPW_CMessageBox::kIconInformation);  // OK is all it offers
}

SPW_Result SPW_CError::trace(std::uint32_t levelMask, int kind, const char* module, int line, const char* className,
                             const char* method, const SPW_CString& message) {
    if (kind == kExit) {
        addTo(m_traceDepth.get(), -1);
    }
    SPW_Result result = kNotTraced;
    if (isTraced(levelMask)) {
        const Nesting nesting(*this);
        if (nesting.isOutermost()) {
            traceWanted(levelMask, kind, Place(module, line, className, method), message);
            result = kind >= kEntry && kind <= kNote ? 0 : kUnknownTraceKind;
        }
    }
    if (kind == kEntry) {
        addTo(m_traceDepth.get(), 1);
    }
    return result;
}

void SPW_CError::traceWanted(std::uint32_t levelMask, int kind, const Place& place, const SPW_CString& message) {
    SPW_CString record;
    record.format(u"TRACE %c %s::%s(th=0x%x) in module %s:%d", kindCharacter(kind), place.className.text(),
                  place.method.text(), place.thread, place.module.text(), place.line);
    appendMessage(record, message);
    const SPW_CString shortText = shortTraceText(message, place.thread);
    if ((levelMask & m_traceFileMask) != 0) {
        writeToLog(record);
    }
    if (m_consoleEcho) {
        echo(m_shortEcho ? shortText : record);
    }
    if (!shortText.isEmpty()) {
        notifyListeners(shortText, levelMask);
    }
}

void SPW_CError::notifyListeners(const SPW_CString& shortText, std::uint32_t levelMask) {
    SPW_CArray<Listener> interested;
    {
        const SPW_CGuard guard(m_listenerLock.get());
        SPW_CArray<Listener>& all = m_listeners.get();
        for (int i = 0; i < all.numberOfElements(); ++i) {
            if ((all[i].mask & levelMask) != 0) {
                interested.append(all[i]);
            }
        }
    }
    for (int i = 0; i < interested.numberOfElements(); ++i) {
        interested[i].object->notify(shortText, levelMask);
    }
}

void SPW_CError::addListener(SPW_CTraceListener* listener, std::uint32_t mask) {
    const SPW_CGuard guard(m_listenerLock.get());
    m_listeners.get().append(Listener{listener, mask});
    combineMasks();
}

SPW_Result SPW_CError::removeListener(SPW_CTraceListener* listener) {
    const SPW_CGuard guard(m_listenerLock.get());
    const int index = findListener(listener);
    if (index < 0) {
        return kListenerNotFound;
    }
    m_listeners.get().removeElementAt(index);
    combineMasks();
    return 0;
}

SPW_Result SPW_CError::setListenerMask(SPW_CTraceListener* listener, std::uint32_t mask) {
    const SPW_CGuard guard(m_listenerLock.get());
    const int index = findListener(listener);
    if (index < 0) {
        return kListenerNotFound;
    }
    m_listeners.get()[index].mask = mask;
    combineMasks();
    return 0;
}

void SPW_CError::setTraceFileMask(std::uint32_t mask) {
    const SPW_CGuard guard(m_listenerLock.get());
    m_traceFileMask = mask;
    combineMasks();
}

int SPW_CError::findListener(const SPW_CTraceListener* listener) {
    SPW_CArray<Listener>& all = m_listeners.get();
    for (int i = 0; i < all.numberOfElements(); ++i) {
        if (all[i].object == listener) {
            return i;
        }
    }
    return -1;
}

void SPW_CError::combineMasks() {
    std::uint32_t combined = m_traceFileMask;
    SPW_CArray<Listener>& all = m_listeners.get();
    for (int i = 0; i < all.numberOfElements(); ++i) {
        combined |= all[i].mask;
    }
    m_combinedMask = combined;
}

void SPW_CArrayIndexFailed(const char* condition, int line, const char* method) {
    (void)SPW_CError::instance->assertionFailed("..\\..\\..\\src\\SPW\\include\\SPW_CArray", line, "SPW_CArray", method,
                                                condition);  // fatal: there is no answer to act on
}
