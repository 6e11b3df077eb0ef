#include "SPW_CClock.h"

#include <algorithm>
#include <atomic>

#include "SPW_CClockSys.h"
#include "SPW_CImmortal.h"
#include "VTR_CEvent.h"

namespace {

class SystemClock : public SPW_CClock {
public:
    constexpr SystemClock() : m_wallAtZero(0) {}

    std::uint64_t now100ns() override {
        const std::uint64_t monotonic = SPW_CClockSys::monotonic100ns();
        std::uint64_t wallAtZero = m_wallAtZero;
        if (wallAtZero == 0) {
            const std::uint64_t mine = SPW_CClockSys::wall100ns() - monotonic;
            // Another thread may have been first; then its anchor, now in wallAtZero, holds for all.
            if (m_wallAtZero.compare_exchange_strong(wallAtZero, mine)) {
                wallAtZero = mine;
            }
        }
        return wallAtZero + monotonic;
    }
    std::uint64_t wall100ns() override { return SPW_CClockSys::wall100ns(); }
    SPW_CalendarTime toLocal(std::uint64_t wall100ns) override {
        return toUtc(SPW_CClockSys::localFromWall(wall100ns));
    }
    SPW_CalendarTime localNow() override { return toUtc(SPW_CClockSys::localNow100ns()); }
    void sleepMs(std::uint32_t milliseconds) override { SPW_CClockSys::sleepMs(milliseconds); }
    // The caller has due100ns from now100ns(), which has fixed the anchor.
    void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) override {
        SPW_CClockSys::sleepTowards(due100ns - m_wallAtZero, milliseconds, wake.handle());
    }

private:
    // What the wall clock showed when the monotonic clock was 0; 0 until the first use.
    std::atomic<std::uint64_t> m_wallAtZero;
};

SPW_CImmortal<SystemClock> systemClock;

constexpr std::uint64_t kPerMillisecond = 10000;
constexpr std::uint64_t kMillisecondsPerDay = 24u * 60 * 60 * 1000;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;
constexpr int kDaysOf400Years = 146097;
constexpr int kDaysOf100Years = 36524;
constexpr int kDaysOf4Years = 1461;
constexpr int kDaysOfYear = 365;

constexpr bool isLeap(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int daysOfMonth(int year, int month) {
    constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays[month - 1] + (month == 2 && isLeap(year) ? 1 : 0);
}

// Days from 1 January 1601 to 1 January of the year. 1601 opens a cycle of 400 years.
constexpr int daysBeforeYear(int year) {
    const int years = year - kFirstYear;
    return years * kDaysOfYear + years / 4 - years / 100 + years / 400;
}

constexpr std::uint64_t kLastMillisecond =
    static_cast<std::uint64_t>(daysBeforeYear(kLastYear + 1)) * kMillisecondsPerDay - 1;

// Takes the year off a count of days since 1601. The last day of a leap year is the one that the
// division would give to a fifth century or year of its cycle.
int takeYear(int& days) {
    const int cycles = days / kDaysOf400Years;
    days %= kDaysOf400Years;
    const int centuries = std::min(days / kDaysOf100Years, 3);
    days -= centuries * kDaysOf100Years;
    const int fours = days / kDaysOf4Years;
    days %= kDaysOf4Years;
    const int years = std::min(days / kDaysOfYear, 3);
    days -= years * kDaysOfYear;
    return kFirstYear + 400 * cycles + 100 * centuries + 4 * fours + years;
}

bool within(int value, int low, int high) {
    return value >= low && value <= high;
}

bool isValid(const SPW_CalendarTime& time) {
    return within(time.year, kFirstYear, kLastYear) && within(time.month, 1, 12) &&
           within(time.day, 1, daysOfMonth(time.year, time.month)) && within(time.hour, 0, 23) &&
           within(time.minute, 0, 59) && within(time.second, 0, 59) && within(time.millisecond, 0, 999);
}

}  // namespace

SPW_CClock* SPW_CClock::instance = &systemClock.value;

SPW_CalendarTime SPW_CClock::toUtc(std::uint64_t count100ns) {
    const std::uint64_t total = std::min(count100ns / kPerMillisecond, kLastMillisecond);
    int days = static_cast<int>(total / kMillisecondsPerDay);
    int rest = static_cast<int>(total % kMillisecondsPerDay);
    SPW_CalendarTime time;
    time.dayOfWeek = (days + 1) % 7;  // 1 January 1601 was a Monday
    time.year = takeYear(days);
    time.month = 1;
    while (days >= daysOfMonth(time.year, time.month)) {
        days -= daysOfMonth(time.year, time.month++);
    }
    time.day = days + 1;
    time.millisecond = rest % 1000;
    rest /= 1000;
    time.second = rest % 60;
    rest /= 60;
    time.minute = rest % 60;
    time.hour = rest / 60;
    return time;
}

std::uint64_t SPW_CClock::fromUtc(const SPW_CalendarTime& time) {
    if (!isValid(time)) {
        return 0;
    }
    int days = daysBeforeYear(time.year) + time.day - 1;
    for (int month = 1; month < time.month; ++month) {
        days += daysOfMonth(time.year, month);
    }
    const int seconds = (time.hour * 60 + time.minute) * 60 + time.second;
    const std::uint64_t milliseconds = static_cast<std::uint64_t>(days) * kMillisecondsPerDay +
                                       static_cast<std::uint64_t>(seconds) * 1000 +
                                       static_cast<std::uint64_t>(time.millisecond);
    return milliseconds * kPerMillisecond;
}
