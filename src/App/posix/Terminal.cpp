#include "Terminal.h"

#include <langinfo.h>
#include <locale.h>
#include <ncurses.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <term.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

#include <cstdlib>
#include <cstring>

#include "DisplayWidth.h"
#include "TerminalRescue.h"

// term.h defines these as macros. Here they are names like any other.
#undef columns
#undef lines

namespace {

constexpr short kWarningPair = 1;
constexpr short kFailurePair = 2;
constexpr int kEscapeDelayMs = 25;  // how long ESC waits for the rest of a key's sequence
constexpr wint_t kControlL = 12;
constexpr mmask_t kPresses = BUTTON1_PRESSED | BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED | BUTTON1_TRIPLE_CLICKED;

bool isUtf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool wantsNoColour() {
    const char* const value = std::getenv("NO_COLOR");
    return value != nullptr && *value != '\0';
}

const char* terminalName() {
    const char* const name = std::getenv("TERM");
    return name == nullptr ? "" : name;
}

// What the terminal's description says, or null.
const char* capability(const char* name) {
    const char* const text = tigetstr(name);
    return text == reinterpret_cast<char*>(-1) ? nullptr : text;
}

attr_t attributesOf(Style style, bool hasColours) {
    attr_t attributes = A_NORMAL;
    switch (style.look) {
        case Look::kTitle:
            attributes = A_REVERSE | A_BOLD;
            break;
        case Look::kHeader:
        case Look::kBoxTitle:
        case Look::kField:
            attributes = A_BOLD;
            break;
        case Look::kHotkey:
            attributes = A_BOLD | A_UNDERLINE;
            break;
        case Look::kDimmed:
            attributes = A_DIM;
            break;
        case Look::kFailure:
            attributes = A_BOLD | (hasColours ? COLOR_PAIR(kFailurePair) : 0);
            break;
        case Look::kWarning:
            attributes = hasColours ? COLOR_PAIR(kWarningPair) : A_NORMAL;
            break;
        case Look::kStatus:
            attributes = A_REVERSE;
            break;
        case Look::kPlain:
        case Look::kButton:
        case Look::kBox:
            break;
    }
    return style.isReversed ? attributes ^ A_REVERSE : attributes;
}

Input::Key keyOf(wint_t code) {
    switch (code) {
        case KEY_UP:
            return Input::kUp;
        case KEY_DOWN:
            return Input::kDown;
        case KEY_LEFT:
            return Input::kLeft;
        case KEY_RIGHT:
            return Input::kRight;
        case KEY_PPAGE:
            return Input::kPageUp;
        case KEY_NPAGE:
            return Input::kPageDown;
        case KEY_HOME:
            return Input::kHome;
        case KEY_END:
            return Input::kEnd;
        case KEY_ENTER:
            return Input::kEnter;
        case KEY_BTAB:
            return Input::kBackTab;
        case KEY_BACKSPACE:
            return Input::kBackspace;
        case KEY_DC:
            return Input::kDelete;
        default:
            return Input::kNoKey;
    }
}

Input inputOfCharacter(wint_t character) {
    switch (character) {
        case L'\r':
        case L'\n':
            return Input::ofKey(Input::kEnter);
        case L'\t':
            return Input::ofKey(Input::kTab);
        case 27:
            return Input::ofKey(Input::kEscape);
        case 8:
        case 127:
            return Input::ofKey(Input::kBackspace);
        case kControlL:
            return Input::ofKey(Input::kRedraw);
        default:
            return iswprint(character) != 0 ? Input::ofText(character) : Input::ofKey(Input::kNoKey);
    }
}

Input inputOfMouse() {
    MEVENT event;
    if (getmouse(&event) != OK) {
        return Input::ofKey(Input::kNoKey);
    }
    if ((event.bstate & kPresses) != 0) {
        return Input::ofMouse(Input::kClick, event.x, event.y);
    }
    if ((event.bstate & BUTTON4_PRESSED) != 0) {
        return Input::ofMouse(Input::kWheelUp, event.x, event.y);
    }
    if ((event.bstate & BUTTON5_PRESSED) != 0) {
        return Input::ofMouse(Input::kWheelDown, event.x, event.y);
    }
    return Input::ofKey(Input::kNoKey);
}

}  // namespace

SPW_CString Terminal::unfitness() {
    int error = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &error) != OK) {
        const bool hasName = *terminalName() != '\0';
        return hasName ? SPW_CString(u"the terminal \"") + terminalName() + u"\" (TERM) is not known"
                       : SPW_CString(u"TERM does not say what terminal this is");
    }
    const bool hasScreen = capability("cup") != nullptr && capability("clear") != nullptr;
    del_curterm(cur_term);
    if (!hasScreen) {
        return SPW_CString(u"the terminal \"") + terminalName() + u"\" (TERM) has no screen";
    }
    return SPW_CString();
}

bool Terminal::open() {
    setlocale(LC_CTYPE, "");
    m_glyphs = isUtf8() ? &kUnicodeGlyphs : &kAsciiGlyphs;
    struct sigaction action;
    m_canSuspend = sigaction(SIGTSTP, nullptr, &action) == 0 && action.sa_handler != SIG_IGN;
    if (tcgetattr(STDIN_FILENO, &m_formerModes) != 0) {
        return false;
    }
    use_tioctl(TRUE);
    m_screen = newterm(nullptr, stdout, stdin);
    if (m_screen == nullptr) {
        return false;
    }
    TerminalRescue::arm(STDOUT_FILENO, m_formerModes, leavingSequence());
    setModes();
    setColours();
    takeSize();
    return true;
}

