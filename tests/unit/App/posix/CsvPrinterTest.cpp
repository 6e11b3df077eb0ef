#include "CsvPrinter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// The fields of one record, by the grammar of RFC 4180.
std::vector<std::string> fieldsOf(const std::string& record) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    for (std::size_t i = 0; i + 2 < record.size() + (isQuoted ? 2 : 0); ++i) {
        const char c = record[i];
        if (c == '"' && isQuoted && record[i + 1] == '"') {
            fields.back() += record[++i];
        } else if (c == '"') {
            isQuoted = !isQuoted;
        } else if (c == ',' && !isQuoted) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

Snapshot snapshotOf(const char16_t* name) {
    Snapshot snapshot;
    PeerRowValues row;
    row.address = u"10.0.0.7";
    row.name = name;
    row.hasName = true;
    row.quality = 66;
    row.counts[kPing] = {6, 7, 1};
    snapshot.rows.append(row);
    snapshot.insights.resize(1);
    snapshot.intervals.resize(1);
    snapshot.intervals[0].lost[kPing] = -2;
    return snapshot;
}

std::string fieldOf(const Snapshot& snapshot, const std::string& name) {
    const std::vector<std::string> names = fieldsOf(csvHeader());
    const std::vector<std::string> fields = fieldsOf(formatCsv(snapshot));
    EXPECT_EQ(names.size(), fields.size());
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? "no such column" : fields[static_cast<std::size_t>(found - names.begin())];
}

TEST(CsvPrinterTest, EveryRecordHasAFieldForEachColumnAndEndsWithCrLf) {
    const std::string header = csvHeader();
    EXPECT_EQ(header.find("\r\n"), header.size() - 2);
    Snapshot snapshot = snapshotOf(u"x");
    EXPECT_EQ(fieldsOf(header).size(), fieldsOf(formatCsv(snapshot)).size());
    snapshot.of.isFinal = true;
    snapshot.rows[0].isNotMade[kPing] = snapshot.rows[0].isNotMade[kTcpip] = true;
    snapshot.insights[0].outages = 1;
    EXPECT_EQ(fieldsOf(header).size(), fieldsOf(formatCsv(snapshot)).size());
    EXPECT_EQ(fieldOf(snapshot, "final"), "true");
    EXPECT_EQ(fieldOf(snapshot, "notMade"), "tcpip ping");
}

TEST(CsvPrinterTest, AColumnIsNamedByTheObjectsThatItIsIn) {
    const Snapshot snapshot = snapshotOf(u"x");
    EXPECT_EQ(fieldOf(snapshot, "address"), "10.0.0.7");
    EXPECT_EQ(fieldOf(snapshot, "quality"), "66");
    EXPECT_EQ(fieldOf(snapshot, "ping_total"), "7");
    EXPECT_EQ(fieldOf(snapshot, "ping_interval_lost"), "-2");
    EXPECT_EQ(fieldOf(snapshot, "final"), "false");
}

TEST(CsvPrinterTest, WhatIsNotKnownIsEmpty) {
    const Snapshot snapshot = snapshotOf(u"x");
    EXPECT_EQ(fieldOf(snapshot, "state"), "");
    EXPECT_EQ(fieldOf(snapshot, "rtt_us_p95"), "");
    EXPECT_EQ(fieldOf(snapshot, "notMade"), "");
}

TEST(CsvPrinterTest, CommasAndQuotesInANameMakeNoColumn) {
    EXPECT_EQ(fieldOf(snapshotOf(u"a, \"b\""), "name"), "a, \"b\"");
    EXPECT_NE(formatCsv(snapshotOf(u"a, \"b\"")).find(",\"a, \"\"b\"\"\","), std::string::npos);
}

TEST(CsvPrinterTest, NoNameIsAFormula) {
    EXPECT_EQ(fieldOf(snapshotOf(u"=1+1"), "name"), "'=1+1");
    EXPECT_EQ(fieldOf(snapshotOf(u"@x"), "name"), "'@x");
    EXPECT_EQ(fieldOf(snapshotOf(u"a=1"), "name"), "a=1");
}

}  // namespace
