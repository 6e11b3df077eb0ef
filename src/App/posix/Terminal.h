#pragma once

#include <termios.h>

#include <string>

#include "Canvas.h"
#include "Input.h"
#include "SPW_CString.h"

struct screen;  // of ncurses

// The terminal on standard input and output: shows canvases and reads keys and the mouse, by ncurses.
//
// From open() to close() the screen is the program's. Whatever ends the program in between, the terminal is put back
// (TerminalRescue). Threads: one. A process has one.
class Terminal {
public:
    Terminal() = default;
    ~Terminal() { close(); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Empty, or why no screen can be shown on this terminal. To be asked before open().
    static SPW_CString unfitness();

    // False when the terminal refuses; it is as before then.
    [[nodiscard]] bool open();
    // Puts the terminal back as it was before open(). May be called twice.
    void close();
    // Gives the terminal back and stops the process, as Ctrl-Z asks; returns when it goes on, with the screen as it
    // was.
    void suspend();
    // After something else has drawn, or changed the terminal's modes: the next show() draws everything.
    void redrawAll();
    // After the window's size has changed.
    void takeSize();

    int width() const;
    int height() const;
    const Glyphs& glyphs() const { return *m_glyphs; }
    void show(const Canvas& canvas);
    // False when nothing is there to be read.
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
