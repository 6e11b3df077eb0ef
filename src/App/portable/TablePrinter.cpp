#include "TablePrinter.h"

#include <algorithm>

#include "DisplayWidth.h"
#include "PeerColumns.h"

namespace {

const char16_t kColumnGap[] = u"  ";

void fillCells(const PeerRowValues& row, SPW_CString (&cells)[kPeerColumns]) {
    cells[kLabelColumn] = row.label;
    cells[kQualityColumn] = qualityText(row.quality);
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        const ProtocolCounts& counts = row.counts[protocol];
        cells[columnOfProtocol(protocol)] = countsText(counts.received, counts.total);
    }
}

void fillHeaders(SPW_CString (&cells)[kPeerColumns]) {
    for (int column = 0; column < kPeerColumns; ++column)
        cells[column] = peerColumnHeader(column);
}

void widen(int (&widths)[kPeerColumns], const SPW_CString (&cells)[kPeerColumns]) {
    for (int column = 0; column < kPeerColumns; ++column)
        widths[column] = std::max(widths[column], displayWidth(cells[column]));
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

void appendLine(SPW_CString& table, const SPW_CString (&cells)[kPeerColumns], const int (&widths)[kPeerColumns]) {
    for (int column = 0; column < kPeerColumns; ++column)
        appendCell(table, cells[column], widths[column], column);
    table.append(u'\n');
}

}  // namespace

SPW_CString formatTable(const TableHeading& heading, const SPW_CArray<PeerRowValues>& rows) {
    SPW_CString table;
    table.format(u"%s  test %d, %s after %lu s\n", heading.localTime.text(), heading.testNumber,
                 heading.isFinal ? u"result" : u"running", static_cast<unsigned long>(heading.elapsedSeconds));
    SPW_CString cells[kPeerColumns];
    int widths[kPeerColumns] = {};
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        fillCells(rows[i], cells);
        widen(widths, cells);
    }
    fillHeaders(cells);
    widen(widths, cells);
    appendLine(table, cells, widths);
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        fillCells(rows[i], cells);
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
