#pragma once

#include <atomic>
#include <cstdint>

#include "LogProgress.h"
#include "SPW_CArray.h"
#include "SPW_CLogFile.h"
#include "SPW_CMemory.h"
#include "SPW_CThreadMessageQueue.h"
#include "VTR_CEvent.h"

// The thread that alone writes the test log.
//
// The threads that produce lines hand them over and go on; a slow disk costs them at most the wait that they ask for.
// The file never rotates and begins with the header block; every line after that bears the time at which it was
// written.
//
// Owner: constructs it, which opens the file and starts the thread, and destroys it, which writes all that was handed
// over before and takes no more. Any thread may call log() in between; the rest is for the owner.
//
// Written lines are flushed to the medium, where a reset or a pulled battery cannot take them away. That happens as
// soon as no more lines come, and at the latest a second after a line was written.
class TestLogWriter : public SPW_CThreadMessageQueue, public SPW_CMemory::Log {
public:
    // Result of log() when there was no room in time.
    static constexpr SPW_Result kLogNotTaken = 700;

    // `capacity`: lines that may wait, at least 1.
    TestLogWriter(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                  const SPW_CString& version, std::uint32_t capacity);
    ~TestLogWriter() override;

    void step() override;
    void finish() override;
    // The program's last line. It is in the file when this returns, unless the thread could not write it within a
    // second.
    void memoryIsExhausted() override;

    // 0, or the code with which the log file could not be opened or the thread not be started; lines then go nowhere,
    // and it has been reported.
    SPW_Result openResult() const { return m_openResult != 0 ? m_openResult : m_startResult; }
    // Hands a line over. Waits for room at most waitMs (-1: no limit). 0 or kLogNotTaken; the latter at once and always
    // when there is no thread.
    SPW_Result log(const SPW_CString& text, std::int32_t waitMs);
    // Any thread.
    LogProgress progress() const;
    // For a file that takes no more: callers that wait for room, and later callers, get kLogNotTaken. The writer may
    // hang for ever then; an owner that must not hang cannot destroy it. Any thread.
    void giveUp();

private:
    SPW_Result startThread();
    void stopThread();
    void write(const std::uintptr_t* messages, std::uint32_t count);
    std::uint32_t msUntilFlush() const;
    void noteWritten();
    void flush();

    SPW_CLogFile m_log;
    std::atomic<std::uint32_t> m_thread{0};  // 0 until it has begun
    VTR_CEvent m_room;      // set while a caller may hand a line over; lets one caller through at a time
    VTR_CEvent m_finished;  // set when the thread has written all
    SPW_Result m_openResult;
    SPW_Result m_startResult;
    std::atomic<std::uint32_t> m_linesTaken{0};
    std::atomic<std::uint32_t> m_linesWritten{0};
    std::atomic<bool> m_isGivenUp{false};
    // The thread's own. The lines that it writes together, and one of them; they keep their room.
    SPW_CArray<SPW_CString> m_lines;
    SPW_CString m_line;
    bool m_isFlushDue = false;
    std::uint64_t m_flushBy100ns = 0;
};
