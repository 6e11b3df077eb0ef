#pragma once

#include <cstdint>
#include <optional>

#include "AlertFilter.h"
#include "ChangeCommand.h"
#include "CommandLine.h"
#include "EventFile.h"
#include "EventObject.h"
#include "EventReader.h"
#include "SilenceWatch.h"
#include "StandardOutput.h"
#include "TestEngine.h"
#include "Wakeup.h"

// Brings the engine's events to where the command line wants them: to standard output, to a file, to a program, and
// into the exit status.
//
// Threads: one.
class EventDesk {
public:
    // How often look() should be called while a test runs. The engine looks at its rows once a second.
    static constexpr std::int64_t kLookMs = 500;

    // All must outlive the object.
    EventDesk(const CommandLine& options, StandardOutput& output, Wakeup& wakeup);

    // Opens the file and makes ready to run the program. Returns false if one of them is refused; `why` is then a text
    // to show.
    [[nodiscard]] bool open(SPW_CString& why);
    // Whether nobody wants events. Then look() does nothing.
    bool isIdle() const { return m_isIdle; }
    // Another test begins, which has rows of its own.
    void testBegins();
    // Hands on what has come since the call before.
    void look(const TestEngine& engine, std::int32_t testNumber);
    // How many of the rows were silent for longer than the command line allows.
    int countTooSilent(const SPW_CArray<PeerRowValues>& rows) const;
    // Nothing comes any more: waits for the file and ends the program. Returns false if the file takes nothing. Then
    // this object must not be destroyed.
    bool finish(std::uint32_t patienceMs);
    // Whether the file has lost events.
    bool hasLost() const { return m_file.has_value() && m_file->hasLost(); }

private:
    void append(const TestEngine& engine, const EventOf& of);
    void print(const TestEngine& engine);
    void alert(const TestEngine& engine, const EventOf& of);
    void watchSilence(const TestEngine& engine);

    const CommandLine& m_options;
    StandardOutput& m_output;
    Wakeup& m_wakeup;
    const bool m_isIdle;
    EventReader m_appended;
    EventReader m_printed;
    EventReader m_alerted;
    EventReader m_watched;
    AlertFilter m_filter;
    SilenceWatch m_silence;
    std::optional<EventFile> m_file;
    std::optional<ChangeCommand> m_command;
};
