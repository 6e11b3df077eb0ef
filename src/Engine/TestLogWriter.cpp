#include "TestLogWriter.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "SPW_CClock.h"
#include "TestLog.h"

namespace {

constexpr std::uint32_t kTurnMs = 1000;
constexpr std::uint64_t kMs = 10000;  // 100-ns units
constexpr std::uint32_t kLongestUnflushedMs = 1000;
// The queue counts as run empty after it has been empty for so long. Lines come in bursts. A flush for each would cost
// more than all else: the medium takes as long for one line as for a thousand.
constexpr std::uint32_t kQuietMs = 100;
constexpr std::uint32_t kNoRotation = 0;
constexpr std::int32_t kBackups = 1;

// A value in the queue that stands for no line.
constexpr std::uintptr_t kWakeUp = 0;

std::unique_ptr<SPW_CMessage> messageOf(const SPW_CString& text) {
    std::unique_ptr<SPW_CMessage> message(new SPW_CMessage);
    message->pushString(text);
    return message;
}

std::uint64_t in100ns(std::int32_t milliseconds) {
    return SPW_CClock::instance->now100ns() + static_cast<std::uint64_t>(milliseconds) * kMs;
}

// The end of a wait that may take several attempts.
class Deadline {
public:
    // waitMs: -1 for no limit.
    explicit Deadline(std::int32_t waitMs) : m_waitMs(waitMs), m_end100ns(waitMs > 0 ? in100ns(waitMs) : 0) {}

    std::uint32_t msLeft() const {
        if (m_waitMs <= 0) {
            return static_cast<std::uint32_t>(m_waitMs);
        }
        const std::uint64_t now = SPW_CClock::instance->now100ns();
        return now < m_end100ns ? static_cast<std::uint32_t>((m_end100ns - now + kMs - 1) / kMs) : 0;
    }

private:
    const std::int32_t m_waitMs;
    const std::uint64_t m_end100ns;
};

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
    if (m_startResult == 0 && !m_isStopped) {
        askToStop();
        (void)m_finished.wait(kSPWForever);
    }
    (void)m_log.close();  // reported by the file classes; nothing is left to do about it here
}

void TestLogWriter::askToStop() {
    requestStop();
    // The thread would see the request at the end of its turn only. With a full queue its turn ends soon by itself.
    (void)qTryAddMsg(kWakeUp);
}

bool TestLogWriter::end(std::uint32_t patienceMs) {
    if (m_startResult != 0 || m_isStopped) {
        return true;
    }
    askToStop();
    std::uint32_t written = m_linesWritten;
    while (m_finished.wait(patienceMs) != 0) {
        const std::uint32_t before = std::exchange(written, m_linesWritten);
        if (written == before) {
            return false;
        }
    }
    m_isStopped = true;
    return true;
}

// ---- Handing over

SPW_Result TestLogWriter::log(const SPW_CString& text, std::int32_t waitMs) {
    // Without the thread nothing leaves the queue: a caller without a limit would wait for ever at a full one.
    if (m_startResult != 0) {
        return kLogNotTaken;
    }
    Line line = messageOf(text);
    const Deadline deadline(waitMs);
    while (m_room.wait(deadline.msLeft()) == 0) {
        if (m_isGivenUp) {
            m_room.set();  // one that was woken wakes the next
            return kLogNotTaken;
        }
        if (addToQueue(line)) {
            // With the queue full it is the writer that lets the next caller in, when it has taken a line.
            if (!isFull()) {
                m_room.set();
            }
            return 0;
        }
        // An offered line has got the place.
    }
    return kLogNotTaken;
}

SPW_Result TestLogWriter::offer(const SPW_CString& text, std::int32_t lateAfterMs) {
    if (m_startResult != 0) {
        return kLogNotTaken;
    }
    Line line = messageOf(text);
    return take(line, lateAfterMs < 0 ? LogOverflow::kNever : in100ns(lateAfterMs)) ? 0 : lose();
}

SPW_Result TestLogWriter::offerPatiently(const SPW_CString& text, std::int32_t waitMs) {
    if (m_startResult != 0) {
        return kLogNotTaken;
    }
    Line line = messageOf(text);
    if (take(line, LogOverflow::kNever)) {
        return 0;
    }
    const Deadline deadline(m_isPatienceOver ? 0 : waitMs);
    while (!m_isGivenUp && m_room.wait(deadline.msLeft()) == 0) {
        const bool isTaken = take(line, LogOverflow::kNever);
        if (isTaken || m_isGivenUp) {
            m_room.set();  // the next one may try
        }
        if (isTaken) {
            return 0;
        }
    }
    m_isPatienceOver = true;
    return lose();
}

// The line is the caller's as before when there is no room.
bool TestLogWriter::addToQueue(Line& line) {
    ++m_linesTaken;  // first: a written line is never more than the taken ones
    if (qTryAddMsg(reinterpret_cast<std::uintptr_t>(line.get()))) {
        (void)line.release();
        return true;
    }
    --m_linesTaken;
    return false;
}

// A line joins the queue only when none waits in the overflow. Otherwise it would overtake those.
bool TestLogWriter::joinQueue(Line& line) {
    return m_overflow.isEmpty() && addToQueue(line);
}

