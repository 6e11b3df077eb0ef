#pragma once

#include <atomic>
#include <cstdint>

#include "LogProgress.h"
#include "ProbeEventSink.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

class TestLogWriter;

// The test log as the engine sees it: the writer of its lines, or nothing while logging is off or has no file.
//
// Threads: open() and close() one at a time, close() when nobody else calls any more; all else any thread. Lines wait
// in the writer's queue, whose room is bounded: a caller says how long it will wait for room.
//
// A disk that does not answer must not hold up a test. The patience bounds what anybody waits for it:
//
//                        with a patience                                without
//     a probe's thread   never waits                                    waits for its period, or without limit
//     the controller     waits for the patience, once in a standstill   waits without limit
//     the end            waits for the patience                         waits without limit
//
// With a patience, lines that find no room wait in the writer's overflow. A log that works is never asked for more than
// that holds.
class TestLog {
public:
    static constexpr std::int32_t kNoLimit = -1;    // of a wait, in milliseconds
    static constexpr std::int32_t kNoPatience = 0;  // in milliseconds; see above
    static constexpr std::uint32_t kQueuedLines = 100;

    TestLog() = default;
    ~TestLog();
    TestLog(const TestLog&) = delete;
    TestLog& operator=(const TestLog&) = delete;

    // Deletes a file of that name (but no device, and nothing that another log has open, which gives 32) and begins a
    // new log. Until then logging is off. A log that cannot be opened shows in openResult(), and lines then go nowhere.
    // The call may be repeated until a log is open.
    void open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
              const SPW_CString& version);
    // Writes the lines that still wait and closes the file. A file that takes none of them for the patience stays open,
    // and its writer stays alive until the end of the process.
    void close();
    // In milliseconds, or kNoPatience; at first kNoPatience.
    void setPatience(std::int32_t milliseconds) { m_patienceMs = milliseconds; }
    // Lets those users read the log that may read the registry, and no others: each start writes a part of the registry
    // into it. For a log that is open already, because the registry's rights may have changed.
    void limitRights();
    bool isOn() const { return m_writer != nullptr; }
    // Of the latest open().
    SPW_CString path() const;
    // What the latest open() gave; 0 while logging is off.
    SPW_Result openResult() const;

    // 0 when the line was taken or there is no log, 700 when no room came up within waitMs.
    SPW_Result log(const SPW_CString& line, std::int32_t waitMs);
    // A line of the thread that drives the test.
    void logOfControl(const SPW_CString& line);
    // A line of a probe's thread. Without room for lateAfterMs (kNoLimit: however long), the log gets lostLine() in its
    // place.
    void logOfProbe(const SPW_CString& line, std::int32_t lateAfterMs);

    // See TestLogWriter; nothing while logging is off.
    LogProgress progress() const;
    void giveUp();

    // The lines about probes. data: what the probe carried, or null to leave it out.
    static SPW_CString sentLine(ProbeKind kind, std::int32_t sequence, const SPW_CString& target,
                                const SPW_CString* data);
    static SPW_CString receivedLine(ProbeKind kind, std::int32_t sequence, const SPW_CString& sender,
                                    const SPW_CString* data);
    static SPW_CString socketErrorLine(ProbeKind kind, const SPW_CString& address, const SPW_CString& message);
    // What is logged, without limit, when a line about a probe found no room in time.
    static SPW_CString lostLine(const SPW_CString& line);
    // What the log says at the place of lines that were lost. The same words for any count: readers search for them.
    static SPW_CString lossLine(std::uint32_t count);

private:
    static SPW_Result removeFormer(const SPW_CString& path);
    static void abandon(TestLogWriter* writer);

    std::atomic<TestLogWriter*> m_writer{nullptr};  // owned; there only with an open log
    std::atomic<std::int32_t> m_patienceMs{kNoPatience};
    mutable SPW_CCriticalSection m_lock;  // guards both below
    SPW_CString m_path;
    SPW_Result m_openResult = 0;
};

// Addresses, in no order. Meant for few at a time; a hash beside each keeps a search among many cheap.
// Threads: none; the owner locks.
class AddressSet {
public:
    // False when it is there already.
    bool add(const SPW_CString& address);
    bool contains(const SPW_CString& address) const;
    void remove(const SPW_CString& address);
    void clear();

private:
    int find(const SPW_CString& address, std::uint32_t hash) const;

    SPW_CArray<std::uint32_t> m_hashes;
    SPW_CArray<SPW_CString> m_addresses;  // parallel to m_hashes
};

// Keeps the log from filling with the errors of a peer that is down: a socket error of a tcpip connector, a udp
// connector or a pinger is logged once an address, until a success there. Other probes' errors always pass.
// Threads: none; the owner locks.
class OnceOnlyErrors {
public:
    // Whether the errors of that probe kind are logged once.
    bool covers(ProbeKind kind) { return listOf(kind) != nullptr; }
    // Whether an error of that probe kind at that address is to be logged; remembers it.
    bool admit(ProbeKind kind, const SPW_CString& address);
    // A probe of that kind has reached the address: its next error is news again.
    void forget(ProbeKind kind, const SPW_CString& address);
    void clear();

private:
    AddressSet* listOf(ProbeKind kind);

    AddressSet m_tcpip;
    AddressSet m_udp;
    AddressSet m_ping;
};
