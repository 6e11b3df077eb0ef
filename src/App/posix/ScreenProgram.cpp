#include "ScreenProgram.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "Console.h"
#include "ExitStatus.h"
#include "NowMs.h"
#include "PatientPoll.h"
#include "SnapshotText.h"

bool canShowScreen(const CommandLine& options) {
    if (options.headless || isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        return false;
    }
    if (!options.eventFile.isEmpty() || !options.changeProgram.isEmpty()) {
        complain(u"-events and -onchange go without a screen, as with -headless");
        return false;
    }
    const SPW_CString unfitness = Terminal::unfitness();
    if (unfitness.isEmpty()) {
        return true;
    }
    complain(unfitness + u"; going on without a screen, as with -headless");
    return false;
}

ScreenProgram::ScreenProgram(const CommandLine& options, Terminal& terminal, Signals& signals, StandardOutput& output,
                             Wakeup& wakeup)
    : m_options(options),
      m_terminal(terminal),
      m_signals(signals),
      m_output(output),
      m_wakeup(wakeup),
      m_worker(options, m_wakeup, m_box, m_endWatch),
      m_screen(m_worker, options.hasDuration ? options.durationMs : Screen::kEndless) {}

// The status is 0 after a screen, because the user has seen the result.
int ScreenProgram::run() {
    if (!m_worker.isReady()) {
        m_terminal.close();
        complain(u"cannot start: the system refuses a thread");
        return kTestFailed;
    }
    m_endWatch.screenBegins();
    m_pace.request();
    while (!isOver()) {
        drawIfDue();
        waitForSomething();
    }
    m_terminal.close();
    m_endWatch.screenEnds();
    m_fatalExit.screenIsGone();
    m_signals.endBegins();
    m_worker.finish();
    const bool isPrinted = printLastTable();
    const bool isLogDone = m_endWatch.waitForLog();
    if (!isPrinted || !isLogDone) {
        _exit(EXIT_SUCCESS);
    }
    return EXIT_SUCCESS;
}

// 1. The time goes first, because all that follows happens now. A test that is told to run begins only now, however
// long the wait was.
// 2. The signals go next, because their senders wait.
// 3. The engine's news goes before the keys. A key then finds the state in which it was pressed, or a later one.
// 4. The keys.
void ScreenProgram::waitForSomething() {
    pollfd sources[] = {{STDIN_FILENO, POLLIN, 0}, {m_wakeup.descriptor(), POLLIN, 0}};
    (void)patientPoll(sources, std::size(sources), msUntilSomethingIsDue());
    passTime();
    if (m_wakeup.isSet()) {
        m_wakeup.clear();
        obeySignals();
        takeNews();
    }
    if (sources[0].revents != 0) {
        readInput();
    }
    if ((sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        m_isTerminalGone = true;
    }
}

void ScreenProgram::passTime() {
    const std::int64_t now = nowMs();
    if (m_screen.msUntilTick(now) == 0) {
        m_screen.apply(m_worker.board().take());
        m_pace.request();
    }
    m_screen.tick(now);
}

int ScreenProgram::msUntilSomethingIsDue() const {
    const std::int64_t now = nowMs();
    std::int64_t due = m_screen.msUntilTick(now);
    if (m_pace.isRequested()) {
        due = std::min(due, m_pace.msUntilDue(now));
    }
    return static_cast<int>(due);
}

void ScreenProgram::obeySignals() {
    for (int number = m_signals.next(); number != 0; number = m_signals.next()) {
        obeySignal(number);
        m_pace.request();
    }
}

void ScreenProgram::obeySignal(int number) {
    switch (number) {
        case SIGUSR1:
            m_screen.press(kLogButton);
            break;
        case SIGUSR2:
            m_screen.press(kResetButton);
            break;
        case SIGTSTP:
            m_terminal.suspend();
            break;
        case SIGCONT:
            m_terminal.redrawAll();
            break;
        case SIGWINCH:
            m_terminal.takeSize();
            break;
        default:
            m_screen.press(kQuitButton);
            break;
    }
}

void ScreenProgram::takeNews() {
    const std::vector<EngineWorker::News> news = m_worker.takeNews();
    // The rows go first. A test's first rows are thus there before the screen hears that it runs.
    if (!news.empty()) {
        m_screen.apply(m_worker.board().take());
    }
    for (const EngineWorker::News& each : news) {
        each(m_screen);
    }
    for (const ScreenMessageBox::Message& message : m_box.take()) {
        m_screen.showMessage(message.number, message.caption, message.text, message.buttons);
    }
    m_pace.request();
}

void ScreenProgram::readInput() {
    Input input;
    while (!m_screen.isOver() && m_terminal.read(input)) {
        m_screen.handle(input);
    }
    if (m_screen.takeRedrawRequest()) {
        m_terminal.redrawAll();
    }
    m_pace.request();
}

void ScreenProgram::drawIfDue() {
    const std::int64_t now = nowMs();
    if (!m_pace.isDue(now)) {
        return;
    }
    m_screen.apply(m_worker.board().take());
    Canvas canvas(m_terminal.width(), m_terminal.height(), m_terminal.glyphs());
    m_screen.draw(canvas);
    m_terminal.show(canvas);
    m_pace.drawn(now);
}

// Prints nothing if no test was ever run. A terminal that is stopped may stay stopped. If somebody then asks for the
// end once more, it returns false.
bool ScreenProgram::printLastTable() {
    constexpr std::uint32_t kPatienceMs = 2000;
    if (m_worker.lastTest() == 0) {
        return true;
    }
    const SnapshotOf last = {m_worker.lastTest(), m_screen.status().elapsedSeconds, true};
    m_output.print(headerText(m_options) + snapshotText(m_options, SnapshotTaker().take(m_worker.engine(), last)));
    while (!m_output.waitUntilWritten(kPatienceMs)) {
        if (m_signals.isStopRequested()) {
            return false;
        }
    }
    return true;
}
