#include "SPW_CLogFile.h"

#include <algorithm>
#include <vector>

#include "SPW_CClock.h"
#include "SPW_CDir.h"
#include "SPW_CError.h"
#include "SPW_CSysError.h"

namespace {

constexpr const char* kModule = "src\\SPW\\src\\CLogFile\\portable\\SPW_CLogFile";
constexpr std::uint32_t kBytesPerKilobyte = 1024;
constexpr const char16_t* kRule = u"--------------------------------------------------------------------------------";

// Lines as they stand in the file, each behind the stamp.
class LineBlock {
public:
    LineBlock(const SPW_CArray<SPW_CString>& texts, const SPW_CString& stamp) {
        for (int i = 0; i < texts.numberOfElements(); ++i) {
            appendLine(stamp, texts[i]);
        }
    }
    LineBlock(const SPW_CString& text, const SPW_CString& stamp) { appendLine(stamp, text); }

    const char* bytes() const { return m_bytes.data(); }
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_bytes.size()); }
    // How many lines are whole in the first bytes of the block, and whether a line ends there.
    int linesWithin(std::uint32_t bytes) const {
        return static_cast<int>(std::upper_bound(m_ends.begin(), m_ends.end(), bytes) - m_ends.begin());
    }
    bool isLineEnd(std::uint32_t bytes) const {
        return bytes == 0 || std::binary_search(m_ends.begin(), m_ends.end(), bytes);
    }

private:
    void appendLine(const SPW_CString& stamp, const SPW_CString& text) {
        append(stamp);
        append(text);
        append(SPW_CFile::kNewLine);
        m_ends.push_back(size());
    }
    void append(const SPW_CString& text) {
        const std::size_t begin = m_bytes.size();
        int room = text.length() + 1;  // for a text of ASCII and its terminator
        m_bytes.resize(begin + static_cast<std::size_t>(room));
        int copied = text.copyToAnsi(m_bytes.data() + begin, room);
        if (copied == 0) {
            room = text.copyToAnsi(nullptr, 0);
            m_bytes.resize(begin + static_cast<std::size_t>(room));
            copied = text.copyToAnsi(m_bytes.data() + begin, room);
        }
        m_bytes.resize(begin + static_cast<std::size_t>(std::max(copied, 1) - 1));
    }

    std::vector<char> m_bytes;
    std::vector<std::uint32_t> m_ends;
};

void appendLine(SPW_CString& block, const SPW_CString& line) {
    block.append(line);
    block.append(SPW_CFile::kNewLine);
}

}  // namespace

SPW_CLogFile::SPW_CLogFile() : m_file(new SPW_CFile), m_maximumKilobytes(0), m_backups(0), m_headerWanted(false) {}

SPW_CLogFile::~SPW_CLogFile() {
    delete m_file;
}

SPW_Result SPW_CLogFile::close() {
    if (m_lostLines != 0 && isOpen()) {
        (void)put(lossLine(m_isStamped));  // there is nothing left to try
    }
    m_lostLines = 0;
    m_isFailing = false;
    m_isTorn = false;
    return m_file->close();
}

SPW_Result SPW_CLogFile::flush() {
    return m_file->flush();
}

bool SPW_CLogFile::isOpen() const {
    return m_file->isOpen();
}

SPW_Result SPW_CLogFile::open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                              const SPW_CString& version, std::uint32_t maximumKilobytes, std::int32_t backups,
                              bool headerWanted) {
    m_path = path;
    splitPath();
    m_description = description;
    m_application = application;
    m_version = version;
    m_maximumKilobytes = maximumKilobytes;
    m_backups = backups;
    m_headerWanted = headerWanted;
    const SPW_Result result = m_file->openToAppend(path);
    if (result == 0 && headerWanted) {
        writeHeader(description, application, version);
    }
    return result;
}

