#include "TablePrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DisplayWidth.h"
#include "StringPrinting.h"

namespace {

PeerRowValues row(const char16_t* label, int quality, std::int32_t received, std::int32_t total) {
    PeerRowValues values;
    values.address = label;
    values.quality = quality;
    for (ProtocolCounts& counts : values.counts) {
        counts.received = received;
        counts.total = total;
        counts.lost = total - received;
    }
    return values;
}

TableHeading heading(bool isFinal) {
    TableHeading heading;
    heading.localTime = u"09:05:03";
    heading.testNumber = 2;
    heading.elapsedSeconds = 17;
    heading.isFinal = isFinal;
    return heading;
}

std::vector<std::u16string> linesOf(const SPW_CString& table) {
    std::vector<std::u16string> lines;
    const std::u16string text(table.text());
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        end = text.find(u'\n', begin);
        lines.push_back(text.substr(begin, end - begin));
    }
    return lines;
}

TEST(TablePrinterTest, ColumnsAreAsWideAsTheirLongestCell) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (a)", 60, 3, 5));
    rows.append(row(u"10.0.0.200 (printer)", 100, 1234567890, 1234567890));
    EXPECT_STREQ(
        "09:05:03  test 2, running after 17 s\n"
        "IP-Address (name)     Quality (%)     Mcast (Recv/Total)     Tcpip (Recv/Total)       Udp (Recv/Total)"
        "        Ping (Ack/Sent)  State  Rtt (mean)\n"
        "10.0.0.1 (a)                   60                    3/5                    3/5                    3/5"
        "                    3/5      -           -\n"
        "10.0.0.200 (printer)          100  1234567890/1234567890  1234567890/1234567890  1234567890/1234567890"
        "  1234567890/1234567890      -           -\n",
        formatTable(heading(false), rows).toAnsi());
}

TEST(TablePrinterTest, NamesOfAllScriptsLeaveTheColumnsStraight) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (caf\u00e9)", 100, 1, 1));
    rows.append(row(u"10.0.0.2 (cafe\u0301)", 100, 1, 1));
    rows.append(row(u"10.0.0.3 (\u65e5\u672c\U0001F600)", 100, 1, 1));
    const SPW_CString shown = formatTable(heading(false), rows);
    const std::u16string table = shown.text();
    EXPECT_NE(std::u16string::npos, table.find(u"\n10.0.0.1 (caf\u00e9)            100  ")) << shown.toAnsi();
    EXPECT_NE(std::u16string::npos, table.find(u"\n10.0.0.2 (cafe\u0301)            100  ")) << shown.toAnsi();
    EXPECT_NE(std::u16string::npos, table.find(u"\n10.0.0.3 (\u65e5\u672c\U0001F600)          100  "))
        << shown.toAnsi();
}

TEST(TablePrinterTest, ALongNameIsCutSoThatItPadsNobodyElsesRow) {
    SPW_CString label(u"10.0.0.1 (");
    SPW_CString name;
    name.fill(u'x', 900);
    SPW_CArray<PeerRowValues> rows;
    rows.append(row((label + name + u")").text(), 100, 1, 1));
    rows.append(row(u"10.0.0.2", 100, 1, 1));
    const std::vector<std::u16string> lines = linesOf(formatTable(heading(false), rows));
    EXPECT_EQ(lines[2].substr(0, 65), std::u16string(u"10.0.0.1 (") + std::u16string(49, u'x') + u"\u2026     ");
    for (std::size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].size(), 167u);
    }
}

TEST(TablePrinterTest, ATableThatFitsTheTerminalIsAsWideAsItNeedsToBe) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (a)", 60, 3, 5));
    const SPW_CString whole = formatTable(heading(false), rows);
    EXPECT_EQ(linesOf(whole)[1].size(), 124u);
    EXPECT_EQ(formatTable(heading(false), rows, 124), whole);
    EXPECT_NE(formatTable(heading(false), rows, 123), whole);
}

TEST(TablePrinterTest, WhereHeadersOnOneLineFindNoRoomTheyHaveTwo) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (a)", 60, 3, 5));
    rows.append(row(u"10.0.0.200 (device-b)", 100, 3599, 3600));
    rows.append(row(u"10.0.0.201 (the printer in the hall)", 100, 3599, 3600));
    rows[1].summary.state = PeerState::kDegraded;
    EXPECT_EQ(
        formatTable(heading(false), rows, 100),
        SPW_CString(
            u"09:05:03  test 2, running after 17 s\n"
            u"IP-Address                 Quality        Mcast        Tcpip          Udp       Ping    State    Rtt\n"
            u"(name)                         (%) (Recv/Total) (Recv/Total) (Recv/Total) (Ack/Sent)          (mean)\n"
            u"10.0.0.1 (a)                    60          3/5          3/5          3/5        3/5        -      -\n"
            u"10.0.0.200 (device-b)          100    3599/3600    3599/3600    3599/3600  3599/3600 degraded      -\n"
            u"10.0.0.201 (the printer i\u2026     100    3599/3600    3599/3600    3599/3600  3599/3600        -      "
            u"-\n"));
}

