#include "TestLogWriter.h"

#include <algorithm>
#include <memory>

#include "SPW_CClock.h"

namespace {

constexpr std::uint32_t kTurnMs = 1000;
// Lines that are written together with the one that woke the writer.
constexpr std::uint32_t kMostBehind = 99;
constexpr std::uint64_t kMs = 10000;  // 100-ns units
constexpr std::uint32_t kLongestUnflushedMs = 1000;
// The queue counts as run empty after it has been empty for so long. Lines come in bursts. A flush for each would cost
// more than all else: the medium takes as long for one line as for a thousand.
constexpr std::uint32_t kQuietMs = 100;
constexpr std::uint32_t kNoRotation = 0;
constexpr std::int32_t kBackups = 1;

// A value in the queue that stands for no line.
constexpr std::uintptr_t kWakeUp = 0;

}  // namespace

TestLogWriter::TestLogWriter(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                             const SPW_CString& version, std::uint32_t capacity)
    : SPW_CThreadMessageQueue(capacity) {
    m_openResult = m_log.open(path, description, application, version, kNoRotation, kBackups, true);
    m_startResult = startThread();
}

// Without any of its parts there is no thread: nobody could hand it lines or wait for its end.
SPW_Result TestLogWriter::startThread() {
    SPW_Result result = queueResult();
    if (result == 0) {
        result = m_room.create(false, true, nullptr);
    }
    if (result == 0) {
        result = m_finished.create(false, false, nullptr);
    }
    return result == 0 ? start() : result;
}

TestLogWriter::~TestLogWriter() {
    if (m_startResult == 0) {
        stopThread();
    }
    (void)m_log.close();  // reported by the file classes; nothing is left to do about it here
}

void TestLogWriter::stopThread() {
    requestStop();
    // The thread would see the request at the end of its turn only.
    qAddMsg(kWakeUp);
    (void)m_finished.wait(kSPWForever);
}

SPW_Result TestLogWriter::log(const SPW_CString& text, std::int32_t waitMs) {
    // Without the thread nothing leaves the queue: a caller without a limit would wait for ever at a full one.
    if (m_startResult != 0 || m_room.wait(static_cast<std::uint32_t>(waitMs)) != 0) {
        return kLogNotTaken;
    }
    if (m_isGivenUp) {
        m_room.set();  // one that was woken wakes the next
        return kLogNotTaken;
    }
    ++m_linesTaken;
    SPW_CMessage* const message = new SPW_CMessage;
    message->pushString(text);
    qAddMsg(reinterpret_cast<std::uintptr_t>(message));
    // With the queue full it is the writer that lets the next caller in, when it has taken a line.
    if (!isFull()) {
        m_room.set();
    }
    return 0;
}

LogProgress TestLogWriter::progress() const {
    // In this order: a line that is written meanwhile must not look like one that was never taken.
    LogProgress progress;
    progress.written = m_linesWritten;
    progress.taken = m_linesTaken;
    return progress;
}

void TestLogWriter::giveUp() {
    m_isGivenUp = true;
    m_room.set();
}

void TestLogWriter::memoryIsExhausted() {
    const SPW_CString line(u"FATAL ERROR: there is no memory left, the program ends");
    if (m_thread == currentId()) {
        (void)m_log.writeLine(line, true);
        return;
    }
    constexpr std::int32_t kPatienceMs = 1000;
    constexpr std::uint32_t kLookMs = 20;
    if (log(line, kPatienceMs) != 0) {
        return;
    }
    for (std::int32_t waited = 0; waited < kPatienceMs && progress().written != progress().taken; waited += kLookMs) {
        SPW_CClock::instance->sleepMs(kLookMs);
    }
}

void TestLogWriter::step() {
    m_thread = currentId();
    std::uintptr_t taken[1 + kMostBehind];
    (void)qGetMsg(taken[0], m_isFlushDue ? msUntilFlush() : kTurnMs);
    if (taken[0] == kWakeUp) {
        flush();
        return;
    }
    const std::uint32_t behind = qTakeWaiting(taken + 1, kMostBehind);
    write(taken, 1 + behind);
    // Before there is room: a medium may hold a flush up. Who has found room must not wait for a place any longer than
    // the taking of a message lasts, which is what comes next.
    if (m_isFlushDue && msUntilFlush() == 0) {
        flush();
    }
    freePlaces(behind);
    m_room.set();
}

// The lines go out together. The bound holds nevertheless: no more than the first of them has given its place back.
void TestLogWriter::write(const std::uintptr_t* messages, std::uint32_t count) {
    m_lines.clear();
    std::uint32_t lines = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (messages[i] == kWakeUp) {
            continue;
        }
        ++lines;
        const std::unique_ptr<SPW_CMessage> message(reinterpret_cast<SPW_CMessage*>(messages[i]));
        if (message->popString(m_line)) {
            m_lines.append(m_line);
        }
    }
    if (m_log.isOpen()) {
        m_log.writeLines(m_lines, true);  // a line that cannot be written is lost; the log says so
        noteWritten();
    }
    m_linesWritten += lines;
}

std::uint32_t TestLogWriter::msUntilFlush() const {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    const std::uint64_t left = m_flushBy100ns > now ? (m_flushBy100ns - now) / kMs : 0;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(left, kQuietMs));
}

void TestLogWriter::noteWritten() {
    if (m_isFlushDue) {
        return;
    }
    m_isFlushDue = true;
    m_flushBy100ns = SPW_CClock::instance->now100ns() + kLongestUnflushedMs * kMs;
}

void TestLogWriter::flush() {
    if (m_isFlushDue && m_log.isFlushable()) {
        (void)m_log.flush();  // reported by the file; the lines may still reach the medium
    }
    m_isFlushDue = false;
}

void TestLogWriter::finish() {
    while (!isEmpty()) {
        step();
    }
    flush();
    m_finished.set();
}
