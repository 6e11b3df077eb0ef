#include "SPW_CZoneRule.h"

#include <algorithm>

namespace {

constexpr std::int64_t k100nsPerMinute = 600000000;
constexpr int kDaysOfWeek = 7;

// A count moved by minutes; nothing is before 1601, where counts begin.
std::uint64_t moved(std::uint64_t count100ns, int minutes) {
    const std::int64_t sum = static_cast<std::int64_t>(count100ns) + minutes * k100nsPerMinute;
    return static_cast<std::uint64_t>(std::max<std::int64_t>(sum, 0));
}

// The season's beginning in that year, as a count of local time.
std::uint64_t beginIn(SPW_CalendarTime begin, int year) {
    if (begin.year != 0) {
        return SPW_CClock::fromUtc(begin);
    }
    const int week = begin.day;
    begin.year = year;
    begin.day = 1;
    const int firstDay = SPW_CClock::toUtc(SPW_CClock::fromUtc(begin)).dayOfWeek;
    begin.day = 1 + (begin.dayOfWeek - firstDay + kDaysOfWeek) % kDaysOfWeek + kDaysOfWeek * (week - 1);
    std::uint64_t count = SPW_CClock::fromUtc(begin);
    // The fifth of a month that has four is its last. A day that the month lacks has no count.
    while (count == 0 && begin.day > kDaysOfWeek) {
        begin.day -= kDaysOfWeek;
        count = SPW_CClock::fromUtc(begin);
    }
    return count;
}

}  // namespace

// All three moments are taken in standard time, so that they can be compared.
int SPW_CZoneRule::biasAt(std::uint64_t wall100ns) const {
    const int standardBias = biasMinutes + standard.biasMinutes;
    if (standard.begin.month == 0 || daylight.begin.month == 0) {
        return standardBias;
    }
    const std::uint64_t now = moved(wall100ns, -standardBias);
    const int year = SPW_CClock::toUtc(now).year;
    const std::uint64_t begin = beginIn(daylight.begin, year);
    const std::uint64_t end = moved(beginIn(standard.begin, year), daylight.biasMinutes - standard.biasMinutes);
    // In the south the year begins and ends with daylight time.
    const bool isDaylight = begin < end ? now >= begin && now < end : now >= begin || now < end;
    return isDaylight ? biasMinutes + daylight.biasMinutes : standardBias;
}

std::uint64_t SPW_CZoneRule::localFromWall(std::uint64_t wall100ns) const {
    return moved(wall100ns, -biasAt(wall100ns));
}
