#include "PeerListView.h"

#include <algorithm>

#include "DisplayWidth.h"

namespace {

constexpr int kProtocolColumns = kPeerColumns - kMulticastColumn;

int headerWidth(int column, int lines) {
    if (lines == 1) {
        return displayWidth(peerColumnHeader(column));
    }
    SPW_CString upper;
    SPW_CString lower;
    splitPeerColumnHeader(column, upper, lower);
    return std::max(displayWidth(upper), displayWidth(lower));
}

int widestCell(const PeerList& list, int column) {
    int widest = 0;
    for (int row = 0; row < list.size(); ++row) {
        widest = std::max(widest, displayWidth(list.cell(row, column)));
    }
    return widest;
}

Style styleOfQuality(int quality) {
    return quality >= 100 ? Look::kPlain : quality > 0 ? Look::kWarning : Look::kFailure;
}

}  // namespace

ListLayout::ListLayout(const PeerList& list, int width, int firstProtocol) {
    int contents[kPeerColumns];
    for (int column = 0; column < kPeerColumns; ++column) {
        contents[column] = widestCell(list, column);
    }

    int room = 0;  // for the label
    for (headerLines = 1;; ++headerLines) {
        gap = headerLines == 1 ? 2 : 1;
        room = width - kMarkWidth;
        for (int column = 1; column < kPeerColumns; ++column) {
            widths[column] = std::max(headerWidth(column, headerLines), contents[column]);
            room -= gap + widths[column];
        }
        widths[kLabelColumn] = std::max(headerWidth(kLabelColumn, headerLines), contents[kLabelColumn]);
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
    widths[kLabelColumn] = std::clamp(room, 1, std::max(widths[kLabelColumn], 1));
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
    for (int column = 0; column < kPeerColumns; ++column) {
        if (!layout.isShown(column)) {
            continue;
        }
        const Style style(Look::kHeader, column == m_list.sortColumn());
        const Canvas::Alignment alignment = column == kLabelColumn ? Canvas::kLeft : Canvas::kRight;
        const int width = layout.widths[column];
        if (layout.headerLines == 1) {
            canvas.putFitted(x, m_area.y, width, peerColumnHeader(column), style, alignment);
        } else {
            SPW_CString upper;
            SPW_CString lower;
            splitPeerColumnHeader(column, upper, lower);
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
    const int quality = m_list.values(row).quality;
    Style style = styleOfQuality(quality);
    style.isReversed = row == m_list.selected();
    canvas.fill({m_area.x, y, m_area.width, 1}, style);
    const bool isWhole = notMadeText(m_list.values(row).isNotMade).isEmpty();
    canvas.put(m_area.x, y, SPW_CString(isWhole ? qualityMark(quality) : kNotMadeMark), style);
    int x = m_area.x + ListLayout::kMarkWidth;
    for (int column = 0; column < kPeerColumns; ++column) {
        if (!layout.isShown(column)) {
            continue;
        }
        canvas.putFitted(x, y, layout.widths[column], m_list.cell(row, column), style,
                         column == kLabelColumn ? Canvas::kLeft : Canvas::kRight);
        x += layout.widths[column] + layout.gap;
    }
}

char16_t qualityMark(int quality) {
    return quality >= 100 ? u' ' : quality > 0 ? u'!' : u'X';
}