void Terminal::setModes() {
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(kEscapeDelayMs);
    // All events are asked for, though few are used. After an event that is not asked for, ncurses would wait for
    // another one, and the program would wait with it. A press and a release that come together are one click.
    mousemask(ALL_MOUSE_EVENTS, nullptr);
    mouseinterval(0);
    // Ctrl-S would stop the terminal. The program could then no longer answer a signal.
    termios modes;
    if (tcgetattr(STDIN_FILENO, &modes) == 0) {
        modes.c_iflag &= ~static_cast<tcflag_t>(IXON);
        tcsetattr(STDIN_FILENO, TCSANOW, &modes);
        def_prog_mode();
    }
}

void Terminal::setColours() {
    if (wantsNoColour() || !has_colors()) {
        return;
    }
    start_color();
    use_default_colors();
    init_pair(kWarningPair, COLOR_YELLOW, -1);
    init_pair(kFailurePair, COLOR_RED, -1);
    m_hasColours = true;
}

// Returns what a handler that cannot ask ncurses any more writes to the terminal. It puts back attributes and colours,
// keypad, mouse, cursor and the screen itself.
std::string Terminal::leavingSequence() const {
    std::string sequence;
    for (const char* name : {"sgr0", "op", "rmkx", "cnorm", "rmcup"}) {
        const char* const text = capability(name);
        if (text != nullptr) {
            sequence += text;
        }
    }
    if (capability("kmous") != nullptr) {
        sequence += "\033[?1006l\033[?1000l";
    }
    return sequence;
}

// A terminal with only one screen keeps what was drawn. The next prompt then comes on its last line.
void Terminal::leaveScreen() {
    if (capability("rmcup") == nullptr) {
        move(LINES - 1, 0);
        clrtoeol();
        refresh();
    }
    endwin();
    tcsetattr(STDIN_FILENO, TCSADRAIN, &m_formerModes);
}

void Terminal::close() {
    if (m_screen == nullptr) {
        return;
    }
    leaveScreen();
    delscreen(m_screen);
    m_screen = nullptr;
    TerminalRescue::disarm();
}

// The signal is the one that Ctrl-Z sends. It does not stop a process that nobody could ever continue.
void Terminal::suspend() {
    if (!m_canSuspend) {
        return;
    }
    leaveScreen();
    struct sigaction stopping = {};
    stopping.sa_handler = SIG_DFL;
    struct sigaction former;
    sigaction(SIGTSTP, &stopping, &former);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTSTP);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(SIGTSTP);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    sigaction(SIGTSTP, &former, nullptr);
    // If modes were changed meanwhile, the terminal is put back to the changed ones at the end.
    (void)tcgetattr(STDIN_FILENO, &m_formerModes);
    redrawAll();
}

void Terminal::redrawAll() {
    endwin();
    reset_prog_mode();
    takeSize();
    clearok(curscr, TRUE);
    m_shown = Canvas(0, 0, *m_glyphs);
}

void Terminal::takeSize() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        resizeterm(size.ws_row, size.ws_col);
    }
}

int Terminal::width() const {
    return COLS;
}

int Terminal::height() const {
    return LINES;
}

void Terminal::show(const Canvas& canvas) {
    const bool isSameSize = canvas.width() == m_shown.width() && canvas.height() == m_shown.height();
    if (!isSameSize) {
        erase();
    }
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const Canvas::Cell& cell = canvas.cell(x, y);
            if (!cell.isRightHalf && (!isSameSize || cell != m_shown.cell(x, y))) {
                showCell(cell, x, y);
            }
        }
    }
    m_shown = canvas;
    if (canvas.hasCursor()) {
        move(canvas.cursorY(), canvas.cursorX());
    }
    curs_set(canvas.hasCursor() ? 1 : 0);
    wnoutrefresh(stdscr);
    doupdate();
}

// The canvas and the system's library may differ about the width of a character. Such a character is shown as "?" in
// its cell, and what follows stays in its place.
void Terminal::showCell(const Canvas::Cell& cell, int x, int y) {
    const auto character = static_cast<wchar_t>(cell.character);
    const int columns = displayWidth(cell.character);
    wchar_t text[2 + Canvas::Cell::kMarks] = {character};
    const bool isShowable = iswprint(static_cast<wint_t>(character)) != 0 && wcwidth(character) == columns;
    if (!isShowable) {
        text[0] = L'?';
    }
    std::size_t length = 1;
    for (const char32_t mark : cell.marks) {
        if (isShowable && mark != 0 && wcwidth(static_cast<wchar_t>(mark)) == 0) {
            text[length++] = static_cast<wchar_t>(mark);
        }
    }
    const attr_t attributes = attributesOf(cell.style, m_hasColours);
    cchar_t complex;
    setcchar(&complex, text, attributes & ~A_COLOR, static_cast<short>(PAIR_NUMBER(attributes)), nullptr);
    mvadd_wch(y, x, &complex);
    if (!isShowable && columns == 2) {
        mvaddch(y, x + 1, ' ' | (attributes & ~A_COLOR));
    }
}

bool Terminal::read(Input& input) {
    wint_t code = 0;
    const int kind = get_wch(&code);
    if (kind == ERR) {
        return false;
    }
    if (kind == KEY_CODE_YES) {
        input = code == KEY_MOUSE ? inputOfMouse() : Input::ofKey(keyOf(code));
    } else {
        input = inputOfCharacter(code);
    }
    return true;
}
