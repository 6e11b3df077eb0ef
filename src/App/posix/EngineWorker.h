#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "CommandLine.h"
#include "EndWatch.h"
#include "HelperThread.h"
#include "RowBoard.h"
#include "Screen.h"
#include "ScreenCommands.h"
#include "ScreenMessageBox.h"
#include "TestEngine.h"
#include "Wakeup.h"

// Owns the test engine and does what the screen's user asks for, one thing after another, on a thread of its own.
// Starting and stopping may take seconds, and the screen goes on meanwhile. The results go back to the screen as news.
//
// Threads: all functions are for the screen's thread. The engine tells the board on any thread.
class EngineWorker final : public ScreenCommands, private RowBoard::Listener {
public:
    using News = std::function<void(Screen&)>;

    // Makes the engine, with the peers of the options. `wakeup` is woken when there is something to take. All four must
    // outlive the worker.
    EngineWorker(const CommandLine& options, Wakeup& wakeup, ScreenMessageBox& box, EndWatch& endWatch);
    ~EngineWorker() override;

    // False if the system has refused the thread. Then nothing is done.
    bool isReady() const { return m_thread.isRunning(); }
    void startTest() override;
    void stopTest() override;
    void resetStatistics() override;
    void logReport() override;
    void addPeer(const PeerRecord& peer) override;
    void knownAddresses(SPW_CArray<SPW_CString>& addresses) const override;
    [[nodiscard]] bool insight(std::int32_t row, PeerInsightValues& values) const override;
    std::uint32_t eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const override;
    void askForInfo() override;
    void answerMessage(int message, SPW_CMessageBox::Answer answer) override;

    // What the screen is to be told, in order.
    std::vector<News> takeNews();
    RowBoard& board() { return m_board; }

    // Ends the thread after it has done all that was asked for. A report for the log, for example, is written even if
    // the user quits at once. The engine stays as it is.
    void finish();
    // After finish() only.
    TestEngine& engine() { return *m_engine; }
    // The number of the test that runs or ran last; 0 when there was none. After finish() only.
    std::int32_t lastTest() const { return m_lastTest; }

private:
    void boardChanged() override { m_wakeup.wake(); }

    void work();
    void ask(std::function<void()> task);
    void tell(News news);
    void tellEvent(const SPW_CString& event);
    void makeEngine();
    void addPeers();
    void start();
    void begin();
    void stop();
    SPW_CArray<StartProblem> problems() const;
    void tellProblems();
    SPW_CString openLog() const;

    const CommandLine& m_options;
    Wakeup& m_wakeup;
    ScreenMessageBox& m_box;
    EndWatch& m_endWatch;
    RowBoard m_board;
    std::unique_ptr<TestEngine> m_engine;  // made by the thread
    std::int32_t m_lastTest = 0;           // the thread's

    std::mutex m_lock;  // guards the three below
    std::deque<std::function<void()>> m_tasks;
    std::vector<News> m_news;
    bool m_isFinished = false;
    std::condition_variable m_asked;
    HelperThread m_thread;  // the last: it uses all the others
};
