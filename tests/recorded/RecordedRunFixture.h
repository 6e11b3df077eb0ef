#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Patience.h"
#include "RunRecord.h"
#include "ScopedInstance.h"
#include "ScriptedIcmp.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSocket.h"
#include "ScriptedSystemInfo.h"
#include "Snapshot.h"
#include "StillClock.h"
#include "TemporaryFolder.h"
#include "TemporaryRegistry.h"
#include "TestEngine.h"

// What the user interface was told, a line for each call.
class RecordedRows : public UiSink {
public:
    void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                       std::int32_t total) override;
    // The calls since the last take(). Waits until there are at least so many; what is missing then is missing.
    std::vector<std::string> take(std::size_t atLeast);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_updates;
};

// An engine on a network in memory, at a time that the test alone moves, and the record of what leaves the program:
// calls of the sink, packets, echo requests, printed rows, the log and the hive.
//
// It names nothing but operations that the front ends and the network need, so that work on the inside leaves it alone.
class RecordedRunFixture : public testing::Test {
protected:
    static constexpr std::uint32_t kPeriodMs = 1000;

    RecordedRunFixture();

    void begin(bool loggingOn);
    void setSetting(const char16_t* name, const char16_t* text) const { m_registry.setSetting(name, text); }
    void select(const char16_t* yesOrNo) const;

    // Waits until the log has written all that it was given. From then on its stamps are later by the period.
    void passTime();

    // A device in reach sends a probe to this one.
    void datagramFrom(const SPW_CIpAddress& sender, std::uint16_t port, const std::string& packet);
    static std::string packetOf(const std::string& sequence, const std::string& text);
    // Waits until this device has sent so many packets more to that address.
    void expectPacketsTo(const SPW_CIpAddress& address, std::size_t more);
    // Waits until the log has so many lines more about probes that were sent or received, and about socket errors.
    void expectLoggedProbes(int more);
    void expectLoggedErrors(int more);

    // What has happened since the last of these calls. Of more than one thread: sorted.
    void recordUpdates(std::size_t atLeast);
    void recordSortedUpdates(std::size_t atLeast);
    void recordPackets();
    void recordEchoes(std::size_t atLeast);
    // The rows as they are now, in both printed forms. withInsight: also what is recorded of a peer beside its counts.
    // Where threads of the engine's own feed that record, chance decides which of them comes first in a period.
    void recordRows(bool isFinal, bool withInsight = true);
    void recordTexts();
    // Ends the engine.
    std::string endAndReadLog();
    void recordHive();

    TemporaryFolder m_folder;
    TemporaryRegistry m_registry;
    StillClock m_clock;
    ScriptedSocket m_sockets;
    ScopedInstance<SPW_CSocket> m_socketsInstalled{m_sockets};
    ScriptedIcmp m_icmp;
    ScopedInstance<SPW_CIcmp> m_icmpInstalled{m_icmp};
    ScriptedNetworkInfo m_network;
    ScriptedSystemInfo m_system;
    ScopedInstance<SPW_CSystemInfo> m_systemInstalled{m_system};
    RecordedRows m_ui;
    RunRecord m_record;
    std::unique_ptr<TestEngine> m_engine;

private:
    void expectLogged(const std::string& text, int lines) const;
    // Paths are this machine's and this run's.
    std::string withoutPaths(std::string text) const;

    SnapshotTaker m_snapshots;
    std::size_t m_packetsRecorded = 0;
    std::size_t m_echoesRecorded = 0;
    int m_probesLogged = 0;
    int m_errorsLogged = 0;
};
