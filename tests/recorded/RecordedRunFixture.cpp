#include "RecordedRunFixture.h"

#include <algorithm>
#include <filesystem>

#include "JsonPrinter.h"
#include "TablePrinter.h"

namespace {

std::string textOf(const SPW_CIpAddress& address) {
    return std::string(address.toText().toAnsi());
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

int occurrences(const std::string& text, const std::string& what) {
    int count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) {
        ++count;
    }
    return count;
}

}  // namespace

// ---- The disk

// Both would keep a test waiting for a disk that is busy with others; what is flushed when is told elsewhere.
extern "C" int __wrap_fdatasync(int) {
    return 0;
}

extern "C" int __wrap_fsync(int) {
    return 0;
}

// ---- RecordedRows

void RecordedRows::updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                                 std::int32_t total) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_updates.push_back(std::string("\"") + std::string(label.toAnsi()) + "\" quality " + std::to_string(quality) +
                        ", protocol " + std::to_string(protocol) + ": " + std::to_string(received) + " of " +
                        std::to_string(total));
    m_changed.notify_all();
}

std::vector<std::string> RecordedRows::take(std::size_t atLeast) {
    std::unique_lock<std::mutex> lock(m_mutex);
    EXPECT_TRUE(m_changed.wait_for(lock, kPatience, [&] { return m_updates.size() >= atLeast; }))
        << m_updates.size() << " of " << atLeast << " updates came";
    return std::exchange(m_updates, {});
}

// ---- RecordedRunFixture

RecordedRunFixture::RecordedRunFixture() {
    m_sockets.setHostName(u"pocket1");
    m_sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(10, 0, 0, 1)});
    m_system.fileVersionHigh = 0x00010002;
    m_system.fileVersionLow = 0x00030004;
    m_system.os.platform = kOsWindowsCe;
    m_system.os.major = 3;
    m_system.os.build = 126;
    m_system.product = u"PocketPC";
    m_network.network.hostName = "pocket1";
    m_network.network.domainName = "example";
    m_network.network.dnsServers = {{"10.0.0.53", "255.255.255.0"}};
    ScriptedNetworkInfo::Adapter adapter;
    adapter.name = "NE20001";
    adapter.description = "a network card";
    adapter.hardwareAddress = {0x02, 0x00, 0x0A, 0x00, 0x00, 0x01};
    adapter.index = 2;
    adapter.type = 6;
    adapter.addresses = {{"10.0.0.1", "255.255.255.0"}};
    adapter.gateways = {{"10.0.0.254", "255.255.255.0"}};
    m_network.adapterList = {adapter};
}

void RecordedRunFixture::begin(bool loggingOn) {
    m_engine = std::make_unique<TestEngine>(&m_ui, loggingOn);
}

void RecordedRunFixture::select(const char16_t* yesOrNo) const {
    for (const char16_t* name : {u"multicast selected", u"udp selected", u"tcpip selected", u"ping selected"}) {
        setSetting(name, yesOrNo);
    }
}

void RecordedRunFixture::passTime() {
    EXPECT_TRUE(soon([this] {
        const LogProgress progress = m_engine->logProgress();
        return progress.taken == progress.written;
    }));
    m_clock.advanceMs(kPeriodMs);
}

void RecordedRunFixture::datagramFrom(const SPW_CIpAddress& sender, std::uint16_t port, const std::string& packet) {
    EXPECT_TRUE(m_sockets.deliver(port, sender, packet));
}

std::string RecordedRunFixture::packetOf(const std::string& sequence, const std::string& text) {
    std::string packet = "Vantiro Diagnostic|" + sequence + "|" + text;
    packet.push_back('\0');
    return packet;
}

void RecordedRunFixture::expectPacketsTo(const SPW_CIpAddress& address, std::size_t more) {
    const std::vector<ScriptedSocket::Sent> sent = m_sockets.sent();
    const auto recorded = sent.begin() + static_cast<std::ptrdiff_t>(m_packetsRecorded);
    const auto isToIt = [&](const ScriptedSocket::Sent& packet) { return packet.address == address; };
    const auto before = static_cast<std::size_t>(std::count_if(sent.begin(), recorded, isToIt));
    EXPECT_TRUE(m_sockets.waitForSentTo(address, before + more)) << textOf(address);
}

void RecordedRunFixture::expectLoggedProbes(int more) {
    m_probesLogged += more;
    expectLogged(" seq #", m_probesLogged);
}

