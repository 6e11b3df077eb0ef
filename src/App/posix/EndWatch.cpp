#include "EndWatch.h"

#include <unistd.h>

#include "Console.h"
#include "ExitStatus.h"
#include "SPW_CClock.h"
#include "TerminalRescue.h"

namespace {

constexpr std::uint32_t kLogLookMs = 5;

std::int64_t nowMs() {
    constexpr std::uint64_t kMs = 10000;  // 100-ns units
    return static_cast<std::int64_t>(SPW_CClock::instance->now100ns() / kMs);
}

}  // namespace

EndWatch::EndWatch(Signals& signals) : m_signals(signals) {
    signals.setWatcher([this] { look(); });
}

EndWatch::~EndWatch() {
    m_signals.setWatcher({});
}

void EndWatch::startBegins() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isStarting = true;
    m_startLookMs = 0;
}

void EndWatch::startEnds() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isStarting = false;
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
            if (m_engine == nullptr)
                return true;
            if (m_isLogGivenUp)
                break;
            const LogProgress progress = m_engine->logProgress();
            if (progress.written == progress.taken) {
                m_engine = nullptr;
                return true;
            }
        }
        SPW_CClock::instance->sleepMs(kLogLookMs);
    }
    complain(SPW_CString(u"the log ") + m_engine->logFilePath() + u" takes no lines; its last ones are lost");
    return false;
}

void EndWatch::look() {
    const std::lock_guard<std::mutex> guard(m_lock);
    const std::int64_t now = nowMs();
    if (m_isStarting) {
        m_startLookMs = m_startLookMs == 0 ? now : m_startLookMs;
        if (now - m_startLookMs >= kStartPatienceMs) {
            TerminalRescue::restore();
            complain(u"stopped before the test could start: it waits for its settings, its log or a name server");
            _exit(kTestFailed);
        }
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
