// A run of the engine, recorded to the byte. Devices in the field and programs that read the output share all of it: a
// change of the inside must not show here. README.md beside this file says how to record anew.

#include "RecordedRunFixture.h"

namespace {

constexpr SPW_CIpAddress kPocket(10, 0, 0, 7);
constexpr SPW_CIpAddress kPrinter(10, 0, 0, 8);
constexpr SPW_CIpAddress kStranger(10, 0, 0, 9);
constexpr SPW_CIpAddress kLate(10, 0, 0, 10);
constexpr SPW_CIpAddress kGroup(228, 227, 226, 225);
constexpr std::uint16_t kPort = 5009;
constexpr std::uint16_t kMulticastPort = 7550;

constexpr const char16_t* kFarText = u"Version 9.8.7.6|far|||";

class RecordedRunTest : public RecordedRunFixture {
protected:
    // Reports as the probes give them, on the test's own thread.
    void sent(ProbeKind kind, const char16_t* target, std::int32_t sequence) {
        m_engine->onDataSent(kind, kPort, target, sequence, u"Version 1.2.3.4|pocket1||||");
    }
    void received(ProbeKind kind, const char16_t* sender, std::int32_t sequence, const char16_t* text = kFarText) {
        m_engine->onDataReceived(kind, kPort, sender, sequence, text);
    }
    void failed(ProbeKind kind, const char16_t* address, SPW_Result code) {
        m_engine->onSocketError(kind, kPort, address, code, probeFailureText(u"send failed ", code));
    }

    // What each period brings while everything is selected: one probe of each kind to each of the peers. The pocket
    // alone accepts connections. The printer alone does not answer pings.
    void passPeriod(const std::vector<SPW_CIpAddress>& others, std::size_t answeredPings) {
        passTime();
        expectPacketsTo(kPocket, 2);
        for (const SPW_CIpAddress& other : others) {
            expectPacketsTo(other, 1);
        }
        expectPacketsTo(kGroup, 1);
        recordSortedUpdates(answeredPings);
        recordEchoes(others.size() + 1);
    }
};

// Nothing is selected, hence no thread of the engine's sends or receives: everything is in order.
TEST_F(RecordedRunTest, ReportsOfProbesAreCountedLoggedAndPrintedAsRecorded) {
    select(u"no");
    setSetting(u"log events", u"yes");
    setSetting(u"log data packets", u"yes");
    setSetting(u"log filename", m_folder.path("log.txt").text());
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_registry.setNamedPeer(u"twin", u"10.0.0.8");
    m_registry.add(
        "HKEY_LOCAL_MACHINE",
        "[HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks]\n\"number\"=dword:0000002a\n\"bytes\"=hex:01,02,ff\n");
    begin(true);
    recordHive();
    recordTexts();

    passTime();
    m_engine->addPeer({u"10.0.0.7", u"manually added", true, true, true});
    m_engine->start();
    recordUpdates(12);
    recordRows(false);
    recordTexts();

    passTime();
    for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kMulticastConnector, kPinger}) {
        sent(kind, u"10.0.0.7", 1);
        failed(kind, u"10.0.0.7", 10054);
        failed(kind, u"10.0.0.7", 10061);
        sent(kind, u"10.0.0.7", 2);
        failed(kind, u"10.0.0.7", 10065);
        failed(kind, u"10.0.0.8", 10065);
    }
    for (const ProbeKind kind : {kTcpipListener, kUdpListener, kMulticastListener}) {
        failed(kind, u"", 10004);
        failed(kind, u"10.0.0.7", 10004);
    }
    recordUpdates(0);

    passTime();
    for (const ProbeKind kind : {kTcpipListener, kUdpListener, kMulticastListener, kPinger}) {
        for (const std::int32_t sequence : {5, 6, 8, 8, 3, 1, 2, 2147483647, -2147483647 - 1, 0, -7}) {
            received(kind, u"10.0.0.7", sequence);
        }
        failed(kind, u"10.0.0.7", 11010);
    }
    received(kUdpListener, u"10.0.0.8", 1);
    received(kTcpipConnector, u"10.0.0.8", 2);  // a kind that receives nothing
    recordUpdates(45);
    recordRows(false);

    passTime();
    received(kMulticastListener, u"10.0.0.9", 1, u"Version 9.8.7.6|stranger||||");
    received(kMulticastListener, u"10.0.0.9", 2, u"Version 9.8.7.6|renamed||||");
    received(kUdpListener, u"10.0.0.10", 1, u"no name at all");
    received(kTcpipListener, u"10.0.0.11", 1, u"a:tab\tand an escape\x1B[2J|");
    received(kTcpipListener, u"10.0.0.1", 1);  // this device itself
    received(kPinger, u"10.0.0.12", 1, u"");
    received(kTcpipListener, u"10.0.0.11", 2, u"");
    recordUpdates(2);
    recordRows(false);

    passTime();
    m_engine->logReport();
    m_engine->resetStatistics();
    received(kUdpListener, u"10.0.0.7", 9);
    received(kUdpListener, u"10.0.0.7", 11);
    m_engine->addPeer({u"10.0.0.13", u"", true, true, true});
    recordUpdates(30);

    passTime();
    setSetting(u"log data packets", u"no");
    setSetting(u"peer set includes anyone-in-reach", u"no");
    setSetting(u"description", u"another description");
    m_engine->stopProbing();
    received(kUdpListener, u"10.0.0.14", 1);
    recordRows(true);
    m_engine->completeTest();
    recordRows(true);

    passTime();
    m_engine->start();
    received(kUdpListener, u"10.0.0.14", 1);
    received(kUdpListener, u"10.0.0.13", 1);
    sent(kUdpConnector, u"10.0.0.13", 1);
    recordUpdates(17);
    m_engine->stop();
    recordRows(true);

    m_record.section("log");
    m_record.add(endAndReadLog());
    recordHive();
    m_record.expectAsStored("reports");
}

