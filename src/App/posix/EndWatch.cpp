#include "EndWatch.h"

#include <unistd.h>

#include <cstdlib>

#include "Console.h"
#include "ExitStatus.h"
#include "NowMs.h"
#include "SPW_CClock.h"
#include "TerminalRescue.h"

namespace {

constexpr std::uint32_t kLogLookMs = 5;

}  // namespace

EndWatch::EndWatch(Signals& signals) : m_signals(signals) {
    signals.setWatcher([this] { look(); });
}

EndWatch::~EndWatch() {
    m_signals.setWatcher({});
}

void EndWatch::startBegins() {
    setPhase(m_start, true);
}

void EndWatch::startEnds() {
    setPhase(m_start, false);
}

void EndWatch::screenBegins() {
    setPhase(m_screen, true);
}

void EndWatch::screenEnds() {
    setPhase(m_screen, false);
}

void EndWatch::setPhase(Phase& phase, bool isOn) {
    const std::lock_guard<std::mutex> guard(m_lock);
    phase = Phase();
    phase.isOn = isOn;
}

bool EndWatch::lastsTooLong(Phase& phase, std::int64_t now) {
    if (phase.firstLookMs == 0) {
        phase.firstLookMs = now;
    }
    return phase.isOn && now - phase.firstLookMs >= kPhasePatienceMs;
}

void EndWatch::lookAtLogOf(TestEngine& engine) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_engine = &engine;
}

bool EndWatch::waitForLog() {
    m_signals.endBegins();
    for (;;) {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (m_engine == nullptr) {
                return true;
            }
            if (m_isLogGivenUp) {
                break;
            }
            const LogProgress progress = m_engine->logProgress();
            if (progress.written == progress.taken) {
                m_engine = nullptr;
                return true;
            }
        }
        SPW_CClock::instance->sleepMs(kLogLookMs);
    }
    complain(SPW_CString(u"the log ") + m_engine->logFilePath() + u" takes no lines; its last ones are lost");
    SPW_CString count(u"of the log ");
    count += static_cast<unsigned long>(m_engine->logProgress().missing());
    complain(count + u" lines are lost");
    return false;
}

void EndWatch::look() {
    const std::lock_guard<std::mutex> guard(m_lock);
    const std::int64_t now = nowMs();
    if (lastsTooLong(m_start, now)) {
        TerminalRescue::restore();
        complain(u"stopped before the test could start: it waits for its settings, its log or a name server");
        _exit(kTestFailed);
    }
    if (lastsTooLong(m_screen, now)) {
        TerminalRescue::restore();
        complain(u"stopped without a last table: the terminal takes nothing");
        _exit(EXIT_FAILURE);
    }
    if (m_engine != nullptr && !m_isLogGivenUp && !isLogTakingLines(now)) {
        m_isLogGivenUp = true;
        m_engine->giveUpLog();
    }
}

// An idle log counts as one that takes lines.
bool EndWatch::isLogTakingLines(std::int64_t now) {
    const LogProgress progress = m_engine->logProgress();
    if (m_logLookMs == 0 || progress.written == progress.taken || progress.written != m_writtenLines) {
        m_logLookMs = now;
        m_writtenLines = progress.written;
    }
    return now - m_logLookMs < kLogPatienceMs;
}
