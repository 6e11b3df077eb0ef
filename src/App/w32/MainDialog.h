#pragma once

#include <atomic>
#include <memory>

#include "CommandLine.h"
#include "Dialog.h"
#include "RowTable.h"
#include "TestEngine.h"
#include "UiSink.h"
#include "WindowMessageBox.h"

// The program's window: buttons that drive the test engine, and a list with one row per peer. It owns the engine while
// it is shown: the engine is there from the window's first moment to its last.
//
// Threads: runModal and all of the window on one thread, the user interface's. updatePeerRow and rowGivenUp may be
// called on any thread at any time; they post to the window and return, so that nobody waits for the screen.
class MainDialog final : public Dialog, private UiSink {
public:
    // options: the peers to add and how long a test may last. box: shows what the user must know. Both must outlive the
    // dialog.
    MainDialog(const CommandLine& options, WindowMessageBox& box);
    ~MainDialog() override;

protected:
    void onInitialise() override;
    void onCommand(int control) override;
    bool onMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
    void onEnd() override;

private:
    void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                       std::int32_t total) override;
    void rowGivenUp(const PeerRowValues& row) override;

    void makeColumns();
    void makeEngine();
    void tellProblems();
    bool isLogInUse() const;
    void showTitle();
    void fitScreen();
    void makeSizeable();
    void fitList();

    void startTest();
    void stopTest();
    void addPeer();
    void showInfo();

    void post(const RowUpdate& update);
    void applyUpdate(const RowUpdate& update);
    void removeRow(const SPW_CString& label);
    void showRow(const RowPlace& place, int column);
    void dropPendingUpdates();

    const CommandLine& m_options;
    WindowMessageBox& m_box;
    const bool m_isHandheld;
    std::unique_ptr<TestEngine> m_engine;
    // Where updates are posted to; null before and after the window, when they are dropped.
    std::atomic<HWND> m_target{nullptr};
    RowTable m_rows;
    SIZE m_smallest{};  // of the whole window, as the template has it
};