TEST_F(RecordedRunTest, TrafficOfTwoTestsIsAsRecorded) {
    setSetting(u"log events", u"yes");
    setSetting(u"log filename", m_folder.path("log.txt").text());
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    m_icmp.setAnswers(kPrinter, false);
    m_sockets.listenAt(kPocket, kPort);
    begin(true);

    m_engine->addPeer({u"10.0.0.7", u"pocket", true, true, true});
    m_engine->start();
    expectPacketsTo(kPocket, 2);
    expectPacketsTo(kPrinter, 1);
    expectPacketsTo(kGroup, 1);
    expectLoggedProbes(7);
    expectLoggedErrors(2);
    recordSortedUpdates(9);
    recordEchoes(2);
    recordPackets();

    passPeriod({kPrinter}, 1);
    expectLoggedProbes(7);
    recordPackets();

    // One at a time, each until the row has it.
    datagramFrom(kPocket, kPort, packetOf("1", "Version 9.8.7.6|pocket|"));
    recordUpdates(1);
    datagramFrom(kPocket, kPort, "Vantiro Diagnosticsx2|the byte behind the tag is not looked at");
    recordUpdates(1);
    for (const char* noProbe : {"", "Vantiro diagnostic|3|", "Vantiro Diagnostic|", "GET / HTTP/1.0"}) {
        datagramFrom(kPocket, kPort, noProbe);
    }
    datagramFrom(kPocket, kPort, packetOf("4", "Version 9.8.7.6|pocket|"));
    recordUpdates(1);
    datagramFrom(kPrinter, kMulticastPort, packetOf("7", "Version 9.8.7.6|printer|"));
    recordUpdates(1);
    const SPW_Socket client = m_sockets.connectFrom(kPocket, kPort);
    const std::string first = packetOf("1", "Version 9.8.7.6|pocket|");
    EXPECT_EQ(m_sockets.send(client, first.data(), static_cast<int>(first.size())), static_cast<int>(first.size()));
    recordUpdates(1);
    const std::string two = packetOf("2", "two in one") + packetOf("3", "two in one");
    EXPECT_EQ(m_sockets.send(client, two.data(), static_cast<int>(two.size())), static_cast<int>(two.size()));
    recordUpdates(1);
    datagramFrom(kStranger, kPort, packetOf("41", "Version 9.8.7.6|stranger||"));
    expectPacketsTo(kStranger, 1);
    recordSortedUpdates(1);
    recordEchoes(1);
    recordPackets();
    datagramFrom(kStranger, kPort, packetOf("42", "Version 9.8.7.6|stranger||"));
    recordUpdates(1);
    expectLoggedProbes(11);
    expectLoggedErrors(1);
    recordRows(false, false);

    passPeriod({kPrinter, kStranger}, 2);
    expectLoggedProbes(10);
    recordPackets();
    m_engine->logReport();
    m_engine->resetStatistics();
    recordUpdates(12);

    passPeriod({kPrinter, kStranger}, 2);
    expectLoggedProbes(10);
    recordPackets();
    m_engine->stop();
    recordRows(true, false);

    // The second test's probes bear the name; the settings are read anew.
    passTime();
    setSetting(u"overhead bytes", u"3");
    m_engine->start();
    expectPacketsTo(kPocket, 2);
    expectPacketsTo(kPrinter, 1);
    expectPacketsTo(kGroup, 1);
    expectLoggedProbes(7);
    expectLoggedErrors(2);
    recordSortedUpdates(9);
    recordEchoes(2);
    recordPackets();
    m_engine->addPeer({u"10.0.0.10", u"late", true, true, true});
    expectPacketsTo(kLate, 1);
    expectLoggedProbes(3);
    expectLoggedErrors(1);
    recordSortedUpdates(1);
    recordEchoes(1);
    recordPackets();
    m_engine->stop();
    recordRows(true, false);

    m_record.section("log");
    m_record.add(withSortedProbeLines(endAndReadLog()));
    recordHive();
    m_record.expectAsStored("traffic");
}

TEST_F(RecordedRunTest, AFirstStartsSettingsAndProblemsAreAsRecorded) {
    begin(false);
    recordHive();
    recordTexts();

    setSetting(u"log filename", m_folder.path("log.txt").text());
    select(u"no");
    setSetting(u"tcpip selected", u"yes");
    m_sockets.setAddresses({});
    m_sockets.failNext(ScriptedSocket::kListen, 10048);
    begin(true);
    m_engine->start();
    recordTexts();
    recordRows(false);
    m_engine->stop();
    m_record.section("log");
    m_record.add(endAndReadLog());
    m_record.expectAsStored("first start");
}

}  // namespace
