#pragma once

#include "Canvas.h"
#include "PeerColumns.h"
#include "PeerList.h"

// How the peer list is fitted into a width: the columns that are shown, from left to right, and how wide each is.
//
// Headers stand on one line where there is room, else on two, cut before their unit. Where even that is too wide,
// columns of protocols are left out at the right; the arrow keys bring them in.
struct ListLayout {
    // Of the line: the mark and a blank.
    static constexpr int kMarkWidth = 2;
    // The least that is left of a label before columns are left out: enough for every address.
    static constexpr int kLeastLabelWidth = 15;

    // firstProtocol: how many columns of protocols are to be left out at the left.
    ListLayout(const PeerList& list, int width, int firstProtocol);

    int headerLines = 1;
    int gap = 1;  // in front of each column but the first
    // The columns of protocols that are shown: from the first to before the end.
    int firstProtocolColumn = kMulticastColumn;
    int endProtocolColumn = kPeerColumns;
    int widths[kPeerColumns] = {};

    bool isShown(int column) const {
        return column < kMulticastColumn || (column >= firstProtocolColumn && column < endProtocolColumn);
    }
    bool hasMoreLeft() const { return firstProtocolColumn > kMulticastColumn; }
    bool hasMoreRight() const { return endProtocolColumn < kPeerColumns; }
};

// The peer list on a part of the screen.
class PeerListView {
public:
    explicit PeerListView(PeerList& list) : m_list(list) {}

    void draw(Canvas& canvas, const Area& area);
    // Brings in columns that found no room.
    void moveColumns(int by) { m_firstProtocol += by; }

    // As of the latest drawing: how many rows have room, which one is the first, and which one stands in that line of
    // the screen; -1 when none does.
    int lines() const { return m_lines; }
    int firstRow() const { return m_firstRow; }
    int rowAt(int x, int y) const;

private:
    void drawHeader(Canvas& canvas, const ListLayout& layout);
    void drawRow(Canvas& canvas, const ListLayout& layout, int row, int y);

    PeerList& m_list;
    int m_firstProtocol = 0;
    Area m_area;  // of the latest drawing
    Area m_rowsArea;
    int m_lines = 1;
    int m_firstRow = 0;
};

// What marks a row whose probes could not all be made: its figures do not tell what its quality would be.
constexpr char16_t kNotMadeMark = u'?';
// What marks a row of that quality without colour: a blank, "!" below 100, "X" at 0.
char16_t qualityMark(int quality);