TEST(TablePrinterTest, OnEightyColumnsTheHeadersHaveOneWord) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (a)", 60, 3, 5));
    rows.append(row(u"10.0.0.201 (the printer in the hall)", 100, 99, 100));
    rows[0].summary.state = PeerState::kReachable;
    rows[0].summary.roundTrips = 1;
    rows[0].summary.meanRoundTrip100ns = 3100;
    EXPECT_EQ(formatTable(heading(false), rows, 80),
              SPW_CString(u"09:05:03  test 2, running after 17 s\n"
                          u"IP-Address                 Quality  Mcast  Tcpip    Udp   Ping     State     Rtt\n"
                          u"10.0.0.1 (a)                    60    3/5    3/5    3/5    3/5 reachable 0.31 ms\n"
                          u"10.0.0.201 (the printer i\u2026     100 99/100 99/100 99/100 99/100         -       -\n"));
}

TEST(TablePrinterTest, OnNarrowTerminalsTheHeadersHaveOneWordAndTheAddressIsWhole) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"255.255.255.255 (device-b)", 100, 3, 5));
    EXPECT_EQ(formatTable(heading(false), rows, 48),
              SPW_CString(u"09:05:03  test 2, running after 17 s\n"
                          u"IP-Address          Quality Mcast Tcpip Udp Ping\n"
                          u"255.255.255.255 (d\u2026     100   3/5   3/5 3/5  3/5\n"));
    EXPECT_EQ(formatTable(heading(false), rows, 1),
              SPW_CString(u"09:05:03  test 2, running after 17 s\n"
                          u"IP-Address       Quality Mcast Tcpip Udp Ping\n"
                          u"255.255.255.255\u2026     100   3/5   3/5 3/5  3/5\n"));
}

TEST(TablePrinterTest, NoLineIsWiderThanATerminalOfFiftyColumnsOrMore) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"255.255.255.255 (\u65e5\u672c\u65e5\u672c\u65e5\u672c\u65e5\u672c)", 100, 10, 10));
    rows.append(row(u"10.0.0.1", 0, 0, 10));
    for (int width = 50; width < 140; ++width) {
        for (const std::u16string& line : linesOf(formatTable(heading(true), rows, width))) {
            EXPECT_LE(displayWidth(line.c_str()), width);
        }
    }
}

TEST(TablePrinterTest, EachProtocolStandsInItsOwnColumn) {
    SPW_CArray<PeerRowValues> rows;
    PeerRowValues values = row(u"x", 1, 0, 0);
    values.counts[kMulticast].total = 1;
    values.counts[kTcpip].total = 2;
    values.counts[kUdp].total = 3;
    values.counts[kPing].total = 4;
    rows.append(values);
    const std::string table = formatTable(heading(false), rows).toAnsi();
    const std::size_t mcast = table.find("0/1"), tcp = table.find("0/2"), udp = table.find("0/3"),
                      ping = table.find("0/4");
    ASSERT_NE(std::string::npos, mcast);
    EXPECT_LT(mcast, tcp);
    EXPECT_LT(tcp, udp);
    EXPECT_LT(udp, ping);
    EXPECT_NE(std::string::npos, ping);
}

TEST(TablePrinterTest, AnEmptyTableSaysSo) {
    const std::string table = formatTable(heading(true), SPW_CArray<PeerRowValues>()).toAnsi();
    EXPECT_EQ(0u, table.find("09:05:03  test 2, result after 17 s\n"));
    EXPECT_NE(std::string::npos, table.find("\n(no peer heard so far)\n"));
}

PeerRowValues rowIn(PeerState state, int quality) {
    PeerRowValues values = row(u"x", quality, 1, 1);
    values.summary.state = state;
    return values;
}

Demands atLeast(int minimumQuality, bool allowsSilent = false) {
    Demands demands;
    demands.minimumQuality = minimumQuality;
    demands.allowsSilent = allowsSilent;
    return demands;
}

