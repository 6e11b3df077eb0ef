#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"

// Keeps errors that come as fast as the processor goes from filling the log.
//
// The first equal lines in a row pass as they are. From then on one line a second passes, with the number of those that
// it stands for: "... :select failed (37 times)". A second without the line ends the row. All lines together have a
// budget. What finds neither a place here nor a budget is only counted, and told once a second as one number. In ten
// seconds not a hundred lines pass, whatever happens.
//
// Honest devices meet neither: a listener watches 63 connections, and when all of them fail at once, each has its line.
//
// Times are those of SPW_CClock::now100ns(). Threads: none; the owner locks.
class ErrorLines {
public:
    // Lines that may pass at once, and a second from then on.
    static constexpr int kBurst = 64;
    static constexpr int kEverySecond = 2;

    // Whether the line is to be logged now. It may get a number then. limit: equal lines in a row that pass as they
    // are; 0: all lines do.
    bool admit(SPW_CString& line, std::int32_t limit, std::uint64_t now100ns);
    // Appends the lines that tell what has been counted for a second. Meant to be called once a second.
    void takeDue(std::uint64_t now100ns, SPW_CArray<SPW_CString>& lines);
    // Appends the lines that tell all that has been counted, and forgets it.
    void takeAll(SPW_CArray<SPW_CString>& lines);
    void clear();

private:
    static constexpr int kMostDifferent = 64;

    struct Row {
        SPW_CString line;
        std::uint32_t hash = 0;
        std::int32_t told = 0;
        std::uint64_t lastTold100ns = 0;
        std::uint64_t lastSeen100ns = 0;
        std::int32_t counted = 0;  // since it was told last
    };

    int rowOf(const SPW_CString& line, std::uint64_t now100ns);
    void removeEnded(std::uint64_t now100ns);
    void takeOthers(SPW_CArray<SPW_CString>& lines);
    bool spend(std::uint64_t now100ns);

    SPW_CArray<Row> m_rows;
    std::int32_t m_others = 0;
    // The budget: the time at which all lines that have passed are paid for.
    std::uint64_t m_paid100ns = 0;
};
