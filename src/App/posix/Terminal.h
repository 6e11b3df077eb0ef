#pragma once

#include <termios.h>

#include <string>

#include "Canvas.h"
#include "Input.h"
#include "SPW_CString.h"

struct screen;  // of ncurses

// The terminal on standard input and output: shows canvases and reads keys and the mouse, by ncurses.
//
// From open() to close() the screen is the program's. TerminalRescue puts the terminal back, whatever ends the program
// in between. Threads: one. A process has one object.
class Terminal {
public:
    Terminal() = default;
    ~Terminal() { close(); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Returns why no screen can be shown on this terminal, or an empty text if one can. Must be asked before open().
    static SPW_CString unfitness();

    // Returns false if the terminal refuses. Then it is as before.
    [[nodiscard]] bool open();
    // Puts the terminal back as it was before open(). May be called twice.
    void close();
    // Gives the terminal back and stops the process, as Ctrl-Z asks. Returns when the process goes on, with the screen
    // as it was.
    void suspend();
    // Must be called after something else has drawn or has changed the terminal's modes. The next show() then draws
    // everything.
    void redrawAll();
    // Must be called after the window's size has changed.
    void takeSize();

    int width() const;
    int height() const;
    const Glyphs& glyphs() const { return *m_glyphs; }
    void show(const Canvas& canvas);
    // Returns false if there is nothing to read.
    [[nodiscard]] bool read(Input& input);

private:
    void setModes();
    void setColours();
    std::string leavingSequence() const;
    void leaveScreen();
    void showCell(const Canvas::Cell& cell, int x, int y);

    screen* m_screen = nullptr;  // while it is open
    bool m_canSuspend = false;
    bool m_hasColours = false;
    const Glyphs* m_glyphs = &kAsciiGlyphs;
    termios m_formerModes{};
    Canvas m_shown{0, 0, kAsciiGlyphs};
};
