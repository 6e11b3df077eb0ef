#pragma once

#include <cstdint>

#include "Canvas.h"
#include "History.h"

// What the strip charts of all rows have in common: how long a period is, when the last one ended, and how coarse the
// columns are.
struct ChartView {
    std::int64_t periodMs = 1000;
    std::uint64_t endWall100ns = 0;  // of the last period; 0 before the first
    int zoom = 0;                    // of History

    std::int64_t columnMs() const { return periodMs * History::kPeriods[zoom]; }
    // Coarser or finer, as far as a day is not shown yet.
    void zoomOut();
    void zoomIn();
};

// Writes local clock times below a chart: round ones, each beginning where its time does. The chart has its newest
// column at the right end of the line.
void drawChartTimes(Canvas& canvas, const Area& line, const ChartView& view, const History& history);