bool TestLogWriter::take(Line& line, std::uint64_t lateFrom100ns) {
    {
        const SPW_CGuard guard(m_overflowLock);
        if (m_isGivenUp) {
            return false;
        }
        if (joinQueue(line)) {
            return true;
        }
    }
    // Made without the lock: a thread that gets no memory keeps its locks for ever, and the writer could not write the
    // program's last line.
    std::unique_ptr<LogOverflow::Line> waiting(new LogOverflow::Line(std::move(line), lateFrom100ns));
    const SPW_CGuard guard(m_overflowLock);
    if (joinQueue(waiting->message)) {
        return true;
    }
    if (m_overflow.add(waiting)) {
        ++m_linesTaken;
        return true;
    }
    line = std::move(waiting->message);
    return false;
}

SPW_Result TestLogWriter::lose() {
    {
        const SPW_CGuard guard(m_overflowLock);
        m_overflow.countLost();
        ++m_linesUntold;
    }
    (void)qTryAddMsg(kWakeUp);  // with a full queue the thread is awake
    return kLogNotTaken;
}

LogProgress TestLogWriter::progress() const {
    // In this order: a line that is written meanwhile must not look like one that was never taken.
    LogProgress progress;
    progress.written = m_linesWritten;
    progress.taken = m_linesTaken;
    progress.untold = m_linesUntold;
    return progress;
}

void TestLogWriter::giveUp() {
    m_isGivenUp = true;
    m_room.set();
}

void TestLogWriter::memoryIsExhausted() {
    const SPW_CString line(u"FATAL ERROR: there is no memory left, the program ends");
    if (m_thread == currentId()) {
        writeOneByOne();
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

// ---- The thread

void TestLogWriter::step() {
    m_thread = currentId();
    (void)qGetMsg(m_taken[0], msToSleep());
    const std::uint32_t behind = takeWaiting();
    const bool isQuiet = m_taken[0] == kWakeUp && behind == 0 && m_takenBehind.isEmpty();
    writeTaken();
    // Before there is room: a medium may hold a flush up. Who has found room must not wait for a place any longer than
    // the taking of a message lasts, which is what comes next.
    if (isQuiet || (m_isFlushDue && msUntilFlush() == 0)) {
        flush();
    }
    freePlaces(behind);
    m_room.set();
}

std::uint32_t TestLogWriter::msToSleep() const {
    {
        const SPW_CGuard guard(m_overflowLock);
        if (!m_overflow.isEmpty()) {
            return 0;
        }
    }
    return m_isFlushDue ? msUntilFlush() : kTurnMs;
}

// Takes what waits in the queue, and then what has come after that into the overflow. A line that comes meanwhile is
// later than both. Returns how many places of the queue are to be freed.
std::uint32_t TestLogWriter::takeWaiting() {
    const SPW_CGuard guard(m_overflowLock);
    const std::uint32_t behind = qTakeWaiting(m_taken + 1, kMostBehind);
    if (behind < kMostBehind) {
        m_takenBehind = m_overflow.take();
    }
    m_takenNext = 0;
    m_takenCount = 1 + behind;
    return behind;
}

// The lines go out together. The bound holds nevertheless: no more than the first of them has given its place back.
//
// No more of them than the queue holds: a block of all that waited would take much memory at the worst time.
void TestLogWriter::writeTaken() {
    bool isMore = true;
    while (isMore) {
        while (isMore && m_lines.numberOfElements() <= static_cast<int>(kMostBehind)) {
            isMore = appendNext();
        }
        if (m_lines.numberOfElements() != 0 && m_log.isOpen()) {
            m_log.writeLines(m_lines, true);  // a line that cannot be written is lost; the log says so
            noteWritten();
        }
        linesAreThrough();
    }
}

// For a thread that got no memory, and has only the reserve. What it was about to write together is still there.
void TestLogWriter::writeOneByOne() {
    do {
        for (int i = 0; m_log.isOpen() && i < m_lines.numberOfElements(); ++i) {
            (void)m_log.writeLine(m_lines[i], true);  // the result of a rotation, which never comes
        }
        linesAreThrough();
    } while (appendNext());
}

// Puts the oldest of what was taken into m_lines. False when nothing is left.
bool TestLogWriter::appendNext() {
    if (m_takenNext < m_takenCount) {
        const std::uintptr_t message = m_taken[m_takenNext++];
        if (message != kWakeUp) {
            appendLine(*Line(reinterpret_cast<SPW_CMessage*>(message)), LogOverflow::kNever);
        }
        return true;
    }
    const std::unique_ptr<LogOverflow::Line> line = m_takenBehind.takeFirst();
    if (line != nullptr) {
        appendLoss(line->lostInFront);
        appendLine(*line->message, line->lateFrom100ns);
        return true;
    }
    const std::uint32_t lost = m_takenBehind.takeLost();
    appendLoss(lost);
    return lost != 0;
}

void TestLogWriter::appendLine(SPW_CMessage& message, std::uint64_t lateFrom100ns) {
    ++m_linesStoodFor;
    if (message.popString(m_line)) {
        const bool isLate = lateFrom100ns != LogOverflow::kNever && lateFrom100ns <= SPW_CClock::instance->now100ns();
        m_lines.append(isLate ? TestLog::lostLine(m_line) : m_line);
    }
}

void TestLogWriter::appendLoss(std::uint32_t count) {
    m_lossesTold += count;
    if (count != 0) {
        m_lines.append(TestLog::lossLine(count));
    }
}

void TestLogWriter::linesAreThrough() {
    if (m_lines.numberOfElements() != 0) {
        m_isPatienceOver = false;
    }
    m_lines.clear();
    m_linesWritten += std::exchange(m_linesStoodFor, 0);
    m_linesUntold -= std::exchange(m_lossesTold, 0);
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
    while (!isEmpty() || msToSleep() == 0) {
        step();
    }
    flush();
    m_finished.set();
}
