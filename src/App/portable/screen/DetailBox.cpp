#include "DetailBox.h"

#include <algorithm>

#include "DisplayWidth.h"
#include "PeerColumns.h"

namespace {

constexpr int kWidest = 120;
constexpr int kNameWidth = 6;  // of the longest protocol's
constexpr int kFigureWidth = 9;
// Quality, a blank line, headers, two lines a protocol, a blank line and the legend.
constexpr int kLinesAtLength = 3 + 2 * kProtocols + 2;

SPW_CString shareText(const ProtocolCounts& counts) {
    if (counts.total == 0) {
        return u"-";
    }
    return qualityText(static_cast<int>(std::int64_t{counts.received} * 100 / counts.total));
}

SPW_CString durationText(std::int64_t ms) {
    SPW_CString text;
    if (ms % 1000 == 0) {
        text.format(u"%ld s", static_cast<long>(ms / 1000));
    } else {
        text.format(u"%g s", static_cast<double>(ms) / 1000);
    }
    return text;
}

void putFigures(Canvas& canvas, int x, int y, const SPW_CString& name, const SPW_CString (&figures)[4]) {
    canvas.put(x, y, name, Look::kBox);
    x += kNameWidth;
    for (const SPW_CString& figure : figures) {
        canvas.putFitted(x, y, kFigureWidth, figure, Look::kBox, Canvas::kRight);
        x += kFigureWidth;
    }
}

}  // namespace

void DetailBox::draw(Canvas& canvas) {
    const int row = m_list.selected();
    if (row < 0) {
        return;
    }
    const Area frame = centred(canvas, std::min(canvas.width(), kWidest), kLinesAtLength + 2);
    canvas.frame(frame, m_list.cell(row, kLabelColumn));
    const Area room = inside(frame);
    if (room.height >= kLinesAtLength) {
        drawAtLength(canvas, room, row);
    } else {
        drawInShort(canvas, room, row);
    }
}

void DetailBox::drawAtLength(Canvas& canvas, const Area& room, int row) {
    int y = room.y;
    canvas.put(room.x, y, SPW_CString(peerColumnHeader(kQualityColumn)) + u": " + m_list.cell(row, kQualityColumn),
               Look::kBox, room.width);
    canvas.putFitted(room.x, y + 1, room.width, notMadeText(m_list.values(row).isNotMade), Look::kFailure);
    y += 2;
    putFigures(canvas, room.x, y++, u"", {u"received", u"total", u"lost", u"quality"});
    for (const Protocol protocol : kProtocolOrder) {
        const ProtocolCounts& counts = m_list.values(row).counts[protocol];
        putFigures(
            canvas, room.x, y++, protocolName(protocol),
            {SPW_CString(counts.received), SPW_CString(counts.total), SPW_CString(counts.lost), shareText(counts)});
        drawChart(canvas, {room.x + kNameWidth, y++, room.width - kNameWidth, 1}, m_list.history(row, protocol));
    }
    canvas.putFitted(room.x, y + 1, room.width, legend(canvas.glyphs()), Look::kBox);
}

// One line a protocol, for small screens.
void DetailBox::drawInShort(Canvas& canvas, const Area& room, int row) {
    int y = room.y;
    const int bottom = room.y + room.height;
    int figuresWidth = 0;
    for (const Protocol protocol : kProtocolOrder) {
        const ProtocolCounts& counts = m_list.values(row).counts[protocol];
        figuresWidth = std::max(figuresWidth, displayWidth(countsText(counts.received, counts.total)));
    }
    for (const Protocol protocol : kProtocolOrder) {
        if (y >= bottom) {
            return;
        }
        const ProtocolCounts& counts = m_list.values(row).counts[protocol];
        int x = room.x;
        canvas.put(x, y, protocolName(protocol), Look::kBox);
        x += kNameWidth;
        canvas.putFitted(x, y, figuresWidth, countsText(counts.received, counts.total), Look::kBox, Canvas::kRight);
        x += figuresWidth + 1;
        drawChart(canvas, {x, y, room.x + room.width - x, 1}, m_list.history(row, protocol));
        ++y;
    }
    if (y < bottom) {
        canvas.putFitted(room.x, bottom - 1, room.width,
                         SPW_CString(peerColumnHeader(kQualityColumn)) + u": " + m_list.cell(row, kQualityColumn),
                         Look::kBox);
    }
    if (y < bottom - 1) {
        canvas.putFitted(room.x, bottom - 2, room.width, notMadeText(m_list.values(row).isNotMade), Look::kFailure);
    }
}

void DetailBox::drawChart(Canvas& canvas, const Area& line, const History& history) {
    constexpr int kFull = Glyphs::kLevels - 1;
    for (int age = 0; age < std::min(line.width, history.size()); ++age) {
        const int level = history.level(age, kFull);
        if (level == History::kUnknown) {
            continue;
        }
        const Look look = level == kFull ? Look::kBox : level > 0 ? Look::kWarning : Look::kFailure;
        canvas.put(line.x + line.width - 1 - age, line.y, SPW_CString(canvas.glyphs().levels[level]), look);
    }
}

SPW_CString DetailBox::legend(const Glyphs& glyphs) const {
    SPW_CString text(glyphs.levels[Glyphs::kLevels - 1]);
    text += u" all arrived  ";
    text += SPW_CString(glyphs.levels[Glyphs::kLevels / 2]) + u" some  ";
    text += SPW_CString(glyphs.levels[0]) + u" nothing; a column is " + durationText(m_columnMs) +
            u", the last at the right";
    return text;
}

bool DetailBox::handle(const Input& input) {
    if (input.kind == Input::kText) {
        if (input.character == U'j' || input.character == U'k') {
            m_list.select(m_list.selected() + (input.character == U'j' ? 1 : -1));
        }
        return input.character != U'q';
    }
    if (input.isKey(Input::kUp) || input.kind == Input::kWheelUp) {
        m_list.select(m_list.selected() - 1);
    }
    if (input.isKey(Input::kDown) || input.kind == Input::kWheelDown) {
        m_list.select(m_list.selected() + 1);
    }
    return !input.isKey(Input::kEnter) && !input.isKey(Input::kEscape) && input.kind != Input::kClick;
}
