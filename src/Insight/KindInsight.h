#pragma once

#include <cstdint>

#include "Jitter.h"
#include "Moment.h"
#include "NumberWindow.h"
#include "PeerInsightValues.h"

// How one kind of traffic from one peer is doing: state, figures, and whether its numbers have begun anew.
//
// Probes are recorded as they come, at a small and constant price. States change once a second, in judge():
//
//   state       changes when                                                   to        since
//   kWaiting    a probe was heard                                              kOk       the probe
//   kWaiting    nothing heard for five periods, at least 5 s                   kSilent   the watch began
//   kOk, kLossy nothing heard for three periods, at least 3 s                  kSilent   the latest probe
//   kOk         a number was jumped over and has not come for a second         kLossy    the jump
//   kLossy      nothing was lost in the last ten periods, at least 10 s        kOk       now
//   kSilent     two probes were heard, three periods (3 s) apart at most       kOk       the first of them
//
// What keeps the table from telling of things that have not happened:
//
// - A single late probe is within three periods, and ends no silence. A number that comes late is
//   not lost.
// - What a silence has cost is told with its end and makes no kind lossy.
// - While this device was suspended or stopped it could hear nobody. Silence counts from the end of
//   that (Moment::presentSince) at the earliest, and numbers that are missing then are not lost.
// - The period is the longer one of this device's and the peer's. The peer's is known by two
//   successive spacings that agree, or by four if they are shorter than 3 s.
// - Repeats are heard, but two probes are two different ones.
//
// Threads: none; the owner locks.
class KindInsight {
public:
    // period100ns: this device's; 0 without a pause. Begins to wait.
    void watch(const Stamp& now, std::uint64_t period100ns);
    // There is no state from here on. Figures go on.
    void unwatch() { m_state = KindState::kNone; }
    // Waits from now on, if it still waits.
    void waitAnew(const Stamp& now);

    // A probe of the peer.
    void record(std::int32_t number, const Moment& moment);
    // The same for numbers that this device gives itself: lower ones are a new counting at once.
    void recordOwn(std::int32_t number, const Moment& moment);
    // Follows the table. Returns whether the state has changed.
    bool judge(const Moment& moment);
    // Sets the figures to zero. State and times stay.
    void reset();

    KindState state() const { return m_state; }
    const Stamp& since() const { return m_since; }
    // When the highest number so far came.
    const Stamp& lastAdvance() const { return m_lastAdvance; }
    // What the silence that ended last has cost, as far as numbers show it.
    std::uint32_t missed() const { return m_missed; }
    // How long nothing may be heard.
    std::uint64_t silenceLimit100ns() const { return m_silenceLimit100ns; }
    // The window of the last 64 numbers, and how many probes have come since the latest number that was jumped over.
    const NumberWindow& numbers() const { return m_numbers; }
    std::uint32_t cleanRun() const { return m_cleanRun; }

    // Whether numbers have begun anew: lower ones come, and for a second and two periods no higher one has come in
    // between. takeNewNumbers() must follow.
    bool hasBegunAnew(const Stamp& now) const;
    // When the first of them came, and the latest one of the counting before.
    const Stamp& begunAnewAt() const { return m_anewSince; }
    const Stamp& oldNumbersUntil() const { return m_oldUntil; }
    void takeNewNumbers();

    // All but OutValues.
    void fill(KindValues& values) const;

private:
    bool noteBehind(std::int32_t number, NumberWindow::Arrival arrival, const Stamp& now);
    void openAnew(std::int32_t number, NumberWindow::Arrival arrival, const Stamp& now);
    void settleAnew(std::int32_t number);
    void countBehind(NumberWindow::Arrival arrival, std::uint32_t probes);
    void replaceNumbers(const NumberWindow& numbers);
    void noteAdvance(std::int32_t step, NumberWindow::Arrival arrival, const Moment& moment);
    void noteSpacing(std::uint32_t step, std::uint64_t span100ns);
    void learnPeriod(std::uint64_t spacing100ns);
    void setPeriod(std::uint64_t period100ns);
    void noteHeardWhileSilent(const Stamp& now);
    bool change(KindState state, const Stamp& since);
    bool judgeSilence(const Moment& moment, std::uint64_t limit100ns, const Stamp& quietSince);
    bool judgeLoss(const Stamp& now);

    // What every probe touches stands together.
    NumberWindow m_numbers;
    Stamp m_lastHeard;
    Stamp m_lastAdvance;
    std::uint64_t m_period100ns = 0;  // the peer's, which is this device's until spacings show another
    std::uint64_t m_ownPeriod100ns = 0;
    std::uint64_t m_silenceLimit100ns = 0;  // of the longer one
    std::uint64_t m_oddSpacing100ns = 0;    // the latest spacing that did not agree with m_period100ns
    Jitter m_jitter;
    std::uint32_t m_cleanRun = 0;
    std::uint32_t m_duplicates = 0;
    std::uint32_t m_reordered = 0;
    std::uint8_t m_oddTimes = 0;  // spacings like m_oddSpacing100ns in a row
    KindState m_state = KindState::kNone;

    // A counting that may have begun anew.
    bool m_isAnewOpen = false;
    bool m_isAnewSure = false;  // it has caught up with the old one and is m_numbers now
    NumberWindow::Arrival m_anewArrival = NumberWindow::kFarBehind;  // of its first number in the old one
    Stamp m_anewSince;
    Stamp m_oldUntil;
    NumberWindow m_anew;

    // For judge().
    bool m_isBackHeard = false;  // since the silence began
    bool m_isBackSure = false;
    Stamp m_since;
    Stamp m_gapAt;                      // the latest jump over numbers
    Stamp m_backAt;                     // the first probe, or the first one after a silence
    std::uint64_t m_lossAt100ns = 0;    // when the latest loss became certain; 0: never
    std::uint32_t m_certainLost = 0;    // of m_numbers up to m_judgedNumber, and what silences have cost
    std::uint32_t m_lostAtSilence = 0;  // of m_numbers
    std::int32_t m_judgedNumber = 0;    // the highest one at the latest judge()
    std::uint32_t m_missed = 0;

    // Of countings that are over, less what a reset has set to zero. They wrap around, and so do the sums with those of
    // m_numbers.
    std::uint32_t m_receivedBefore = 0;
    std::uint32_t m_lostBefore = 0;
};
