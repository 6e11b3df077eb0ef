#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "ConsoleMessageBox.h"
#include "ShownTexts.h"
#include "Wakeup.h"

// The reporter's message boxes on the terminal's screen. They come to the user one after another.
//
// A box that has nothing but OK keeps nobody waiting, since a probe that waited would look like one that is lost; and
// the same text is shown once, as elsewhere. One with a choice blocks its thread until the user has answered. On the
// screen's own thread, which could never answer itself, the choice is the one with which work goes on.
//
// Threads: show() and tell() any, the rest the one that made the object.
class ScreenMessageBox final : public SPW_CMessageBox {
public:
    struct Message {
        int number;
        SPW_CString caption;
        SPW_CString text;
        Buttons buttons;
    };

    // wakeup is woken when there is a message to take; it must outlive the box.
    explicit ScreenMessageBox(Wakeup& wakeup) : m_wakeup(wakeup) {}

    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;

    // A message of the program's own, with nothing but OK, that is shown as often as it is told: what the user did
    // again has failed again. Any thread.
    void tell(const SPW_CString& text, const SPW_CString& caption);

    // The messages that have come since the last call, as long as not too many are unanswered. The wakeup comes again
    // when there is room.
    std::vector<Message> take();
    void answer(int number, Answer answer);
    // There is no screen any more: nobody is kept waiting from here on, and what has not been read yet, and all that
    // follows, goes to standard error.
    void close();

    // Blocks until everything that was to be read has been, or close(). Any thread; on the screen's, returns at once.
    void waitUntilRead();

private:
    // Boxes that nobody closes must not fill the memory. A few go to the screen; of those behind them the oldest is
    // dropped, since the latest may say why the program ends.
    static constexpr std::size_t kMostOnScreen = 16;
    static constexpr std::size_t kMostUntaken = 64;

    void dropOldestUntaken();
    int post(const SPW_CString& text, const SPW_CString& caption, Buttons buttons);
    bool isScreenThread() const { return std::this_thread::get_id() == m_screenThread; }

    Wakeup& m_wakeup;
    const std::thread::id m_screenThread = std::this_thread::get_id();
    ConsoleMessageBox m_console;

    std::mutex m_lock;  // guards all below
    std::condition_variable m_changed;
    std::map<int, Message> m_unanswered;
    std::map<int, Answer> m_answers;  // for those who wait
    std::vector<Message> m_untaken;
    ShownTexts m_shown;
    int m_lastNumber = 0;
    bool m_isClosed = false;
};
