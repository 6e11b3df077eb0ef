#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "LogOverflow.h"
#include "LogProgress.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CLogFile.h"
#include "SPW_CMemory.h"
#include "SPW_CThreadMessageQueue.h"
#include "VTR_CEvent.h"

// The thread that alone writes the test log.
//
// The threads that produce lines hand them over and go on. A slow disk costs them at most the wait that they ask for.
// The file never rotates and begins with the header block. Every line after that bears the time at which it was
// written.
//
// There are two ways to hand a line over. log() waits for a place in the queue. offer() never waits: a line that finds
// no place waits in the overflow, behind those that came before it. Lines of one thread stay in order if all of them
// go the same way.
//
// Each line that was handed over is in the file or is counted. The file says how many are missing at the place where
// they would stand.
//
// Owner: constructs it, which opens the file and starts the thread, and destroys it, which writes all that was handed
// over before and takes no more. Any thread may call log() and offer() in between. The rest is for the owner.
//
// Written lines are flushed to the medium, where a reset or a pulled battery cannot take them away. That happens as
// soon as no more lines come, and at the latest a second after a line was written.
class TestLogWriter : public SPW_CThreadMessageQueue, public SPW_CMemory::Log {
public:
    // Result when there was no room in time.
    static constexpr SPW_Result kLogNotTaken = 700;
    // What the overflow may hold: some 1500 short lines. Enough for the time that a healthy disk may take over a flush.
    static constexpr std::uint32_t kOverflowBytes = 512 * 1024;

    // `capacity`: lines that may wait, at least 1.
    TestLogWriter(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                  const SPW_CString& version, std::uint32_t capacity);
    // Waits for the thread without limit, unless end() has done so.
    ~TestLogWriter() override;

    void step() override;
    void finish() override;
    // The program's last line, behind those that the thread has taken. It is in the file when this returns, unless the
    // thread could not write it within a second.
    void memoryIsExhausted() override;

    // 0, or the code with which the log file could not be opened or the thread not be started; lines then go nowhere,
    // and it has been reported.
    SPW_Result openResult() const { return m_openResult != 0 ? m_openResult : m_startResult; }
    // Hands a line over. Waits for room at most waitMs (-1: no limit). 0 or kLogNotTaken; the latter at once and always
    // when there is no thread.
    SPW_Result log(const SPW_CString& text, std::int32_t waitMs);
    // Hands a line over at once. A line that waits in the overflow for longer than lateAfterMs (-1: no limit) becomes
    // TestLog::lostLine(). kLogNotTaken when the overflow is full: the line is lost and counted.
    SPW_Result offer(const SPW_CString& text, std::int32_t lateAfterMs);
    // The same for a thread that would rather wait than lose a line. While the log takes nothing, all these waits
    // together last waitMs.
    SPW_Result offerPatiently(const SPW_CString& text, std::int32_t waitMs);
    // Any thread.
    LogProgress progress() const;
    // For a file that takes no more: callers that wait for room, and later callers, get kLogNotTaken. The writer may
    // hang for ever then; an owner that must not hang cannot destroy it. Any thread.
    void giveUp();
    // Asks the thread to write what is left and to end. True when it has ended. False when it has written nothing for
    // patienceMs: it may hang for ever, and then go on, so the object must not be destroyed. May be asked again until
    // it has ended.
    [[nodiscard]] bool end(std::uint32_t patienceMs);
    // Links the writers that end() has left alive.
    void setFormerAbandoned(TestLogWriter* former) { m_formerAbandoned = former; }

private:
    typedef std::unique_ptr<SPW_CMessage> Line;
    // Lines of the queue that are written together with the one that woke the writer.
    static constexpr std::uint32_t kMostBehind = 99;

    SPW_Result startThread();
    void askToStop();
    bool addToQueue(Line& line);
    bool joinQueue(Line& line);
    bool take(Line& line, std::uint64_t lateFrom100ns);
    SPW_Result lose();
    std::uint32_t msToSleep() const;
    std::uint32_t takeWaiting();
    void writeTaken();
    void writeOneByOne();
    bool appendNext();
    void appendLine(SPW_CMessage& message, std::uint64_t lateFrom100ns);
    void appendLoss(std::uint32_t count);
    void linesAreThrough();
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
    std::atomic<std::uint32_t> m_linesUntold{0};
    std::atomic<bool> m_isGivenUp{false};
    std::atomic<bool> m_isPatienceOver{false};  // of offerPatiently(); until something is written
    // The owner's.
    bool m_isStopped = false;
    TestLogWriter* m_formerAbandoned = nullptr;
    // Guards the overflow, and the order of its lines and those in the queue.
    mutable SPW_CCriticalSection m_overflowLock;
    LogOverflow m_overflow{kOverflowBytes};
    // The thread's own. What it has taken of the queue, and of the overflow behind that; from m_takenNext on it has yet
    // to be dealt with.
    std::uintptr_t m_taken[1 + kMostBehind] = {};
    std::uint32_t m_takenNext = 0;
    std::uint32_t m_takenCount = 0;
    LogOverflow::Content m_takenBehind;
    // The lines that it writes together, and one line; they keep their room. Then how many lines that were handed over
    // they stand for, and how many lost ones they tell of.
    SPW_CArray<SPW_CString> m_lines;
    SPW_CString m_line;
    std::uint32_t m_linesStoodFor = 0;
    std::uint32_t m_lossesTold = 0;
    bool m_isFlushDue = false;
    std::uint64_t m_flushBy100ns = 0;
};
