#pragma once

#include <cstdint>

#include "ProbeEventSink.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

class TestLogWriter;

// The test log as the engine sees it: the writer of its lines, or nothing while logging is off.
//
// Threads: open() once, before anybody else calls; then any thread. Lines wait in the writer's queue, whose room is
// bounded: a caller says how long it will wait for room.
class TestLog {
public:
    static constexpr std::int32_t kNoLimit = -1;  // of a wait, in milliseconds
    static constexpr std::uint32_t kQueuedLines = 100;

    TestLog() = default;
    ~TestLog();
    TestLog(const TestLog&) = delete;
    TestLog& operator=(const TestLog&) = delete;

    // Deletes a file of that name (but no device) and begins a new log. Until then logging is off.
    void open(const SPW_CString& path, const SPW_CString& description, const SPW_CString& application,
              const SPW_CString& version);
    // Writes the lines that still wait and closes the file.
    void close();
    bool isOn() const { return m_writer != nullptr; }
    const SPW_CString& path() const { return m_path; }
    // What opening the file gave; 0 while logging is off.
    SPW_Result openResult() const;

    // 0 when the line was taken or logging is off, 700 when no room came up within waitMs.
    SPW_Result log(const SPW_CString& line, std::int32_t waitMs);

    // The lines about probes. data: what the probe carried, or null to leave it out.
    static SPW_CString sentLine(std::uint32_t kind, std::int32_t sequence, const SPW_CString& target,
                                const SPW_CString* data);
    static SPW_CString receivedLine(std::uint32_t kind, std::int32_t sequence, const SPW_CString& sender,
                                    const SPW_CString* data);
    static SPW_CString socketErrorLine(std::uint32_t kind, const SPW_CString& address, const SPW_CString& message);
    // What is logged, without limit, when a line about a probe found no room in time.
    static SPW_CString lostLine(const SPW_CString& line);

private:
    TestLogWriter* m_writer = nullptr;
    SPW_CString m_path;
};

// Addresses, in no order. Meant for few at a time; a hash beside each keeps a search among many cheap.
// Threads: none; the owner locks.
class AddressSet {
public:
    // False when it is there already.
    bool add(const SPW_CString& address);
    void remove(const SPW_CString& address);
    void empty();

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
    // Whether an error of that probe kind at that address is to be logged; remembers it.
    bool admit(std::uint32_t kind, const SPW_CString& address);
    // A probe of that kind has reached the address: its next error is news again.
    void forget(std::uint32_t kind, const SPW_CString& address);
    void empty();

private:
    AddressSet* listOf(std::uint32_t kind);

    AddressSet m_tcpip;
    AddressSet m_udp;
    AddressSet m_ping;
};