TEST(TablePrinterTest, TheVerdictCountsThePeersWithEnoughQuality) {
    SPW_CArray<PeerRowValues> rows;
    EXPECT_STREQ("no peer was found", formatVerdict(rows, atLeast(1)).toAnsi());
    rows.append(row(u"a", 50, 1, 2));
    EXPECT_STREQ("1 of 1 peer reachable (quality at least 50 %)", formatVerdict(rows, atLeast(50)).toAnsi());
    rows.append(row(u"b", 49, 1, 2));
    EXPECT_STREQ("1 of 2 peers reachable (quality at least 50 %)", formatVerdict(rows, atLeast(50)).toAnsi());
    EXPECT_EQ(2, countReachable(rows, atLeast(0)));
    EXPECT_EQ(0, countReachable(rows, atLeast(51)));
}

TEST(TablePrinterTest, APeerThatIsSilentIsNotReachableWhateverItsQualityUnlessThatIsAllowed) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(rowIn(PeerState::kReachable, 100));
    rows.append(rowIn(PeerState::kSilent, 100));
    EXPECT_EQ(1, countReachable(rows, atLeast(95)));
    EXPECT_EQ(2, countReachable(rows, atLeast(95, true)));
    EXPECT_EQ(formatVerdict(rows, atLeast(95)), u"1 of 2 peers reachable (quality at least 95 %), 1 silent");
    EXPECT_EQ(formatVerdict(rows, atLeast(95, true)), u"2 of 2 peers reachable (quality at least 95 %), 1 silent");
}

TEST(TablePrinterTest, TheVerdictNamesWhatIsNotWell) {
    SPW_CArray<PeerRowValues> rows;
    for (const PeerState state :
         {PeerState::kWaiting, PeerState::kReachable, PeerState::kDegraded, PeerState::kPartial, PeerState::kSilent}) {
        rows.append(rowIn(state, 100));
    }
    EXPECT_EQ(formatVerdict(rows, atLeast(1)), u"4 of 5 peers reachable (quality at least 1 %), 2 degraded, 1 silent");
    EXPECT_EQ(formatVerdict(rows, atLeast(1), 3),
              u"4 of 5 peers reachable (quality at least 1 %), 2 degraded, 1 silent, 3 silent for too long");
}

TEST(TablePrinterTest, StateAndMeanRoundTripTimeStandBehindTheCounts) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(rowIn(PeerState::kSilent, 100));
    rows[0].summary.roundTrips = 2;
    rows[0].summary.lastRoundTrip100ns = 99;
    rows[0].summary.meanRoundTrip100ns = 13000;
    const std::vector<std::u16string> lines = linesOf(formatTable(heading(false), rows));
    EXPECT_EQ(lines[1].substr(lines[1].size() - 37), u"  Ping (Ack/Sent)   State  Rtt (mean)");
    EXPECT_EQ(lines[2].substr(lines[2].size() - 25), u"  1/1  silent      1.3 ms");
}

TEST(TablePrinterTest, OnNarrowTerminalsTheRoundTripTimeGoesFirstAndTheStateLast) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(rowIn(PeerState::kReachable, 100));
    rows[0].address = u"255.255.255.255 (device-b)";
    const auto headers = [&rows](int width) { return linesOf(formatTable(heading(false), rows, width))[1]; };
    EXPECT_EQ(headers(70), u"IP-Address                 Quality Mcast Tcpip Udp Ping     State Rtt");
    EXPECT_EQ(headers(62), u"IP-Address              Quality Mcast Tcpip Udp Ping     State");
    EXPECT_EQ(headers(50), u"IP-Address            Quality Mcast Tcpip Udp Ping");
}

TEST(TablePrinterTest, BelowTheTableStandsWhatCouldNotBeSentToWhom) {
    SPW_CArray<PeerRowValues> rows;
    rows.append(row(u"10.0.0.1 (a)", 60, 3, 5));
    rows.append(row(u"10.0.0.2 (b)", 0, 0, 0));
    rows[1].isNotMade[kPing] = rows[1].isNotMade[kUdp] = true;
    const std::vector<std::u16string> lines = linesOf(formatTable(heading(false), rows));
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(SPW_CString(lines[4].c_str()),
              SPW_CString(u"10.0.0.2 (b): no Udp, Ping probes are sent: the system has no thread left for them"));
}

TEST(TablePrinterTest, OfManyRowsToWhichNotAllCouldBeSentTheFirstAreNamed) {
    SPW_CArray<PeerRowValues> rows;
    for (int i = 0; i < 8; ++i) {
        rows.append(row((SPW_CString(u"10.0.0.") + i).text(), 0, 0, 0));
        rows[i].isNotMade[kPing] = true;
    }
    const std::vector<std::u16string> lines = linesOf(formatTable(heading(false), rows));
    ASSERT_EQ(lines.size(), 2u + 8u + 6u);
    EXPECT_EQ(SPW_CString(lines.back().c_str()), SPW_CString(u"(and 3 rows more)"));
}

}  // namespace
