#include "JsonPrinter.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ForeignText.h"
#include "PeerTable.h"
#include "SPW_CClock.h"

namespace {

std::uint64_t noon() {
    SPW_CalendarTime time;
    time.year = 2003;
    time.month = 7;
    time.day = 3;
    time.hour = 14;
    time.minute = 7;
    time.second = 9;
    time.millisecond = 45;
    return SPW_CClock::fromUtc(time);
}

PeerRowValues row() {
    PeerRowValues values;
    values.address = u"10.0.0.7";
    values.name = u"caf\u00e9 \"x\"";
    values.hasName = true;
    values.quality = 66;
    values.counts[kMulticast] = {1, 2, 1};
    values.counts[kTcpip] = {3, 5, 2};
    values.counts[kUdp] = {0, 0, 0};
    values.counts[kPing] = {7, 7, 0};
    return values;
}

Snapshot snapshotOf(const PeerRowValues& row, bool isFinal = false) {
    Snapshot snapshot;
    snapshot.wall100ns = noon();
    snapshot.of = {3, 10, isFinal};
    snapshot.observerAddress = u"10.0.0.1";
    snapshot.observerName = u"desk";
    snapshot.rows.append(row);
    snapshot.insights.resize(1);
    snapshot.insights[0].hops = -1;
    snapshot.intervals.resize(1);
    return snapshot;
}

nlohmann::json objectOf(const Snapshot& snapshot) {
    return nlohmann::json::parse(formatJson(snapshot));
}

// Some seconds after noon().
std::uint64_t later(std::uint64_t seconds) {
    return noon() + seconds * kOneSecond100ns;
}

// What stands behind the counts of a kind of which nothing is known.
const std::string kNothingKnown =
    ",\"state\":null,\"since\":null,\"last_heard\":null,\"duplicates\":0,\"reordered\":0,\"jitter_us\":null,"
    "\"interval\":{\"received\":0,\"lost\":0},\"out\":{\"state\":null,\"since\":null,\"last_error\":null,"
    "\"last_error_time\":null,\"unanswered_packets\":0,\"repetitions\":0}}";

TEST(JsonPrinterTest, OneObjectPerRowOnALineOfItsOwn) {
    EXPECT_EQ(
        "{\"time\":\"2003-07-03T14:07:09.045Z\",\"test\":3,\"address\":\"10.0.0.7\",\"name\":\"caf\u00e9 \\\"x\\\"\","
        "\"label\":\"10.0.0.7 (caf\u00e9 \\\"x\\\")\",\"quality\":66,"
        "\"multicast\":{\"received\":1,\"total\":2,\"lost\":1" +
            kNothingKnown + ",\"tcpip\":{\"received\":3,\"total\":5,\"lost\":2" + kNothingKnown +
            ",\"udp\":{\"received\":0,\"total\":0,\"lost\":0" + kNothingKnown +
            ",\"ping\":{\"received\":7,\"total\":7,\"lost\":0" + kNothingKnown +
            ",\"observer\":{\"address\":\"10.0.0.1\",\"name\":\"desk\"},\"state\":null,\"since\":null,"
            "\"rtt_us\":{\"last\":null,\"min\":null,\"mean\":null,\"max\":null,\"stddev\":null,\"p50\":null,"
            "\"p95\":null,\"p99\":null,\"jitter\":null,\"count\":0},\"hops\":null,\"loss_on_the_way_out\":false,"
            "\"outage_count\":0,\"outages\":[],\"restart_count\":0,\"restarts\":[]}\n",
        formatJson(snapshotOf(row())));
}

TEST(JsonPrinterTest, OnlyTheLastSnapshotIsMarkedFinal) {
    EXPECT_EQ(std::string::npos, formatJson(snapshotOf(row())).find("final"));
    const std::string last = formatJson(snapshotOf(row(), true));
    EXPECT_EQ(last.size() - std::string(",\"final\":true}\n").size(), last.find(",\"final\":true}\n"));
}

TEST(JsonPrinterTest, AStateStandsWithTheTimeAtWhichItBegan) {
    Snapshot snapshot = snapshotOf(row());
    PeerInsightValues& insight = snapshot.insights[0];
    insight.summary.state = PeerState::kPartial;
    insight.summary.since.wall100ns = later(1);
    insight.kinds[kUdp].state = KindState::kSilent;
    insight.kinds[kUdp].since.wall100ns = later(2);
    insight.kinds[kUdp].lastHeard.wall100ns = later(2);
    insight.kinds[kTcpip].state = KindState::kOk;
    insight.kinds[kTcpip].out.state = SendState::kTimedOut;
    insight.kinds[kTcpip].out.since.wall100ns = later(3);
    insight.kinds[kTcpip].out.lastError = 10060;
    insight.kinds[kTcpip].out.lastErrorWall100ns = later(4);
    const nlohmann::json object = objectOf(snapshot);
    EXPECT_EQ("partial", object["state"]);
    EXPECT_EQ("2003-07-03T14:07:10.045Z", object["since"]);
    EXPECT_EQ("silent", object["udp"]["state"]);
    EXPECT_EQ("2003-07-03T14:07:11.045Z", object["udp"]["since"]);
    EXPECT_EQ("2003-07-03T14:07:11.045Z", object["udp"]["last_heard"]);
    EXPECT_EQ("ok", object["tcpip"]["state"]);
    EXPECT_EQ("timed_out", object["tcpip"]["out"]["state"]);
    EXPECT_EQ("2003-07-03T14:07:12.045Z", object["tcpip"]["out"]["since"]);
    EXPECT_EQ(10060, object["tcpip"]["out"]["last_error"]);
    EXPECT_EQ("2003-07-03T14:07:13.045Z", object["tcpip"]["out"]["last_error_time"]);
}

TEST(JsonPrinterTest, TimesOfPingsAndJitterAreInMicroseconds) {
    Snapshot snapshot = snapshotOf(row());
    snapshot.insights[0].roundTrip = {2, 1, 20, 305, 40000, 50, 61, 72, 83, 94};
    snapshot.insights[0].kinds[kUdp].jitterCount = 1;
    snapshot.insights[0].kinds[kUdp].jitter100ns = 15;
    const nlohmann::json object = objectOf(snapshot);
    EXPECT_EQ(nlohmann::json::parse("{\"last\":0.1,\"min\":2.0,\"mean\":30.5,\"max\":4000.0,\"stddev\":5.0,\"p50\":6.1,"
                                    "\"p95\":7.2,\"p99\":8.3,\"jitter\":9.4,\"count\":2}"),
              object["rtt_us"]);
    EXPECT_EQ(1.5, object["udp"]["jitter_us"]);
    // One time has no difference to another.
    snapshot.insights[0].roundTrip.count = 1;
    EXPECT_TRUE(objectOf(snapshot)["rtt_us"]["jitter"].is_null());
}

TEST(JsonPrinterTest, AnOutageHasAnEndAndMissedProbesOnlyWhenItIsOver) {
    Snapshot snapshot = snapshotOf(row());
    PeerInsightValues& insight = snapshot.insights[0];
    insight.outages = 2;
    insight.outagesInAll = 40;
    insight.outage[0] = {later(1), later(3), 25 * kOneSecond100ns / 10 + 9999, 7, 1 << kPing | 1 << kMulticast, true};
    insight.outage[1] = {later(5), 0, kOneSecond100ns, 0, 1 << kUdp, false};
    insight.restarts = 1;
    insight.restartsInAll = 9;
    insight.restartWall100ns[0] = later(4);
    insight.hops = 2;
    insight.isLossOnTheWayOut = true;
    const nlohmann::json object = objectOf(snapshot);
    EXPECT_EQ(40, object["outage_count"]);
    EXPECT_EQ(nlohmann::json::parse("[{\"began\":\"2003-07-03T14:07:10.045Z\",\"ended\":\"2003-07-03T14:07:12.045Z\","
                                    "\"seconds\":2.5,\"kinds\":[\"multicast\",\"ping\"],\"missed\":7},"
                                    "{\"began\":\"2003-07-03T14:07:14.045Z\",\"ended\":null,\"seconds\":1.0,"
                                    "\"kinds\":[\"udp\"],\"missed\":null}]"),
              object["outages"]);
    EXPECT_EQ(9, object["restart_count"]);
    EXPECT_EQ(nlohmann::json::parse("[\"2003-07-03T14:07:13.045Z\"]"), object["restarts"]);
    EXPECT_EQ(2, object["hops"]);
    EXPECT_EQ(true, object["loss_on_the_way_out"]);
}

// Brings a name into a row on the way that a packet's name takes.
std::string jsonOfName(const SPW_CString& name) {
    PeerTable table;
    table.addDiscovered(u"10.0.0.7", name);
    return formatJson(snapshotOf(table.at(0).values()));
}

TEST(JsonPrinterTest, AHostileNameLeavesOneObjectOnOneLine) {
    const char16_t lone[] = {0xD83D, u'x', 0xDE00, 0};
    SPW_CString everything;
    for (int c = 1; c < 0x110; ++c) {
        everything.append(static_cast<char16_t>(c));
    }
    SPW_CString longest;
    longest.fill(u'"', 900);
    for (const SPW_CString& name :
         {SPW_CString(lone), everything, longest, SPW_CString("\xFF\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80"),
          SPW_CString(u"\\\",\"quality\":100,\"x\":\""), SPW_CString(u"\u2028\u2029\u202E")}) {
        const std::string line = jsonOfName(name);
        EXPECT_EQ(line.size() - 1, line.find('\n'));
        for (const char c : line.substr(0, line.size() - 1)) {
            EXPECT_GE(static_cast<unsigned char>(c), 0x20);
        }
        ASSERT_TRUE(nlohmann::json::accept(line)) << line;
        const nlohmann::json object = nlohmann::json::parse(line);
        EXPECT_EQ(std::string(showableText(name).toAnsi()), object["name"].get<std::string>());
        EXPECT_EQ("10.0.0.7 (" + object["name"].get<std::string>() + ")", object["label"].get<std::string>());
        EXPECT_EQ(0, object["quality"].get<int>());
    }
}

TEST(JsonPrinterTest, NoRowsGiveNoLines) {
    EXPECT_EQ("", formatJson(Snapshot()));
}

TEST(JsonPrinterTest, ARowNamesTheKindsOfProbeThatCouldNotBeMade) {
    PeerRowValues values = row();
    EXPECT_EQ(std::string::npos, formatJson(snapshotOf(values)).find("notMade"));
    values.isNotMade[kTcpip] = values.isNotMade[kPing] = true;
    EXPECT_NE(std::string::npos,
              formatJson(snapshotOf(values, true)).find(",\"notMade\":[\"tcpip\",\"ping\"],\"final\":true}\n"));
}

}  // namespace
