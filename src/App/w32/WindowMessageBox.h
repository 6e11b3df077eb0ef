#pragma once

#include <windows.h>

#include <atomic>

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CError.h"
#include "SPW_CThread.h"
#include "ShownTexts.h"
#include "VTR_CEvent.h"

// The reporter's message boxes as windows, topmost and nobody's, so that the program's own can be used beside them.
//
// A box that has nothing but OK keeps nobody waiting, since a probe that waited would look like one that is lost, and
// could not be stopped. Such boxes come to the user one after another on a thread of their own, and the same text comes
// once: a cable that is out would otherwise ask for the same OK every period. One with a choice blocks its thread until
// the user has answered. Before a fatal error ends the program the user has read everything.
//
// Threads: show() and tell() any, the rest the one that made the object. There is one object at a time.
class WindowMessageBox final : public SPW_CMessageBox, private SPW_CThread {
public:
    // Becomes the reporter's box, and what ends the program after a fatal error.
    WindowMessageBox();
    // Closes the box that stands; what has not been shown yet never is.
    ~WindowMessageBox() override;

    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;
    // A message of the program's own, with nothing but OK, that is shown as often as it is told: what the user did
    // again has failed again.
    void tell(const SPW_CString& text);

private:
    struct Message {
        SPW_CString text;
        SPW_CString caption;
        Icon icon = kIconError;
    };

    // More messages than that nobody reads. What comes first goes first: the last one may be what ended the program.
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

    VTR_CEvent m_news;     // there may be something to show, or to end for
    VTR_CEvent m_allRead;  // set while no message is unread
    VTR_CEvent m_ended;
    std::atomic<std::uint32_t> m_threadId{0};  // of the thread that shows the boxes; 0 before it runs

    SPW_CCriticalSection m_lock;  // guards all below
    SPW_CArray<Message> m_unread;
    ShownTexts m_shown;
    bool m_isStarted = false;
    bool m_canStart = true;
};
