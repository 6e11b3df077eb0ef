#include "TestLog.h"

#include <memory>
#include <new>

#include "SPW_CDir.h"
#include "SPW_CHiveRights.h"
#include "SPW_CSysError.h"
#include "TestLogWriter.h"
#include "TextHash.h"

TestLog::~TestLog() {
    close();
}

void TestLog::open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
                   const SPW_CString& version) {
    std::unique_ptr<TestLogWriter> writer;
    SPW_Result result = removeFormer(path);
    if (result == 0) {
        (void)SPW_CHiveRights::limit(path);  // what cannot be opened shows just below
        writer.reset(new (std::nothrow) TestLogWriter(path, description, application, version, kQueuedLines));
        result = writer != nullptr ? writer->openResult() : SPW_Result{kSysNotEnoughMemory};
    }
    if (result == 0) {
        SPW_CMemory::setLog(writer.get());
        m_writer = writer.release();
    }
    const SPW_CGuard guard(m_lock);
    m_path = path;
    m_openResult = result;
}

// 0, or 32 when the former log is in use.
SPW_Result TestLog::removeFormer(const SPW_CString& path) {
    // A device is written to and stays: /dev/null must not become a file when a superuser sends the log there.
    if (SPW_CDir::fileExists(path) != 0 || SPW_CDir::isDevice(path)) {
        return 0;
    }
    // The directory class has reported any other failure; the log then goes on in the old file.
    return SPW_CDir::removeUnusedFile(path) == kSysSharingViolation ? SPW_Result{kSysSharingViolation} : 0;
}

void TestLog::close() {
    TestLogWriter* const writer = m_writer.exchange(nullptr);
    if (writer == nullptr) {
        return;
    }
    SPW_CMemory::setLog(nullptr);
    const std::int32_t patience = m_patienceMs;
    if (writer->end(patience == kNoPatience ? kSPWForever : static_cast<std::uint32_t>(patience))) {
        delete writer;
    } else {
        abandon(writer);
    }
}

// The writer's thread may come back from the disk at any time, and then uses its object. A list has it, which tells a
// search for leaks that it is there on purpose.
void TestLog::abandon(TestLogWriter* writer) {
    static std::atomic<TestLogWriter*> latest{nullptr};
    writer->setFormerAbandoned(latest.exchange(writer));
}

void TestLog::limitRights() {
    const SPW_CString file = path();
    if (isOn() && SPW_CDir::fileExists(file) == 0) {
        (void)SPW_CHiveRights::limit(file);  // a log of another user stays as it is
    }
}

SPW_CString TestLog::path() const {
    const SPW_CGuard guard(m_lock);
    return m_path;
}

SPW_Result TestLog::openResult() const {
    const SPW_CGuard guard(m_lock);
    return m_openResult;
}

SPW_Result TestLog::log(const SPW_CString& line, std::int32_t waitMs) {
    TestLogWriter* const writer = m_writer;
    return writer != nullptr ? writer->log(line, waitMs) : 0;
}

void TestLog::logOfControl(const SPW_CString& line) {
    TestLogWriter* const writer = m_writer;
    if (writer == nullptr) {
        return;
    }
    const std::int32_t patience = m_patienceMs;
    if (patience == kNoPatience) {
        (void)writer->log(line, kNoLimit);  // refused only when the log has been given up
    } else {
        (void)writer->offerPatiently(line, patience);  // a lost line is counted
    }
}

void TestLog::logOfProbe(const SPW_CString& line, std::int32_t lateAfterMs) {
    TestLogWriter* const writer = m_writer;
    if (writer == nullptr) {
        return;
    }
    if (m_patienceMs != kNoPatience) {
        (void)writer->offer(line, lateAfterMs);  // a lost line is counted
    } else if (writer->log(line, lateAfterMs) != 0 && lateAfterMs != kNoLimit) {
        (void)writer->log(lostLine(line), kNoLimit);  // refused only when the log has been given up
    }
}

LogProgress TestLog::progress() const {
    const TestLogWriter* const writer = m_writer;
    return writer != nullptr ? writer->progress() : LogProgress();
}

void TestLog::giveUp() {
    TestLogWriter* const writer = m_writer;
    if (writer != nullptr) {
        writer->giveUp();
    }
}

