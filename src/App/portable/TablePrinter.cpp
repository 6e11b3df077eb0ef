#include "TablePrinter.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "DisplayWidth.h"
#include "InsightText.h"
#include "PeerColumns.h"

namespace {

constexpr int kWidestLabel = 60;
// A label is never cut to less than "255.255.255.255" and an ellipsis. A form of the table that leaves the useful
// width, as the one for 80 columns does, is not given up for a narrower form, though it cuts names.
constexpr int kNarrowestLabel = 16;
constexpr int kUsefulLabel = 22;

// The columns of the peer list, and what the record beside the counts says.
enum TableColumn : int {
    kStateColumn = kPeerColumns,
    kRoundTripColumn,
    kTableColumns,
};

// One line's texts. They are not on the stack, because a handheld's stack is small.
class Cells {
public:
    SPW_CString& operator[](int column) { return m_texts[static_cast<std::size_t>(column)]; }
    const SPW_CString& operator[](int column) const { return m_texts[static_cast<std::size_t>(column)]; }

private:
    std::vector<SPW_CString> m_texts = std::vector<SPW_CString>(kTableColumns);
};
typedef int Widths[kTableColumns];

// How headers and gaps are laid out, and how many of the columns there are; the widest form first.
struct Form {
    enum Headers { kWhole, kOnTwoLines, kFirstWord };
    Headers headers;
    int gap;  // columns between two columns
    int columns;
};
constexpr Form kForms[] = {
    {Form::kWhole, 2, kTableColumns},        {Form::kOnTwoLines, 2, kTableColumns},
    {Form::kOnTwoLines, 1, kTableColumns},   {Form::kFirstWord, 1, kTableColumns},
    {Form::kFirstWord, 1, kRoundTripColumn}, {Form::kFirstWord, 1, kStateColumn},
};

// "-" stands where there is nothing to tell.
SPW_CString textOrDash(const SPW_CString& text) {
    return text.isEmpty() ? SPW_CString(u"-") : text;
}

void fillCells(const PeerRowValues& row, Cells& cells) {
    for (int column = 0; column < kPeerColumns; ++column) {
        cells[column] = cellText(row, column);
    }
    const PeerSummary& summary = row.summary;
    cells[kStateColumn] = textOrDash(stateWord(summary.state));
    cells[kRoundTripColumn] =
        textOrDash(summary.roundTrips == 0 ? SPW_CString() : roundTripText(summary.meanRoundTrip100ns));
}

SPW_CString headerOf(int column) {
    switch (column) {
        case kStateColumn:
            return u"State";
        case kRoundTripColumn:
            return u"Rtt (mean)";
        default:
            return peerColumnHeader(column);
    }
}

// `lower` stays empty where the headers have one line.
void fillHeaders(Form::Headers headers, Cells& upper, Cells& lower) {
    for (int column = 0; column < kTableColumns; ++column) {
        upper[column] = headerOf(column);
        lower[column].clear();
        if (headers != Form::kWhole) {
            splitHeader(headerOf(column), upper[column], lower[column]);
        }
        if (headers == Form::kFirstWord) {
            lower[column].clear();
        }
    }
}

void widen(Widths& widths, const Cells& cells) {
    for (int column = 0; column < kTableColumns; ++column) {
        widths[column] = std::max(widths[column], displayWidth(cells[column]));
    }
}

// The table's columns, and its lines one by one.
class Layout {
public:
    Layout(const Form& form, const SPW_CArray<PeerRowValues>& rows) : m_form(form) {
        Cells cells;
        for (int i = 0; i < rows.numberOfElements(); ++i) {
            fillCells(rows[i], cells);
            widen(m_widths, cells);
        }
        Cells upper;
        Cells lower;
        fillHeaders(form.headers, upper, lower);
        widen(m_widths, upper);
        widen(m_widths, lower);
        m_widths[kLabelColumn] = std::min(m_widths[kLabelColumn], kWidestLabel);
    }

    // Gives the label the room that a terminal of that width leaves. Returns false if the room is too little and a
    // narrower form is better.
    bool fit(int width) {
        int room = width;
        for (int column = kLabelColumn + 1; column < m_form.columns; ++column) {
            room -= m_form.gap + m_widths[column];
        }
        const int needed = m_widths[kLabelColumn];
        m_widths[kLabelColumn] = std::min(needed, std::max(room, kNarrowestLabel));
        return room >= std::min(needed, kUsefulLabel);
    }

