#pragma once

#include "Canvas.h"
#include "PeerColumns.h"
#include "PeerList.h"

// How the peer list is fitted into a width: the columns that are shown, from left to right, and how wide each is.
//
// Headers stand on one line if there is room, else on two, cut before their unit. If even that is too wide, columns of
// protocols are left out at the right. The arrow keys bring them in.
//
// The column of round-trip times is shown from 100 columns on, if there are any. The state of a peer that is not well
// stands between its label and its quality, for which the label's column gets room that is left over.
struct ListLayout {
    // The mark at the beginning of a line, and a blank.
    static constexpr int kMarkWidth = 2;
    // A label never gets less than this before columns are left out. It is enough for every address.
    static constexpr int kLeastLabelWidth = 15;
    static constexpr int kLeastWidthForRoundTrips = 100;

    // firstProtocol: how many columns of protocols are left out at the left.
    ListLayout(const PeerList& list, int width, int firstProtocol);

    int headerLines = 1;
    int gap = 1;  // in front of each column but the first
    // The columns of protocols that are shown: from firstProtocolColumn to endProtocolColumn - 1.
    int firstProtocolColumn = kMulticastColumn;
    int endProtocolColumn = kPeerColumns;
    bool hasRoundTrips = false;
    int widths[kScreenColumns] = {};

    bool isShown(int column) const {
        if (column == kRoundTripColumn) {
            return hasRoundTrips;
        }
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

    // What the latest drawing has shown: how many rows have room, which row is the first, and which row stands at a
    // place of the screen. rowAt() returns -1 if no row stands there.
    int lines() const { return m_lines; }
    int firstRow() const { return m_firstRow; }
    int rowAt(int x, int y) const;

private:
    void drawHeader(Canvas& canvas, const ListLayout& layout);
    void drawRow(Canvas& canvas, const ListLayout& layout, int row, int y);
    void drawState(Canvas& canvas, const ListLayout& layout, int row, int y, Style style);

    PeerList& m_list;
    int m_firstProtocol = 0;
    Area m_area;  // of the latest drawing
    Area m_rowsArea;
    int m_lines = 1;
    int m_firstRow = 0;
};

// The header of a column of the screen. column: 0 to kScreenColumns - 1.
SPW_CString screenColumnHeader(int column);
