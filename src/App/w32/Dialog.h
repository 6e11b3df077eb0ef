#pragma once

#include <windows.h>

#include "SPW_CString.h"

// A modal dialog made from a template of the program's resources. Derive, and say what its controls do.
//
// Threads: everything happens on the thread that calls runModal, which is the user interface's. The object may be used
// for several runs, one after the other.
class Dialog {
public:
    explicit Dialog(int resource) : m_resource(resource) {}
    virtual ~Dialog() = default;
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    // Shows the dialog and waits until it is closed: what end() was given, or -1 when it could not be made.
    // parent may be null; else it cannot be used meanwhile.
    INT_PTR runModal(HWND parent);

protected:
    // The dialog's window is there, but not yet shown.
    virtual void onInitialise() {}
    // A button was pressed, or Escape (IDCANCEL) or Enter (IDOK, or the default button).
    virtual void onCommand(int control) = 0;
    // Every other message. True when it was understood; `result` is then what its sender is answered.
    virtual bool onMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);

    HWND window() const { return m_window; }
    HWND control(int id) const { return GetDlgItem(m_window, id); }
    void end(INT_PTR result) { (void)EndDialog(m_window, result); }

    SPW_CString textOf(int id) const;
    void setText(int id, const SPW_CString& text);
    void enable(int id, bool on) { (void)EnableWindow(control(id), on ? TRUE : FALSE); }

private:
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);

    const int m_resource;
    HWND m_window = nullptr;
};

// The program's own file, as the platform wants to know it for resources.
HINSTANCE programInstance();
// The number of a resource in place of its name.
const wchar_t* resourceName(int number);
