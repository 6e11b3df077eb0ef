#include "TablePrinter.h"

#include <algorithm>

#include "DisplayWidth.h"

namespace {

constexpr int kColumns = 6;
// The order and the texts of the peer list's columns on every front end.
const char16_t* const kHeaders[kColumns] = {u"IP-Address (name)",  u"Quality (%)",      u"Mcast (Recv/Total)",
                                            u"Tcpip (Recv/Total)", u"Udp (Recv/Total)", u"Ping (Ack/Sent)"};
const Protocol kProtocolOfColumn[kColumns] = {kProtocols, kProtocols, kMulticast, kTcpip, kUdp, kPing};
const char16_t kColumnGap[] = u"  ";

SPW_CString cellText(const PeerRowValues& row, int column) {
    SPW_CString text;
    if (column == 0)
        return row.label;
    if (column == 1) {
        text.format(u"%d", row.quality);
        return text;
    }
    const ProtocolCounts& figures = row.counts[kProtocolOfColumn[column]];
    text.format(u"%d/%d", figures.received, figures.total);
    return text;
}

void widen(int& width, const SPW_CString& text) {
    width = std::max(width, displayWidth(text));
}

// The label column is aligned left, the figures right.
void appendCell(SPW_CString& line, const SPW_CString& text, int width, int column) {
    SPW_CString padding;
    padding.fill(u' ', width - displayWidth(text));
    if (column == 0)
        line += text + padding;
    else
        line += SPW_CString(kColumnGap) + padding + text;
}

void appendLine(SPW_CString& table, const SPW_CString (&cells)[kColumns], const int (&widths)[kColumns]) {
    for (int column = 0; column < kColumns; ++column)
        appendCell(table, cells[column], widths[column], column);
    table.append(u'\n');
}

}  // namespace

SPW_CString formatTable(const TableHeading& heading, const SPW_CArray<PeerRowValues>& rows) {
    SPW_CString table;
    table.format(u"%s  test %d, %s after %lu s\n", heading.localTime.text(), heading.testNumber,
                 heading.isFinal ? u"result" : u"running", static_cast<unsigned long>(heading.elapsedSeconds));
    SPW_CString cells[kColumns];
    int widths[kColumns] = {};
    for (int column = 0; column < kColumns; ++column) {
        cells[column] = kHeaders[column];
        widen(widths[column], cells[column]);
        for (int i = 0; i < rows.numberOfElements(); ++i)
            widen(widths[column], cellText(rows[i], column));
    }
    appendLine(table, cells, widths);
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        for (int column = 0; column < kColumns; ++column)
            cells[column] = cellText(rows[i], column);
        appendLine(table, cells, widths);
    }
    if (rows.numberOfElements() == 0)
        table += u"(no peer heard so far)\n";
    return table;
}

int countReachable(const SPW_CArray<PeerRowValues>& rows, int minimumQuality) {
    int reachable = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        if (rows[i].quality >= minimumQuality)
            ++reachable;
    }
    return reachable;
}

SPW_CString formatVerdict(const SPW_CArray<PeerRowValues>& rows, int minimumQuality) {
    SPW_CString verdict;
    const int peers = rows.numberOfElements();
    if (peers == 0)
        return u"no peer was found";
    verdict.format(u"%d of %d %s reachable (quality at least %d %%)", countReachable(rows, minimumQuality), peers,
                   peers == 1 ? u"peer" : u"peers", minimumQuality);
    return verdict;
}