void RecordedRunFixture::expectLoggedErrors(int more) {
    m_errorsLogged += more;
    expectLogged("SOCKET ERROR: ", m_errorsLogged);
}

void RecordedRunFixture::expectLogged(const std::string& text, int lines) const {
    EXPECT_TRUE(soon([&] { return occurrences(m_folder.read("log.txt"), text) >= lines; }))
        << lines << " times '" << text << "' in\n"
        << m_folder.read("log.txt");
}

void RecordedRunFixture::recordUpdates(std::size_t atLeast) {
    m_record.section("rows that the user interface was told");
    m_record.addLines(m_ui.take(atLeast));
}

void RecordedRunFixture::recordSortedUpdates(std::size_t atLeast) {
    m_record.section("rows that the user interface was told, sorted");
    m_record.addSorted(m_ui.take(atLeast));
}

void RecordedRunFixture::recordPackets() {
    const std::vector<ScriptedSocket::Sent> sent = m_sockets.sent();
    std::vector<std::string> lines;
    for (; m_packetsRecorded < sent.size(); ++m_packetsRecorded) {
        const ScriptedSocket::Sent& packet = sent[m_packetsRecorded];
        lines.push_back(textOf(packet.address) + ":" + std::to_string(packet.port) + " " + packet.bytes);
    }
    m_record.section("packets, sorted");
    m_record.addSorted(std::move(lines));
}

void RecordedRunFixture::recordEchoes(std::size_t atLeast) {
    m_icmp.waitForRequests(m_echoesRecorded + atLeast);
    const std::vector<ScriptedIcmp::Request> requests = m_icmp.requests();
    std::vector<std::string> lines;
    for (; m_echoesRecorded < requests.size(); ++m_echoesRecorded) {
        const ScriptedIcmp::Request& request = requests[m_echoesRecorded];
        lines.push_back(textOf(request.address) + " time-out " + std::to_string(request.timeoutMs) + " ms, " +
                        std::to_string(request.bytes.size()) + " bytes: " + request.bytes);
    }
    m_record.section("echo requests, sorted");
    m_record.addSorted(std::move(lines));
}

void RecordedRunFixture::recordRows(bool isFinal, bool withInsight) {
    Snapshot snapshot = m_snapshots.take(*m_engine, {m_engine->testNumber(), 75, isFinal});
    SPW_CArray<PeerRowValues>& rows = snapshot.rows;
    for (int i = 0; i < rows.numberOfElements() && !withInsight; ++i) {
        rows[i].summary = PeerSummary();
        snapshot.insights[static_cast<std::size_t>(i)] = PeerInsightValues();
        snapshot.intervals[static_cast<std::size_t>(i)] = IntervalValues();
    }
    TableHeading heading;
    heading.localTime = u"14:07:09";
    heading.testNumber = m_engine->testNumber();
    heading.elapsedSeconds = 75;
    heading.isFinal = isFinal;
    m_record.section("table");
    m_record.add(formatTable(heading, rows).toAnsi());
    m_record.section("table of 60 columns");
    m_record.add(formatTable(heading, rows, 60).toAnsi());
    m_record.add(formatVerdict(rows, Demands()).toAnsi());
    m_record.section("JSON");
    m_record.add(formatJson(snapshot));
}

void RecordedRunFixture::recordTexts() {
    m_record.section("title");
    m_record.add(m_engine->title().toAnsi());
    m_record.section("local info");
    m_record.add(withoutPaths(std::string(m_engine->localInfo().toAnsi())));
    m_record.section("problems");
    SPW_CArray<StartProblem> problems;
    m_engine->startProblems(problems);
    for (int i = 0; i < problems.numberOfElements(); ++i) {
        m_record.add(withoutPaths(std::string(problems[i].text.toAnsi())));
    }
}

std::string RecordedRunFixture::endAndReadLog() {
    m_engine.reset();
    return withoutPaths(m_folder.read("log.txt"));
}

void RecordedRunFixture::recordHive() {
    m_record.section("hive");
    m_record.add(withoutPaths(m_registry.folder().read("HKEY_CURRENT_USER.reg")));
}

std::string RecordedRunFixture::withoutPaths(std::string text) const {
    replaceAll(text, std::filesystem::read_symlink("/proc/self/exe").string(), "{program}");
    replaceAll(text, m_folder.native().string(), "{folder}");
    return text;
}
