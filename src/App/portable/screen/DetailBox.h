#pragma once

#include <cstdint>
#include <vector>

#include "ChartTimes.h"
#include "PeerInsightValues.h"
#include "PeerList.h"
#include "ScreenBox.h"
#include "ScreenCommands.h"
#include "TextBox.h"

// All about the chosen row, on two pages between which Tab changes. The first one has the figures and the state of each
// protocol and a strip chart of the last periods, which shows when something broke; the newest period is at the right.
// Below stand times and the latest outages as far as there is room. The second one has all that is known, as a text
// that scrolls. Up and down choose another row on the first page.
class DetailBox final : public ScreenBox {
public:
    // All three must outlive the box.
    DetailBox(PeerList& list, const ScreenCommands& commands, ChartView& view)
        : m_list(list), m_commands(commands), m_view(view), m_report(u"", u"") {}

    void draw(Canvas& canvas) override;
    bool handle(const Input& input) override;

private:
    void drawFigures(Canvas& canvas, int row, const PeerInsightValues& insight);
    void drawAtLength(Canvas& canvas, const Area& room, int row, const PeerInsightValues& insight);
    void drawStates(Canvas& canvas, const Area& line, int protocol, const PeerInsightValues& insight);
    void drawInShort(Canvas& canvas, const Area& room, int row, const PeerInsightValues& insight);
    void drawChart(Canvas& canvas, const Area& line, const History& history);
    SPW_CString legend(const Glyphs& glyphs) const;
    bool handleText(char32_t character);

    PeerList& m_list;
    const ScreenCommands& m_commands;
    ChartView& m_view;
    TextBox m_report;
    bool m_isReport = false;  // the second page is shown
};
