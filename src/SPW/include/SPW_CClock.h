#pragma once

#include <cstdint>

#include "SPW_CObject.h"

class VTR_CEvent;

// Calendar time, as SYSTEMTIME has it.
struct SPW_CalendarTime {
    int year = 1601;
    int month = 1;      // 1 to 12
    int dayOfWeek = 1;  // 0 is Sunday
    int day = 1;        // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

// Time as the program sees it. Reached through `instance`, so that a test can script it; a test puts the former pointer
// back. Any thread may call every operation.
class SPW_CClock : public SPW_CObject {
public:
    static SPW_CClock* instance;

    // For schedules: starts at its first use as the wall clock, a count of 100-ns units since 1 January 1601 (UTC),
    // then advances with the monotonic clock. Setting the device's time does not move it. It stands still while the
    // device is suspended: no schedule is overdue afterwards. Desktop Windows is the exception. Its clock runs on, and
    // each schedule that has become overdue sends one probe when the device resumes. No schedule makes up lateness.
    virtual std::uint64_t now100ns() = 0;
    // The true wall clock in the same units.
    virtual std::uint64_t wall100ns() = 0;
    // A wall-clock count as local calendar time, with the offset that the device's zone has on that date. A zone that
    // is changed while the program runs counts within a minute.
    virtual SPW_CalendarTime toLocal(std::uint64_t wall100ns) = 0;
    // The wall clock as local calendar time, for time stamps: cheaper than toLocal on some platforms.
    virtual SPW_CalendarTime localNow() { return toLocal(wall100ns()); }
    // Blocks the calling thread for at least that time, whatever signals arrive. 0 gives up the processor for the
    // shortest time that pays; never spins.
    virtual void sleepMs(std::uint32_t milliseconds) = 0;
    // One of the sleeps with which a thread closes in on `due100ns` (as now100ns() counts), when all that it does
    // between two such sleeps is to look at the clock. Lasts for at least that time (0 as above) if due100ns is not
    // nearer; otherwise it may end at due100ns. Setting `wake`, an event with automatic reset that only this thread
    // waits for, ends the sleep at once. A set that finds no sleep ends the next one.
    //
    // A platform may merge these sleeps: the first one then lasts until due100ns. Only the clock and the battery can
    // tell the difference.
    // (a) A thread that wakes before its time sends nothing, reports nothing and changes nothing.
    // (b) Either way the thread acts at its first look at the clock at or after due100ns. Neither way is a look early.
    //     A merged sleep ends nearer to due100ns than several sleeps do.
    // (c) The time left cannot change during a sleep. Nobody sets the clock of now100ns(). While the device is
    //     suspended, that clock and every sleep stand still together. On desktop Windows that clock runs on. No sleep
    //     is merged there, and the thread looks at the clock at the end of its present short one.
    // (d) What must not wait for the end of a sleep sets `wake`: a start, a stop, a destruction.
    virtual void sleepTowards(std::uint64_t due100ns, std::uint32_t milliseconds, VTR_CEvent& wake) = 0;

    // Between the two epochs that systems count from, in seconds.
    static constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;

    // Plain calendar arithmetic (proleptic Gregorian, no time zone), the two directions, for the years 1601 to 30827.
    // A later count gives the last millisecond of 30827.
    static SPW_CalendarTime toUtc(std::uint64_t count100ns);
    // The day of the week is not looked at. 0 for a time that no calendar shows (31 June, 24:00, year 1600 ...).
    static std::uint64_t fromUtc(const SPW_CalendarTime& time);
};
