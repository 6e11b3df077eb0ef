#pragma once

#include <windows.h>

#include "SPW_CString.h"

// A modal dialog made from a template of the program's resources. Derive, and say what its controls do.
//
// The shell, another program or a timer may end a dialog while another dialog or a box stands over it. The dialog then
// closes those first, and ends when they are gone and their calls have returned. Code that has opened one asks
// isEnding() afterwards.
//
// The focus never stays on a disabled control, because the dialog would receive no keys any more.
//
// Threads: everything happens on the thread that calls runModal, which is the user interface's. The object may be used
// for several runs, one after the other.
class Dialog {
public:
    explicit Dialog(int resource) : m_resource(resource) {}
    virtual ~Dialog() = default;
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    // What runModal answers when the dialog could not be made.
    static constexpr INT_PTR kNotMade = -1;

    // Shows the dialog and waits until it is closed. Answers what end() was given. Answers kNotMade where the dialog
    // could not be made; the user has then read that in a box.
    INT_PTR runModal() { return runModal(nullptr); }

protected:
    // The dialog's window exists, but is not shown yet.
    virtual void onInitialise() {}
    // A button was pressed, or Escape (IDCANCEL) or Enter (IDOK, or the default button). Not while the dialog is
    // ending.
    virtual void onCommand(int control) = 0;
    // Every other message. Answers whether it was handled; its sender then gets `result` as the answer.
    virtual bool onMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);
    // The dialog is about to end. Nothing stands over it any more, and its window still exists.
    virtual void onEnd() {}

    HWND window() const { return m_window; }
    HWND control(int id) const { return GetDlgItem(m_window, id); }
    // Ends the dialog at once, or as soon as nothing stands over it any more. The first call decides the result.
    void end(INT_PTR result);
    bool isEnding() const { return m_isEnding; }

    // This dialog cannot be used during these two.
    // Shows another one over this one and waits until it is closed.
    INT_PTR runInner(Dialog& inner);
    // Shows a message and waits until it was read. icon: MB_ICON...
    void say(const SPW_CString& text, UINT icon);

    SPW_CString textOf(int id) const;
    void setText(int id, const SPW_CString& text);
    void enable(int id) { (void)EnableWindow(control(id), TRUE); }
    // The focus moves to `next` if the control has it. `next` must be enabled.
    void disable(int id, int next);
    void setFocus(int id);

private:
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR runModal(HWND parent);
    INT_PTR runTemplate(HWND parent);
    void endNow();
    void leaveInner();
    void mendFocus();

    const int m_resource;
    HWND m_window = nullptr;
    int m_inner = 0;  // how many loops of dialogs and boxes over this one have not returned yet
    bool m_isEnding = false;
    INT_PTR m_result = 0;
};

// Shows a box with nothing but OK, under the program's name, and waits until it was read. owner may be null.
void showBox(HWND owner, const SPW_CString& text, UINT icon);

// The program's own file, by which the platform finds resources.
HINSTANCE programInstance();
// Makes the number of a resource into what stands for its name.
const wchar_t* resourceName(int number);
