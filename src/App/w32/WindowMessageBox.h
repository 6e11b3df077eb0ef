#pragma once

#include <windows.h>

#include <atomic>

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CError.h"
#include "SPW_CThread.h"
#include "ShownTexts.h"
#include "VTR_CEvent.h"

// Shows the reporter's message boxes. They are topmost windows without an owner, and the program's own windows can be
// used beside them.
//
// A box with only an OK button does not block the thread that reports. A probe that waited would count as lost, and
// could not be stopped. Such boxes come one after another on a thread of their own. The same text comes only once,
// because a cable that is out would otherwise show a box every period. A box with a choice blocks its thread until the
// user has answered. A fatal error ends the program only after the user has read everything.
//
// Threads: any thread may call show() and tell(). All else belongs to the thread that made the object. There is one
// object at a time.
class WindowMessageBox final : public SPW_CMessageBox, private SPW_CThread {
public:
    // Becomes the reporter's box, and ends the program after a fatal error.
    WindowMessageBox();
    // Closes the box on the screen. Messages that have not been shown are dropped.
    ~WindowMessageBox() override;

    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;
    // Shows a message of the program's own, with only an OK button. It is shown each time, because what the user has
    // tried again has failed again.
    void tell(const SPW_CString& text);

private:
    struct Message {
        SPW_CString text;
        SPW_CString caption;
        Icon icon = kIconError;
    };

    // Nobody reads more messages than that. The oldest are dropped first, because the last one may tell what ended the
    // program.
    static constexpr int kMostUnread = 64;

    static void exitAfterFatalError(int code);

    void step() override;
    void finish() override;

    void post(const Message& message);
    bool canPost();
    bool takeFirst(Message& message);
    void firstIsRead();
    bool isOwnThread() const { return m_threadId == currentId(); }
    void waitUntilRead();

    VTR_CEvent m_news;     // something may have to be shown, or the thread has to end
    VTR_CEvent m_allRead;  // set while no message is unread
    VTR_CEvent m_ended;
    std::atomic<std::uint32_t> m_threadId{0};  // of the thread that shows the boxes; 0 before it runs

    SPW_CCriticalSection m_lock;  // guards all below
    SPW_CArray<Message> m_unread;
    ShownTexts m_shown;
    bool m_isStarted = false;
    bool m_canStart = true;
};