    void appendHeaders(SPW_CString& table) const {
        Cells upper;
        Cells lower;
        fillHeaders(m_form.headers, upper, lower);
        appendLine(table, upper);
        if (m_form.headers == Form::kOnTwoLines) {
            appendLine(table, lower);
        }
    }
    void appendRow(SPW_CString& table, const PeerRowValues& row) const {
        Cells cells;
        fillCells(row, cells);
        appendLine(table, cells);
    }

private:
    // The label column is aligned left, the figures right.
    void appendLine(SPW_CString& table, const Cells& cells) const {
        const SPW_CString label = cutToWidth(cells[kLabelColumn], m_widths[kLabelColumn]);
        table += label;
        appendBlanks(table, m_widths[kLabelColumn] - displayWidth(label));
        for (int column = kLabelColumn + 1; column < m_form.columns; ++column) {
            appendBlanks(table, m_form.gap + m_widths[column] - displayWidth(cells[column]));
            table += cells[column];
        }
        table.append(u'\n');
    }
    static void appendBlanks(SPW_CString& table, int count) {
        SPW_CString blanks;
        blanks.fill(u' ', count);
        table += blanks;
    }

    Form m_form;
    Widths m_widths = {};
};

Layout layoutFor(int width, const SPW_CArray<PeerRowValues>& rows) {
    Layout layout(kForms[0], rows);
    for (std::size_t i = 1; width != kAnyWidth && !layout.fit(width) && i < std::size(kForms); ++i) {
        layout = Layout(kForms[i], rows);
    }
    return layout;
}

// Appends one line for each row whose probes could not all be made, and of many rows only for the first ones.
void appendNotMade(SPW_CString& table, const SPW_CArray<PeerRowValues>& rows) {
    constexpr int kMostLines = 5;
    int count = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        const SPW_CString text = notMadeText(rows[i].isNotMade);
        if (!text.isEmpty() && ++count <= kMostLines) {
            table += cutToWidth(rows[i].label(), kWidestLabel) + u": " + text + u'\n';
        }
    }
    if (count > kMostLines) {
        SPW_CString text;
        text.format(u"(and %d rows more)\n", count - kMostLines);
        table += text;
    }
}

int countOf(const SPW_CArray<PeerRowValues>& rows, PeerState state) {
    int count = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        count += rows[i].summary.state == state ? 1 : 0;
    }
    return count;
}

// Nothing is said of none.
SPW_CString countText(int count, const char16_t* word) {
    return count == 0 ? SPW_CString() : SPW_CString(u", ") + count + u' ' + word;
}

}  // namespace

SPW_CString formatTable(const TableHeading& heading, const SPW_CArray<PeerRowValues>& rows, int width) {
    SPW_CString table;
    table.format(u"%s  test %d, %s after %lu s\n", heading.localTime.text(), heading.testNumber,
                 heading.isFinal ? u"result" : u"running", static_cast<unsigned long>(heading.elapsedSeconds));
    const Layout layout = layoutFor(width, rows);
    layout.appendHeaders(table);
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        layout.appendRow(table, rows[i]);
    }
    if (rows.numberOfElements() == 0) {
        table += u"(no peer heard so far)\n";
    }
    appendNotMade(table, rows);
    return table;
}

int countReachable(const SPW_CArray<PeerRowValues>& rows, const Demands& demands) {
    int reachable = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        const bool isSilent = rows[i].summary.state == PeerState::kSilent;
        if (rows[i].quality >= demands.minimumQuality && (demands.allowsSilent || !isSilent)) {
            ++reachable;
        }
    }
    return reachable;
}

SPW_CString formatVerdict(const SPW_CArray<PeerRowValues>& rows, const Demands& demands, int tooSilent) {
    SPW_CString verdict;
    const int peers = rows.numberOfElements();
    if (peers == 0) {
        return u"no peer was found";
    }
    verdict.format(u"%d of %d %s reachable (quality at least %d %%)", countReachable(rows, demands), peers,
                   peers == 1 ? u"peer" : u"peers", demands.minimumQuality);
    return verdict + countText(countOf(rows, PeerState::kDegraded) + countOf(rows, PeerState::kPartial), u"degraded") +
           countText(countOf(rows, PeerState::kSilent), u"silent") + countText(tooSilent, u"silent for too long");
}
