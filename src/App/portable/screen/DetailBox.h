#pragma once

#include <cstdint>

#include "PeerList.h"
#include "ScreenBox.h"

// All about the chosen row: the figures of each protocol, and a strip chart of the last periods. The chart shows when
// something broke; the newest period is at the right. Up and down choose another row.
class DetailBox final : public ScreenBox {
public:
    // columnMs: how long a period of the list's histories is.
    DetailBox(PeerList& list, std::int64_t columnMs) : m_list(list), m_columnMs(columnMs) {}

    void draw(Canvas& canvas) override;
    bool handle(const Input& input) override;

private:
    void drawAtLength(Canvas& canvas, const Area& room, int row);
    void drawInShort(Canvas& canvas, const Area& room, int row);
    void drawChart(Canvas& canvas, const Area& line, const History& history);
    SPW_CString legend(const Glyphs& glyphs) const;

    PeerList& m_list;
    std::int64_t m_columnMs;
};
