#include "PeerListView.h"

#include <algorithm>
#include <initializer_list>

#include "DisplayWidth.h"
#include "RowState.h"

namespace {

constexpr int kProtocolColumns = kPeerColumns - kMulticastColumn;

int headerWidth(int column, int lines) {
    if (lines == 1) {
        return displayWidth(screenColumnHeader(column));
    }
    SPW_CString upper;
    SPW_CString lower;
    splitHeader(screenColumnHeader(column), upper, lower);
    return std::max(displayWidth(upper), displayWidth(lower));
}

int widestCell(const PeerList& list, int column) {
    int widest = 0;
    for (int row = 0; row < list.size(); ++row) {
        widest = std::max(widest, displayWidth(list.cell(row, column)));
    }
    return widest;
}

// How wide label, state and quality of a row are, with a blank between them.
int widthWithState(const PeerList& list, int row, const SPW_CString& state) {
    return displayWidth(list.cell(row, kLabelColumn)) + 1 + displayWidth(state) + 1 +
           displayWidth(list.cell(row, kQualityColumn));
}

int widestWithState(const PeerList& list) {
    int widest = 0;
    for (int row = 0; row < list.size(); ++row) {
        const SPW_CString state = list.stateText(row);
        widest = std::max(widest, state.isEmpty() ? 0 : widthWithState(list, row, state));
    }
    return widest;
}

}  // namespace

SPW_CString screenColumnHeader(int column) {
    return column == kRoundTripColumn ? u"Rtt (jitter)" : peerColumnHeader(column);
}

ListLayout::ListLayout(const PeerList& list, int width, int firstProtocol) {
    int contents[kScreenColumns];
    for (int column = 0; column < kPeerColumns; ++column) {
        contents[column] = widestCell(list, column);
    }
    contents[kRoundTripColumn] = width >= kLeastWidthForRoundTrips ? widestCell(list, kRoundTripColumn) : 0;
    hasRoundTrips = contents[kRoundTripColumn] > 0;

    int room = 0;  // for the label
    for (headerLines = 1;; ++headerLines) {
        gap = headerLines == 1 ? 2 : 1;
        room = width - kMarkWidth;
        for (int column = 0; column < kScreenColumns; ++column) {
            widths[column] = std::max(headerWidth(column, headerLines), contents[column]);
            room -= column == kLabelColumn || !isShown(column) ? 0 : gap + widths[column];
        }
        if (headerLines == 2 || room >= widths[kLabelColumn]) {
            break;
        }
    }

    const auto dropColumn = [&](int column) { room += gap + widths[column]; };
    for (int i = 0; i < firstProtocol && i < kProtocolColumns - 1 && room < widths[kLabelColumn]; ++i) {
        dropColumn(firstProtocolColumn++);
    }
    while (room < kLeastLabelWidth && endProtocolColumn > firstProtocolColumn + 1) {
        dropColumn(--endProtocolColumn);
    }
    const int wanted = std::max(widths[kLabelColumn], widestWithState(list) - gap - widths[kQualityColumn]);
    widths[kLabelColumn] = std::clamp(room, 1, std::max(wanted, 1));
}

void PeerListView::draw(Canvas& canvas, const Area& area) {
    m_area = area;
    m_list.sort();
    const ListLayout layout(m_list, area.width, m_firstProtocol);
    m_firstProtocol = layout.firstProtocolColumn - kMulticastColumn;
    m_rowsArea = {area.x, area.y + layout.headerLines, area.width, area.height - layout.headerLines};
    m_lines = std::max(m_rowsArea.height, 1);
    m_firstRow = m_list.firstVisible(m_lines);
    drawHeader(canvas, layout);
    for (int line = 0; line < m_rowsArea.height && m_firstRow + line < m_list.size(); ++line) {
        drawRow(canvas, layout, m_firstRow + line, m_rowsArea.y + line);
    }
}

int PeerListView::rowAt(int x, int y) const {
    const int row = m_firstRow + y - m_rowsArea.y;
    return m_rowsArea.contains(x, y) && row < m_list.size() ? row : -1;
}

void PeerListView::drawHeader(Canvas& canvas, const ListLayout& layout) {
    canvas.fill({m_area.x, m_area.y, m_area.width, layout.headerLines}, Look::kHeader);
    int x = m_area.x + ListLayout::kMarkWidth;
    for (int column = 0; column < kScreenColumns; ++column) {
        if (!layout.isShown(column)) {
            continue;
        }
        const Style style(Look::kHeader, column == m_list.sortKey());
        const Canvas::Alignment alignment = column == kLabelColumn ? Canvas::kLeft : Canvas::kRight;
        const int width = layout.widths[column];
        if (layout.headerLines == 1) {
            canvas.putFitted(x, m_area.y, width, screenColumnHeader(column), style, alignment);
        } else {
            SPW_CString upper;
            SPW_CString lower;
            splitHeader(screenColumnHeader(column), upper, lower);
            canvas.putFitted(x, m_area.y, width, upper, style, alignment);
            canvas.putFitted(x, m_area.y + 1, width, lower, style, alignment);
        }
        x += width + layout.gap;
    }
    const SPW_CString left(canvas.glyphs().moreLeft);
    const SPW_CString right(canvas.glyphs().moreRight);
    if (layout.hasMoreLeft()) {
        canvas.put(m_area.x, m_area.y, left, Look::kHeader);
    }
    if (layout.hasMoreRight()) {
        canvas.put(std::min(x - layout.gap, m_area.x + m_area.width - 1), m_area.y, right, Look::kHeader);
    }
}

void PeerListView::drawRow(Canvas& canvas, const ListLayout& layout, int row, int y) {
    const PeerRowValues& values = m_list.values(row);
    const Style style(rowLook(values), row == m_list.selected());
    canvas.fill({m_area.x, y, m_area.width, 1}, style);
    canvas.put(m_area.x, y, SPW_CString(rowMark(values)), style);
    int x = m_area.x + ListLayout::kMarkWidth;
    for (int column = 0; column < kScreenColumns; ++column) {
        if (!layout.isShown(column)) {
            continue;
        }
        canvas.putFitted(x, y, layout.widths[column], m_list.cell(row, column), style,
                         column == kLabelColumn ? Canvas::kLeft : Canvas::kRight);
        x += layout.widths[column] + layout.gap;
    }
    drawState(canvas, layout, row, y, style);
}

// A label is never cut for a state.
void PeerListView::drawState(Canvas& canvas, const ListLayout& layout, int row, int y, Style style) {
    const int room = layout.widths[kLabelColumn] + layout.gap + layout.widths[kQualityColumn];
    for (const SPW_CString& state : {m_list.stateText(row), m_list.stateAge(row)}) {
        if (!state.isEmpty() && widthWithState(m_list, row, state) <= room) {
            const int end = room - displayWidth(m_list.cell(row, kQualityColumn)) - 1;
            canvas.put(m_area.x + ListLayout::kMarkWidth + end - displayWidth(state), y, state, style);
            return;
        }
    }
}
