#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ScopedInstance.h"
#include "ScriptedIcmp.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSocket.h"
#include "StringPrinting.h"
#include "TemporaryFolder.h"
#include "TemporaryRegistry.h"
#include "TestEngine.h"

// What the user interface was told, as texts "label protocol received/total quality".
class RecordingUi : public UiSink {
public:
    void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                       std::int32_t total) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        std::ostringstream text;
        text << label.toAnsi() << " " << protocol << " " << received << "/" << total << " " << quality;
        m_updates.push_back(text.str());
        m_latest[{label.toAnsi(), protocol}] = text.str();
        m_latestQuality[label.toAnsi()] = quality;
    }
    void probesNotMade(const PeerRowValues& row, int protocol) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_notMade.push_back(row.label().toAnsi() + std::string(" ") + std::to_string(protocol));
    }
    // What could not be made since the last call, as texts "label protocol".
    std::vector<std::string> takeNotMade() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_notMade, {});
    }
    // The updates since the last call.
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_updates, {});
    }
    std::string latest(const std::string& label, int protocol) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_latest[{label, protocol}];
    }
    int latestQuality(const std::string& label) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_latestQuality[label];
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_updates;
    std::vector<std::string> m_notMade;
    std::map<std::pair<std::string, int>, std::string> m_latest;
    std::map<std::string, int> m_latestQuality;
};

// An engine on a network in memory, with a registry and a log of its own. This device is called "device" and has the
// address 10.0.0.1, and no adapter. Every address answers pings; nobody listens to probes.
//
// Probes are sent every 20 ms.
class EngineFixture : public testing::Test {
protected:
    static constexpr const char* kReportsFirstLine = "**System Settings**";
    static constexpr const char* kReportsLastLine = "**End of Vantiro Registry Settings**";
    static constexpr const char16_t* kAnnouncement = u"Version 9.8.7.6|far|||";

    EngineFixture() {
        m_registry.setSetting(u"log filename", m_folder.path("log.txt"));
        m_registry.setSetting(u"frequency qty", u"20");
        m_registry.setSetting(u"frequency units", u"milliseconds");
    }

    TestEngine& engine(bool loggingOn = true) {
        if (m_engine == nullptr) {
            m_engine = std::make_unique<TestEngine>(&m_ui, loggingOn);
        }
        return *m_engine;
    }
    void select(bool multicast, bool udp, bool tcpip, bool ping) {
        m_registry.setSetting(u"multicast selected", multicast ? u"yes" : u"no");
        m_registry.setSetting(u"udp selected", udp ? u"yes" : u"no");
        m_registry.setSetting(u"tcpip selected", tcpip ? u"yes" : u"no");
        m_registry.setSetting(u"ping selected", ping ? u"yes" : u"no");
    }
    static PeerRecord peer(const char16_t* address, const char16_t* name) {
        return PeerRecord{address, name, true, true, true};
    }
    void receive(ProbeKind kind, const char16_t* sender, std::int32_t sequence, const char16_t* text = kAnnouncement) {
        engine().onDataReceived(kind, 5009, sender, sequence, text);
    }

    std::vector<std::string> labels() {
        SPW_CArray<PeerRowValues> rows;
        engine().snapshot(rows);
        std::vector<std::string> result;
        for (int i = 0; i < rows.numberOfElements(); ++i) {
            result.emplace_back(rows[i].label().toAnsi());
        }
        return result;
    }
    // Each once, in order.
    std::set<std::string> knownAddresses() {
        SPW_CArray<SPW_CString> addresses;
        engine().knownAddresses(addresses);
        std::set<std::string> result;
        for (int i = 0; i < addresses.numberOfElements(); ++i) {
            result.emplace(addresses[i].toAnsi());
        }
        return result;
    }
    std::vector<std::string> problems() {
        SPW_CArray<StartProblem> all;
        engine().startProblems(all);
        std::vector<std::string> texts;
        for (int i = 0; i < all.numberOfElements(); ++i) {
            texts.emplace_back(all[i].text.toAnsi());
        }
        return texts;
    }
    PeerRowValues row(int index) {
        SPW_CArray<PeerRowValues> rows;
        engine().snapshot(rows);
        return index < rows.numberOfElements() ? rows[index] : PeerRowValues();
    }

    // The last of some texts. Where there is none: a text that says so and equals no other.
    static std::string lastOf(const std::vector<std::string>& texts) {
        return texts.empty() ? "(there is none)" : texts.back();
    }

    // Ends the engine and gives the lines of its log without the header and the time of each.
    std::vector<std::string> endAndReadWholeLog() {
        m_engine.reset();
        std::vector<std::string> lines;
        std::istringstream text(m_folder.read("log.txt"));
        for (std::string line; std::getline(text, line);) {
            const bool hasTime = line.size() > 9 && line[2] == ':' && line[5] == ':' && line[8] == ' ';
            if (hasTime) {
                EXPECT_EQ(line.back(), '\r');
                lines.push_back(line.substr(9, line.size() - 10));
            }
        }
        return lines;
    }
    // The same without the configuration report of each start.
    std::vector<std::string> endAndReadLog() {
        std::vector<std::string> lines = endAndReadWholeLog();
        for (;;) {
            const auto begin = std::find(lines.begin(), lines.end(), kReportsFirstLine);
            const auto last = std::find(begin, lines.end(), kReportsLastLine);
            if (last == lines.end()) {
                return lines;
            }
            lines.erase(begin, last + 1);
        }
    }
    // The same again without what the probes' own threads have written, which may stand anywhere.
    std::vector<std::string> endAndReadControlLines() {
        std::vector<std::string> lines = endAndReadLog();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const std::string& line) { return line.rfind("SOCKET ERROR: ", 0) == 0; }),
                    lines.end());
        return lines;
    }
    // The texts that UDP packets to this address have carried, by sequence number and without the packet's frame.
    std::vector<std::string> announcementsTo(const SPW_CIpAddress& address) {
        std::vector<std::string> texts;
        for (const ScriptedSocket::Sent& sent : m_sockets.sent()) {
            if (sent.address == address) {
                const std::size_t number = sent.bytes.find('|');
                const std::size_t text = sent.bytes.find('|', number + 1) + 1;
                texts.push_back(sent.bytes.substr(text, sent.bytes.size() - text - 1));
            }
        }
        return texts;
    }

    TemporaryFolder m_folder;
    TemporaryRegistry m_registry;
    ScriptedSocket m_sockets;
    ScopedInstance<SPW_CSocket> m_socketsInstalled{m_sockets};
    ScriptedIcmp m_icmp;
    ScopedInstance<SPW_CIcmp> m_icmpInstalled{m_icmp};
    ScriptedNetworkInfo m_network;
    RecordingUi m_ui;
    std::unique_ptr<TestEngine> m_engine;
};