namespace {

SPW_CString probeLine(ProbeKind kind, const char16_t* verb, std::int32_t sequence, const char16_t* preposition,
                      const SPW_CString& address) {
    SPW_CString line(u"E :");
    line += probeKindName(kind);
    line += verb;
    line += sequence;
    line += preposition;
    line += address;
    return line;
}

// What stands before the component's name in the line of a socket error. The misspelling is part of the texts,
// which people search their logs for.
const char16_t* socketErrorPrefix(ProbeKind kind) {
    switch (kind) {
        case kTcpipConnector:
            return u"SOCKET ERROR: (logged only once until successfull tcpip send to this address to avoid filling "
                   u"the logfile) on ";
        case kUdpConnector:
            return u"SOCKET ERROR: (logged only once until successfull udp send to this address to avoid filling "
                   u"the logfile) on ";
        case kPinger:
            return u"SOCKET ERROR: (logged only once until successfull ping to this address to avoid filling "
                   u"the logfile) on ";
        default:
            return u"SOCKET ERROR: on ";
    }
}

}  // namespace

SPW_CString TestLog::sentLine(ProbeKind kind, std::int32_t sequence, const SPW_CString& target,
                              const SPW_CString* data) {
    SPW_CString line = probeLine(kind, u" sent seq # ", sequence, u" to ", target);
    if (data != nullptr) {
        line += u"Data sent: ";
        line += *data;
    }
    return line;
}

SPW_CString TestLog::receivedLine(ProbeKind kind, std::int32_t sequence, const SPW_CString& sender,
                                  const SPW_CString* data) {
    SPW_CString line = probeLine(kind, u" received seq # ", sequence, u" from ", sender);
    if (data != nullptr) {
        line += u"Data received: ";
        line += *data;
    }
    return line;
}

SPW_CString TestLog::socketErrorLine(ProbeKind kind, const SPW_CString& address, const SPW_CString& message) {
    SPW_CString line(socketErrorPrefix(kind));
    line += probeKindName(kind);
    line += u" ( ";
    line += address;
    line += u" ) :";
    line += message;
    return line;
}

SPW_CString TestLog::lostLine(const SPW_CString& line) {
    return SPW_CString(u"LOG ERROR: Failed to log ") + line + u" fast enough";
}

SPW_CString TestLog::lossLine(std::uint32_t count) {
    SPW_CString line(u"LOG ERROR: ");
    line += static_cast<unsigned long>(count);
    return line + u" lines lost";
}

bool AddressSet::add(const SPW_CString& address) {
    const std::uint32_t hash = textHash(address);
    if (find(address, hash) >= 0) {
        return false;
    }
    m_hashes.append(hash);
    m_addresses.append(address);
    return true;
}

bool AddressSet::contains(const SPW_CString& address) const {
    return find(address, textHash(address)) >= 0;
}

void AddressSet::remove(const SPW_CString& address) {
    const int index = find(address, textHash(address));
    if (index >= 0) {
        m_hashes.removeElementAt(index);
        m_addresses.removeElementAt(index);
    }
}

void AddressSet::clear() {
    m_hashes.clear();
    m_addresses.clear();
}

int AddressSet::find(const SPW_CString& address, std::uint32_t hash) const {
    for (int i = 0; i < m_hashes.numberOfElements(); ++i) {
        if (m_hashes[i] == hash && m_addresses[i] == address) {
            return i;
        }
    }
    return -1;
}

bool OnceOnlyErrors::admit(ProbeKind kind, const SPW_CString& address) {
    AddressSet* list = listOf(kind);
    return list == nullptr || list->add(address);
}

void OnceOnlyErrors::forget(ProbeKind kind, const SPW_CString& address) {
    AddressSet* list = listOf(kind);
    if (list != nullptr) {
        list->remove(address);
    }
}

void OnceOnlyErrors::clear() {
    m_tcpip.clear();
    m_udp.clear();
    m_ping.clear();
}

AddressSet* OnceOnlyErrors::listOf(ProbeKind kind) {
    switch (kind) {
        case kTcpipConnector:
            return &m_tcpip;
        case kUdpConnector:
            return &m_udp;
        case kPinger:
            return &m_ping;
        default:
            return nullptr;
    }
}
