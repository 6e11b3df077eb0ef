#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "SPW_CString.h"
#include "StandardOutput.h"
#include "Wakeup.h"

// A file to which lines about events are appended, by a thread of its own. A file that fails is told once on standard
// error, and takes no more lines.
//
// Threads: one.
class EventFile {
public:
    // wakeup: woken when lines are written or lost. It must outlive the object.
    explicit EventFile(Wakeup& wakeup) : m_wakeup(wakeup) {}
    // No line may be on its way (see waitUntilWritten()).
    ~EventFile();
    EventFile(const EventFile&) = delete;
    EventFile& operator=(const EventFile&) = delete;

    // Opens the file, once. It is made if there is none. Returns false if it cannot be written; `why` is then a text to
    // show.
    [[nodiscard]] bool open(const SPW_CString& path, SPW_CString& why);
    // Whether lines are still on their way, or none is taken any more because the file has failed. A file that fails is
    // told here, once.
    bool isBusy();
    // Hands over lines.
    void append(const std::string& lines) { m_output->print(lines); }
    // Waits until all is written or lost. Returns false if the file takes nothing for that long.
    bool waitUntilWritten(std::uint32_t patienceMs);
    // Whether some line was lost for ever.
    bool hasLost() const { return m_hasLost; }

private:
    void lookAtFailure();

    Wakeup& m_wakeup;
    SPW_CString m_path;
    int m_descriptor = -1;
    bool m_hasLost = false;
    std::optional<StandardOutput> m_output;
};
