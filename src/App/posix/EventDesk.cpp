#include "EventDesk.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "EventObject.h"
#include "EventText.h"
#include "JsonText.h"
#include "SPW_CClock.h"

namespace {

std::uint64_t in100ns(std::int64_t ms) {
    constexpr std::uint64_t kMillisecond100ns = 10000;
    return static_cast<std::uint64_t>(ms) * kMillisecond100ns;
}

bool wantsEvents(const CommandLine& options) {
    return options.format == CommandLine::kEvents || !options.eventFile.isEmpty() || !options.changeProgram.isEmpty() ||
           options.hasMaximumSilence;
}

}  // namespace

EventDesk::EventDesk(const CommandLine& options, StandardOutput& output, Wakeup& wakeup)
    : m_options(options),
      m_output(output),
      m_wakeup(wakeup),
      m_isIdle(!wantsEvents(options)),
      m_filter(in100ns(options.alertAfterMs)),
      m_silence(in100ns(options.maximumSilenceMs)) {}

bool EventDesk::open(SPW_CString& why) {
    if (!m_options.eventFile.isEmpty()) {
        m_file.emplace(m_wakeup);
        if (!m_file->open(m_options.eventFile, why)) {
            m_file.reset();
            return false;
        }
    }
    if (!m_options.changeProgram.isEmpty()) {
        m_command.emplace(m_options.changeProgram, ChangeCommand::Limits());
        if (!m_command->isReady()) {
            why = u"cannot run the program of -onchange: the system refuses a thread";
            return false;
        }
    }
    return true;
}

void EventDesk::testBegins() {
    m_filter.clear();
    m_silence.clear();
}

void EventDesk::look(const TestEngine& engine, std::int32_t testNumber) {
    if (m_isIdle) {
        return;
    }
    EventOf of;
    of.testNumber = testNumber;
    engine.observer(of.observerAddress, of.observerName);
    append(engine, of);
    print(engine);
    alert(engine, of);
    watchSilence(engine);
}

// While the file or the reader of the output stalls, the engine keeps the events.
void EventDesk::append(const TestEngine& engine, const EventOf& of) {
    if (!m_file.has_value() || m_file->isBusy()) {
        return;
    }
    SPW_CArray<InsightEvent> events;
    const std::uint32_t missed = m_appended.read(engine, events);
    std::string lines;
    if (missed > 0) {
        lines = jsonLine(missedEventsObject(missed, SPW_CClock::instance->wall100ns(), of)) + '\n';
    }
    for (int i = 0; i < events.numberOfElements(); ++i) {
        lines += jsonLine(eventObject(events[i], of)) + '\n';
    }
    if (!lines.empty()) {
        m_file->append(lines);
    }
}

void EventDesk::print(const TestEngine& engine) {
    if (m_options.format != CommandLine::kEvents || m_output.isBusy()) {
        return;
    }
    SPW_CArray<InsightEvent> events;
    const std::uint32_t missed = m_printed.read(engine, events);
    std::string lines;
    if (missed > 0) {
        lines = missedEventsLine(missed, SPW_CClock::instance->wall100ns());
    }
    for (int i = 0; i < events.numberOfElements(); ++i) {
        lines += eventLine(events[i]);
    }
    if (!lines.empty()) {
        m_output.print(lines);
    }
}

void EventDesk::alert(const TestEngine& engine, const EventOf& of) {
    if (!m_command.has_value()) {
        return;
    }
    SPW_CArray<InsightEvent> events;
    (void)m_alerted.read(engine, events);  // the program is told of what is, not of what it has missed
    std::vector<InsightEvent> due;
    for (int i = 0; i < events.numberOfElements(); ++i) {
        m_filter.take(events[i], due);
    }
    m_filter.passTime(SPW_CClock::instance->now100ns(), due);
    for (const InsightEvent& event : due) {
        m_command->run(eventObject(event, of));
    }
}

void EventDesk::watchSilence(const TestEngine& engine) {
    SPW_CArray<InsightEvent> events;
    (void)m_watched.read(engine, events);
    for (int i = 0; i < events.numberOfElements(); ++i) {
        m_silence.take(events[i]);
    }
}

int EventDesk::countTooSilent(const SPW_CArray<PeerRowValues>& rows) const {
    return m_options.hasMaximumSilence ? m_silence.count(rows, SPW_CClock::instance->now100ns()) : 0;
}

bool EventDesk::finish(std::uint32_t patienceMs) {
    m_command.reset();
    return !m_file.has_value() || m_file->waitUntilWritten(patienceMs);
}
