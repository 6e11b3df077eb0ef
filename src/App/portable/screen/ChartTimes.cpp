#include "ChartTimes.h"

#include <algorithm>

#include "SPW_CClock.h"

namespace {

constexpr std::uint64_t k100nsPerMs = 10000;
constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kDay = 24 * 60 * kMinute;
// Columns of a chart on the narrowest screen that shows everything.
constexpr std::int64_t kUsualColumns = 70;

// Seconds between two times that are written, and what a time needs with a gap.
struct Scale {
    std::int64_t step = 0;
    bool hasSeconds = false;

    int width() const { return hasSeconds ? 10 : 7; }
};

Scale scaleFor(std::int64_t columnMs) {
    static constexpr std::int64_t kSteps[] = {
        10,           15,           30,           kMinute,       2 * kMinute,   5 * kMinute,
        10 * kMinute, 30 * kMinute, 60 * kMinute, 180 * kMinute, 360 * kMinute, 720 * kMinute};
    Scale scale;
    for (const std::int64_t step : kSteps) {
        scale = {step, step % kMinute != 0};
        if (step * 1000 >= columnMs * scale.width()) {
            break;
        }
    }
    return scale;
}

std::int64_t secondOfDay(std::uint64_t wall100ns) {
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(wall100ns);
    return (local.hour * std::int64_t{60} + local.minute) * kMinute + local.second;
}

SPW_CString timeText(std::int64_t second, const Scale& scale) {
    const int hour = static_cast<int>(second / 3600);
    const int minute = static_cast<int>(second / kMinute % 60);
    SPW_CString text;
    if (scale.hasSeconds) {
        text.format(u"%02d:%02d:%02d", hour, minute, static_cast<int>(second % kMinute));
    } else {
        text.format(u"%02d:%02d", hour, minute);
    }
    return text;
}

}  // namespace

void ChartView::zoomOut() {
    const bool isEnough = columnMs() * kUsualColumns >= kDay * 1000;
    zoom += zoom + 1 < History::kZooms && !isEnough ? 1 : 0;
}

void ChartView::zoomIn() {
    zoom = std::max(zoom - 1, 0);
}

// A time is written at the first column that begins at or after it.
void drawChartTimes(Canvas& canvas, const Area& line, const ChartView& view, const History& history) {
    if (view.endWall100ns == 0 || history.size(view.zoom) == 0) {
        return;
    }
    const Scale scale = scaleFor(view.columnMs());
    const auto beginOf = [&](int age) {
        const std::int64_t since = view.periodMs * history.periodsSince(age, view.zoom);
        return secondOfDay(view.endWall100ns - static_cast<std::uint64_t>(since) * k100nsPerMs);
    };
    const int columns = std::min(line.width, history.size(view.zoom));
    int end = line.x;  // of what is written
    for (int age = columns - 2; age >= 0; --age) {
        const std::int64_t begin = beginOf(age);
        const int x = line.x + line.width - 1 - age;
        const SPW_CString text = timeText(begin / scale.step * scale.step, scale);
        const bool isRound = begin / scale.step != beginOf(age + 1) / scale.step;
        if (isRound && x >= end && x + text.length() <= line.x + line.width) {
            end = canvas.put(x, line.y, text, Look::kBox) + 1;
        }
    }
}