// Splits as the path operations of SPW_CString do, but only at the platform's own separators. The others are characters
// of a name where the platform allows them.
void SPW_CLogFile::splitPath() {
    const int separator = m_path.lastIndexOfAny(SPW_CDir::separators());
    const int dot = m_path.lastIndexOfAny(u".");
    m_directory = m_path.left(separator);
    m_baseName = m_path.mid(separator + 1, m_path.length());
    m_baseName.truncate(m_baseName.lastIndexOfAny(u"."));
    m_extension = dot > separator ? m_path.mid(dot + 1, m_path.length()) : SPW_CString();
}

void SPW_CLogFile::writeHeader(const SPW_CString& description, const SPW_CString& application,
                               const SPW_CString& version) {
    const SPW_CalendarTime now = SPW_CClock::instance->localNow();
    SPW_CString opened;
    opened.format(u"%d-%d-%d %d:%02d:%02d", now.month, now.day, now.year, now.hour, now.minute, now.second);
    SPW_CString header;
    appendLine(header, kRule);
    appendLine(header, u"Description: " + description);
    appendLine(header, u"Application: " + application);
    appendLine(header, u"Version    : " + version);
    appendLine(header, u"Opened     : " + opened);
    appendLine(header, kRule);
    m_isHeaderDue = !put(header);
    if (!m_isHeaderDue) {
        m_isFlushable = m_file->flush() == 0;
    }
}

SPW_Result SPW_CLogFile::writeLine(const SPW_CString& text, bool withTime) {
    // Time, text and line end go out in one write: hundreds of thousands of lines a second pass here, and a reader of
    // the log sees whole lines. The file buffers nothing: a line is seen without a flush. A flush waits for the medium,
    // longer than a thousand lines take. The log's owner decides when.
    //
    // The line is made before the lock is taken. A thread that gets no memory keeps its locks for ever, and the
    // program's last line may want this one.
    const LineBlock line(text, stamp(withTime));
    const SPW_CGuard guard(m_lock);
    if (!isOpen()) {
        (void)m_file->writeText(text);  // which reports it
        return 0;
    }
    m_isStamped = withTime;
    if (m_isHeaderDue) {
        writeHeader(m_description, m_application, m_version);
    }
    if (!m_isHeaderDue && (isInOrder() ? put(line.bytes(), line.size()) : putBehindFailure(text))) {
        m_lostLines = 0;
    } else {
        ++m_lostLines;
    }
    return isFull() ? rotate() : 0;
}

// Whether the file ends with the last line that was to be written.
bool SPW_CLogFile::isInOrder() const {
    return m_lostLines == 0 && !m_isTorn;
}

// The line goes out together with what is to be said first.
bool SPW_CLogFile::putBehindFailure(const SPW_CString& text) {
    const SPW_CString line = stamped(text, m_isStamped);
    return put(m_lostLines != 0 ? lossLine(m_isStamped) + line : line);
}

void SPW_CLogFile::writeLines(const SPW_CArray<SPW_CString>& texts, bool withTime) {
    const int count = texts.numberOfElements();
    for (int i = count > 1 ? writeTogether(texts, withTime) : 0; i < count; ++i) {
        (void)writeLine(texts[i], withTime);  // the result of a rotation, which nothing here depends on
    }
}

// How many of the lines, from the first, are in the file now. The others are for writeLine, which knows what to do
// about a maximum, a header that is due, lost lines and a medium that has no more room.
int SPW_CLogFile::writeTogether(const SPW_CArray<SPW_CString>& texts, bool withTime) {
    const LineBlock block(texts, stamp(withTime));
    const SPW_CGuard guard(m_lock);
    if (!isOpen() || m_maximumKilobytes != 0 || m_isHeaderDue || !isInOrder()) {
        return 0;
    }
    m_isStamped = withTime;
    std::uint32_t written = 0;
    if (m_file->writeWhole(block.bytes(), block.size(), written) == 0) {
        m_isFailing = false;
        return texts.numberOfElements();
    }
    m_isTorn = !block.isLineEnd(written);
    return block.linesWithin(written);
}

SPW_CString SPW_CLogFile::stamp(bool withTime) {
    SPW_CString text;
    if (withTime) {
        const SPW_CalendarTime now = SPW_CClock::instance->localNow();
        text.format(u"%02d:%02d:%02d ", now.hour, now.minute, now.second);
    }
    return text;
}

