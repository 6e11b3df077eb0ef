#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ButtonBar.h"
#include "Canvas.h"
#include "ChartTimes.h"
#include "Input.h"
#include "PeerList.h"
#include "PeerListView.h"
#include "QuestionBox.h"
#include "RowBoard.h"
#include "ScreenBox.h"
#include "ScreenCommands.h"
#include "StatusLine.h"
#include "TextBox.h"

// The whole screen without a terminal: title, buttons, peer list, status line and the boxes over them. It decides what
// each key and click does, and what is shown of the program's news. From 40 columns by 10 lines upwards everything can
// be reached. On smaller screens the edges are cut.
//
// Times are milliseconds of the clock of Stamp::monotonic100ns. Threads: one.
class Screen {
public:
    static constexpr std::int64_t kEndless = -1;

    // durationMs: how long a test may last, or kEndless. commands must outlive the screen.
    Screen(ScreenCommands& commands, std::int64_t durationMs);

    // --- What the program tells

    // The engine has been made. Before that nothing can be started. logFile: empty if nothing is logged.
    void ready(const SPW_CString& title, const SPW_CString& logFile);
    // Whether and where there is a log may change with every start.
    void showLog(const SPW_CString& logFile) { m_status.logFile = logFile; }
    // periodMs: between two probes of one kind to one peer.
    void testStarted(const SPW_CString& title, std::int32_t testNumber, std::int64_t periodMs);
    // Instead of testStarted(), when no test may run.
    void testRefused();
    void testStopped();
    // For the status line.
    void tell(const SPW_CString& event) { m_status.event = event; }
    // The text that askForInfo asked for. It is dropped if its box was closed meanwhile.
    void showInfo(const SPW_CString& text);
    // Shows a box over all others, after the messages that came before. message: a number that its answer will bear.
    void showMessage(int message, const SPW_CString& caption, const SPW_CString& text,
                     SPW_CMessageBox::Buttons buttons);
    // Enters what the board held. If tick() is due as well this comes first, because a period must have all of its
    // probes before it ends.
    void apply(const RowBoard::News& news);

    // --- Time

    // Must be called before anything else that happens at that time.
    void tick(std::int64_t nowMs);
    // How long until tick() has something to do.
    std::int64_t msUntilTick(std::int64_t nowMs) const;

    // --- The user

    void handle(const Input& input);
    // Presses a button as the user would. Does nothing if the button cannot be used.
    void press(ScreenButton button);
    bool isOver() const { return m_isOver; }
    // Returns true once after the user has asked for a drawing of the whole screen.
    bool takeRedrawRequest();

    void draw(Canvas& canvas);

    // For what is printed at the end.
    const StatusLine& status() const { return m_status; }

private:
    struct Message {
        int number;
        std::unique_ptr<QuestionBox> box;
    };
    enum BoxKind { kNoBox, kAddPeer, kInfo, kHelp, kDetail, kEvents };

    bool isUsable(int button) const;
    void startTest();
    void open(BoxKind kind, std::unique_ptr<ScreenBox> box);
    void openDetail();
    void openEvents();
    void handleKey(Input::Key key);
    void handleText(char32_t character);
    void handleClick(int x, int y);
    void answerFirstMessage();
    void sortByNextKey();
    void toggleFilter();
    void closePeriods(std::int64_t nowMs);

    void drawButtons(Canvas& canvas);
    SPW_CString filterText() const;
    void drawHint(Canvas& canvas, const Area& area);

    ScreenCommands& m_commands;
    const std::int64_t m_durationMs;

    SPW_CString m_title;
    StatusLine m_status;
    PeerList m_list;
    PeerListView m_view;
    ButtonBar m_buttons;
    std::unique_ptr<ScreenBox> m_box;
    BoxKind m_boxKind = kNoBox;
    std::vector<Message> m_messages;  // the first one is shown

    bool m_isReady = false;
    bool m_isOver = false;
    bool m_isRedrawWanted = false;
    std::int64_t m_nowMs = 0;
    std::int64_t m_startedMs = 0;
    ChartView m_chart;  // of the histories
    int m_probesPerColumn = 1;
    std::int64_t m_nextColumnMs = 0;
};
