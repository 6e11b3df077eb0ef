#pragma once

#include <cstdint>

// Tells apart what is lost, what comes twice and what comes late, from the numbers of the probes that arrive: a window
// of the last 64 numbers remembers which of them have come.
//
//        lost for good   |<----------- 64 ----------->|
//     ... 5 6 7 _ 9 10 11| 12 _ 14 15 ...        74 75|
//                                ^ missing          ^ highest
//
// Numbers wrap around: past the greatest comes the least. Threads: none; the owner locks.
class NumberWindow {
public:
    enum Arrival {
        kFirst,      // of this window
        kNext,       // the number after the highest
        kAfterGap,   // a higher one
        kLate,       // lower than the highest, for the first time; without effect if it is lower than the first, too
        kDuplicate,  // once more
        kFarBehind,  // too low for the window; nothing is recorded
    };
    static constexpr int kWidth = 64;

    Arrival record(std::int32_t number);
    // After kAfterGap: the numbers that were jumped over are not missing, and the window begins with the latest one.
    void excuseGap();

    bool isEmpty() const { return m_covered == 0; }
    std::int32_t highest() const { return m_highest; }
    // How far this number is ahead of the highest; negative: behind.
    std::int32_t distanceOf(std::int32_t number) const;
    // Different numbers that have come.
    std::uint32_t received() const { return m_received; }
    // Numbers between the first and the highest that have not come.
    std::uint32_t lost() const { return m_expected - m_received; }
    // Those of them that are higher than `number`, which is not above the highest.
    std::uint32_t lostAbove(std::int32_t number) const;
    // How many of the numbers in the window have not come, and how many numbers it covers, at most 64.
    int missingInWindow() const;
    int covered() const;

private:
    Arrival advance(std::uint32_t step);

    std::int32_t m_highest = 0;
    std::uint32_t m_latestGap = 0;
    std::uint64_t m_seen = 0;  // bit n: the highest number less n
    // Both wrap around.
    std::uint32_t m_expected = 0;  // from the first to the highest, without the excused ones
    std::uint32_t m_received = 0;
    std::uint8_t m_covered = 0;
};
