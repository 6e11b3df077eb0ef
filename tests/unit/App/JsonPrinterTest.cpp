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

SPW_CArray<PeerRowValues> oneRow() {
    PeerRowValues values;
    values.address = u"10.0.0.7";
    values.name = u"caf\u00e9 \"x\"";
    values.hasName = true;
    values.quality = 66;
    values.counts[kMulticast] = {1, 2, 1};
    values.counts[kTcpip] = {3, 5, 2};
    values.counts[kUdp] = {0, 0, 0};
    values.counts[kPing] = {7, 7, 0};
    SPW_CArray<PeerRowValues> rows;
    rows.append(values);
    return rows;
}

TEST(JsonPrinterTest, OneObjectPerRowOnALineOfItsOwn) {
    EXPECT_EQ(
        "{\"time\":\"2003-07-03T14:07:09.045Z\",\"test\":3,\"address\":\"10.0.0.7\",\"name\":\"caf\u00e9 \\\"x\\\"\","
        "\"label\":\"10.0.0.7 (caf\u00e9 \\\"x\\\")\",\"quality\":66,"
        "\"multicast\":{\"received\":1,\"total\":2,\"lost\":1},\"tcpip\":{\"received\":3,\"total\":5,\"lost\":2},"
        "\"udp\":{\"received\":0,\"total\":0,\"lost\":0},\"ping\":{\"received\":7,\"total\":7,\"lost\":0}}\n",
        formatJson(noon(), 3, false, oneRow()));
}

TEST(JsonPrinterTest, OnlyTheLastSnapshotIsMarkedFinal) {
    EXPECT_EQ(std::string::npos, formatJson(noon(), 3, false, oneRow()).find("final"));
    const std::string last = formatJson(noon(), 3, true, oneRow());
    EXPECT_EQ(last.size() - std::string(",\"final\":true}\n").size(), last.find(",\"final\":true}\n"));
}

// Brings a name into a row on the way that a packet's name takes.
std::string jsonOfName(const SPW_CString& name) {
    PeerTable table;
    table.addDiscovered(u"10.0.0.7", name);
    SPW_CArray<PeerRowValues> rows;
    rows.append(table.at(0).values());
    return formatJson(noon(), 1, false, rows);
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
    EXPECT_EQ("", formatJson(noon(), 1, true, SPW_CArray<PeerRowValues>()));
}

TEST(JsonPrinterTest, ARowNamesTheKindsOfProbeThatCouldNotBeMade) {
    SPW_CArray<PeerRowValues> rows = oneRow();
    EXPECT_EQ(std::string::npos, formatJson(noon(), 3, false, rows).find("notMade"));
    rows[0].isNotMade[kTcpip] = rows[0].isNotMade[kPing] = true;
    EXPECT_NE(std::string::npos,
              formatJson(noon(), 3, true, rows).find(",\"notMade\":[\"tcpip\",\"ping\"],\"final\":true}\n"));
}

}  // namespace