SPW_CString SPW_CLogFile::stamped(const SPW_CString& text, bool withTime) {
    SPW_CString line = stamp(withTime);
    appendLine(line, text);
    return line;
}

SPW_CString SPW_CLogFile::lossLine(bool withTime) const {
    SPW_CString text(u"LOG ERROR: ");
    text.append(static_cast<unsigned long>(m_lostLines));
    text += m_lostLines == 1 ? u" line" : u" lines";
    return stamped(text + u" could not be written: " + SPW_CSysError::instance->text(m_lossCode), withTime);
}

// Writes a block of whole lines. False when none of them is in the file.
bool SPW_CLogFile::put(const SPW_CString& block) {
    bool isTorn = false;
    const SPW_Result code = m_file->writeWhole(m_isTorn ? SPW_CFile::kNewLine + block : block, isTorn);
    return noteResult(code, isTorn);
}

bool SPW_CLogFile::put(const char* bytes, std::uint32_t size) {
    std::uint32_t written = 0;
    const SPW_Result code = m_file->writeWhole(bytes, size, written);
    return noteResult(code, written != 0);
}

// False for a failure. isTorn: whether it has left something in the file.
bool SPW_CLogFile::noteResult(SPW_Result code, bool isTorn) {
    if (code == 0) {
        m_isTorn = false;
        m_isFailing = false;
        return true;
    }
    m_isTorn = m_isTorn || isTorn;
    if (!m_isFailing) {
        m_isFailing = true;
        m_lossCode = code;
        tellLoss(code);
    }
    return false;
}

// The time makes each outage a message of its own: front ends show the same text once.
void SPW_CLogFile::tellLoss(SPW_Result code) const {
    const SPW_CalendarTime now = SPW_CClock::instance->localNow();
    SPW_CString since;
    since.format(u" cannot be written since %02d:%02d:%02d: ", now.hour, now.minute, now.second);
    SPW_CError::instance->userInfo(
        kModule, __LINE__, "SPW_CLogFile", "writeLine",
        u"the log " + m_path + since + SPW_CSysError::instance->text(code) + u"; its lines are lost until it can be");
}

bool SPW_CLogFile::isFull() {
    std::uint32_t bytes = 0;
    return m_maximumKilobytes != 0 && m_file->getSize(bytes) == 0 && bytes / kBytesPerKilobyte >= m_maximumKilobytes;
}

SPW_Result SPW_CLogFile::rotate() {
    (void)m_file->close();  // reported there; the file counts as closed
    if (m_backups > 0) {
        shiftBackups();
    } else {
        (void)SPW_CDir::removeFile(m_path);  // reported there; what is left is emptied below
    }
    m_isTorn = false;
    const SPW_Result result = m_file->openCreateNew(m_path);
    if (result == 0 && m_headerWanted) {
        writeHeader(m_description, m_application, m_version);
    }
    return result;
}

void SPW_CLogFile::shiftBackups() {
    const SPW_CString oldest = backupPath(m_backups);
    if (SPW_CDir::fileExists(oldest) == 0) {
        (void)SPW_CDir::removeFile(oldest);  // reported there; the rename below then fails as well
    }
    for (std::int32_t i = m_backups - 1; i >= 0; --i) {
        const SPW_CString source = i == 0 ? m_path : backupPath(i);
        if (SPW_CDir::fileExists(source) == 0) {
            (void)SPW_CDir::rename(source, backupPath(i + 1));  // reported there; the others still move
        }
    }
}

SPW_CString SPW_CLogFile::backupPath(std::int32_t number) const {
    SPW_CString path(m_directory);
    // A path without a directory is a plain name, or one whose base name begins with the root's separator.
    if (!m_directory.isEmpty()) {
        path.append(SPW_CDir::separator());  // a back-slash would be part of the name on Linux
    }
    path.append(m_baseName + u"-");
    path.append(number);
    path.append(u"." + m_extension);
    return path;
}
