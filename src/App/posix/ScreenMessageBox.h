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
// A box that has only OK keeps nobody waiting, because a probe that waited would look like a lost one. The same text is
// shown once, as elsewhere. A box with a choice blocks its thread until the user has answered. The screen's own thread
// could never answer itself; there the answer is the choice with which work goes on.
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

    // wakeup is woken when there is a message to take. It must outlive the box.
    explicit ScreenMessageBox(Wakeup& wakeup) : m_wakeup(wakeup) {}

    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;

    // A message of the program's own with only OK. It is shown as often as it is told, because what the user did again
    // has failed again. Any thread.
    void tell(const SPW_CString& text, const SPW_CString& caption);

    // Returns the messages that have come since the last call, unless too many are unanswered. The wakeup comes again
    // when there is room.
    std::vector<Message> take();
    void answer(int number, Answer answer);
    // Says that there is no screen any more. From here on nobody is kept waiting. Messages that have not been read yet,
    // and all that follow, go to standard error.
    void close();

    // Blocks until all messages have been read or close() is called. Any thread. On the screen's thread it returns at
    // once.
    void waitUntilRead();

private:
    // Boxes that nobody closes must not fill the memory. A few go to the screen. Of those that wait behind them the
    // oldest is dropped, because the latest may say why the program ends.
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
