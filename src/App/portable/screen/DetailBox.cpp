#include "DetailBox.h"

#include <algorithm>

#include "DisplayWidth.h"
#include "InsightReport.h"
#include "InsightText.h"
#include "PeerColumns.h"
#include "RowState.h"

namespace {

constexpr int kWidest = 120;
constexpr int kNameWidth = 6;  // of the longest protocol's
constexpr int kFigureWidth = 9;
constexpr int kFiguresWidth = kNameWidth + 4 * kFigureWidth;
constexpr int kInWidth = 17;  // of "waiting 12:00:00" and a blank
constexpr int kStateGap = 2;  // in front of both
constexpr int kFrame = 2;
// Quality, a line for what is wrong, headers, two lines a protocol, the times below the charts, and the legend.
constexpr int kLinesAtLength = 3 + 2 * kProtocols + 2;

SPW_CString shareText(const ProtocolCounts& counts) {
    if (counts.total == 0) {
        return u"-";
    }
    return qualityText(static_cast<int>(std::int64_t{counts.received} * 100 / counts.total));
}

SPW_CString durationText(std::int64_t ms) {
    constexpr std::int64_t kMinuteMs = 60000;
    SPW_CString text;
    if (ms % kMinuteMs == 0) {
        text.format(u"%ld min", static_cast<long>(ms / kMinuteMs));
    } else if (ms % 1000 == 0) {
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

Look lookOf(KindState state) {
    return state == KindState::kSilent ? Look::kFailure : state == KindState::kLossy ? Look::kWarning : Look::kBox;
}

// "silent 12:03:20": where there is little room.
SPW_CString shortInText(const KindValues& kind) {
    return kind.state == KindState::kNone ? SPW_CString()
                                          : SPW_CString(stateWord(kind.state)) + u" " + clockText(kind.since.wall100ns);
}

SPW_CString qualityLine(const SPW_CString& quality, const SPW_CString& state) {
    return SPW_CString(peerColumnHeader(kQualityColumn)) + u": " + quality + (state.isEmpty() ? u"" : u"   ") + state;
}

// What is wrong, the worst first.
SPW_CString troubleText(const PeerRowValues& row, const PeerInsightValues& insight) {
    const SPW_CString notMade = notMadeText(row.isNotMade);
    return notMade.isEmpty() ? conclusionText(insight) : notMade;
}

// Round-trip times and the latest outages, of which a box shows as many lines as it has room for.
std::vector<SPW_CString> linesBelow(const PeerInsightValues& insight) {
    std::vector<SPW_CString> lines;
    const SPW_CString times = roundTripLine(insight.roundTrip);
    if (!times.isEmpty()) {
        lines.push_back(times);
    }
    for (int i = insight.outages - 1; i >= 0; --i) {
        lines.push_back(u"silence " + outageLine(insight.outage[i]));
    }
    return lines;
}

}  // namespace

void DetailBox::draw(Canvas& canvas) {
    const int row = m_list.selected();
    if (row < 0) {
        return;
    }
    PeerInsightValues insight;
    if (!m_commands.insight(m_list.values(row).number, insight)) {
        insight = PeerInsightValues();
    }
    if (!m_isReport) {
        drawFigures(canvas, row, insight);
        return;
    }
    m_report.setTitle(m_list.cell(row, kLabelColumn));
    m_report.updateText(insightReport(insight, m_list.now()));
    m_report.draw(canvas);
}

void DetailBox::drawFigures(Canvas& canvas, int row, const PeerInsightValues& insight) {
    const int below = static_cast<int>(linesBelow(insight).size());
    const Area frame = centred(canvas, std::min(canvas.width(), kWidest), kLinesAtLength + below + kFrame);
    canvas.frame(frame, m_list.cell(row, kLabelColumn));
    const Area room = inside(frame);
    if (room.height >= kLinesAtLength) {
        drawAtLength(canvas, room, row, insight);
    } else {
        drawInShort(canvas, room, row, insight);
    }
    const SPW_CString hint(u" Tab: all that is known, Esc closes ");
    const int foot = std::min(displayWidth(hint), room.width);
    canvas.putFitted(frame.x + frame.width - 2 - foot, frame.y + frame.height - 1, foot, hint, Look::kBox);
}

void DetailBox::drawAtLength(Canvas& canvas, const Area& room, int row, const PeerInsightValues& insight) {
    int y = room.y;
    const Look look = rowLook(m_list.values(row)) == Look::kFailure ? Look::kFailure : Look::kBox;
    canvas.put(room.x, y, qualityLine(m_list.cell(row, kQualityColumn), peerStateText(insight, m_list.now())), look,
               room.width);
    canvas.putFitted(room.x, y + 1, room.width, troubleText(m_list.values(row), insight), Look::kFailure);
    y += 2;
    putFigures(canvas, room.x, y, u"", {u"received", u"total", u"lost", u"quality"});
    canvas.put(room.x + kFiguresWidth + kStateGap, y, u"in", Look::kBox);
    canvas.put(room.x + kFiguresWidth + kStateGap + kInWidth, y++, u"out", Look::kBox);
    for (const Protocol protocol : kProtocolOrder) {
        const ProtocolCounts& counts = m_list.values(row).counts[protocol];
        putFigures(
            canvas, room.x, y, protocolName(protocol),
            {SPW_CString(counts.received), SPW_CString(counts.total), SPW_CString(counts.lost), shareText(counts)});
        drawStates(canvas, {room.x + kFiguresWidth, y++, room.width - kFiguresWidth, 1}, protocol, insight);
        drawChart(canvas, {room.x + kNameWidth, y++, room.width - kNameWidth, 1}, m_list.history(row, protocol));
    }
    drawChartTimes(canvas, {room.x + kNameWidth, y++, room.width - kNameWidth, 1}, m_view,
                   m_list.history(row, kProtocolOrder[0]));
    canvas.putFitted(room.x, y++, room.width, legend(canvas.glyphs()), Look::kBox);
    for (const SPW_CString& line : linesBelow(insight)) {
        if (y >= room.y + room.height) {
            return;
        }
        canvas.putFitted(room.x, y++, room.width, line, Look::kBox);
    }
}

// What the protocol's sending does is cut at the right. The second page has all of it.
void DetailBox::drawStates(Canvas& canvas, const Area& line, int protocol, const PeerInsightValues& insight) {
    const KindValues& kind = insight.kinds[protocol];
    const int in = line.x + kStateGap;
    const int out = in + kInWidth;
    canvas.put(in, line.y, shortInText(kind), lookOf(kind.state), kInWidth - 1);
    const int room = line.x + line.width - out;
    const SPW_CString whole = outText(protocol, kind.out);
    const SPW_CString fitting = displayWidth(whole) <= room ? whole : outWord(protocol, kind.out);
    canvas.putFitted(out, line.y, std::max(room, 0), fitting,
                     kind.out.state >= SendState::kUnanswered ? Look::kFailure : Look::kBox);
}

// One line a protocol, for small screens.
void DetailBox::drawInShort(Canvas& canvas, const Area& room, int row, const PeerInsightValues& insight) {
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
        canvas.put(x, y, protocolName(protocol), lookOf(insight.kinds[protocol].state));
        x += kNameWidth;
        canvas.putFitted(x, y, figuresWidth, countsText(counts.received, counts.total), Look::kBox, Canvas::kRight);
        x += figuresWidth + 1;
        drawChart(canvas, {x, y, room.x + room.width - x, 1}, m_list.history(row, protocol));
        ++y;
    }
    if (y < bottom - 3) {
        const int x = room.x + kNameWidth + figuresWidth + 1;
        drawChartTimes(canvas, {x, y, room.x + room.width - x, 1}, m_view, m_list.history(row, kProtocolOrder[0]));
    }
    if (y < bottom) {
        const SPW_CString state = m_list.stateText(row);
        canvas.putFitted(room.x, bottom - 1, room.width, qualityLine(m_list.cell(row, kQualityColumn), state),
                         Look::kBox);
    }
    if (y < bottom - 1) {
        canvas.putFitted(room.x, bottom - 2, room.width, troubleText(m_list.values(row), insight), Look::kFailure);
    }
    if (y < bottom - 2) {
        canvas.putFitted(room.x, bottom - 3, room.width, roundTripLine(insight.roundTrip), Look::kBox);
    }
}

void DetailBox::drawChart(Canvas& canvas, const Area& line, const History& history) {
    constexpr int kFull = Glyphs::kLevels - 1;
    for (int age = 0; age < std::min(line.width, history.size(m_view.zoom)); ++age) {
        const int level = history.level(age, kFull, m_view.zoom);
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
    text += SPW_CString(glyphs.levels[0]) + u" nothing; a column is " + durationText(m_view.columnMs()) +
            u", the last at the right";
    return text;
}

bool DetailBox::handle(const Input& input) {
    if (input.isKey(Input::kTab) || input.isKey(Input::kBackTab)) {
        m_isReport = !m_isReport;
        return true;
    }
    if (m_isReport) {
        return m_report.handle(input) && input.kind != Input::kClick;
    }
    if (input.kind == Input::kText) {
        return handleText(input.character);
    }
    if (input.isKey(Input::kUp) || input.kind == Input::kWheelUp) {
        m_list.select(m_list.selected() - 1);
    }
    if (input.isKey(Input::kDown) || input.kind == Input::kWheelDown) {
        m_list.select(m_list.selected() + 1);
    }
    return !input.isKey(Input::kEnter) && !input.isKey(Input::kEscape) && input.kind != Input::kClick;
}

// False when the box is to be closed.
bool DetailBox::handleText(char32_t character) {
    switch (character) {
        case U'j':
            m_list.select(m_list.selected() + 1);
            return true;
        case U'k':
            m_list.select(m_list.selected() - 1);
            return true;
        case U'-':
            m_view.zoomOut();
            return true;
        case U'+':
        case U'=':
            m_view.zoomIn();
            return true;
        default:
            return character != U'q';
    }
}
