#include "KindInsight.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint64_t kWaitPeriods = 5;
constexpr std::uint64_t kLeastWait100ns = 5 * kOneSecond100ns;
constexpr std::uint64_t kSilencePeriods = 3;
constexpr std::uint64_t kLeastSilence100ns = 3 * kOneSecond100ns;
constexpr std::uint64_t kLossPeriods = 10;
constexpr std::uint64_t kLeastLoss100ns = 10 * kOneSecond100ns;
// A new counting that has caught up with the old one is told from repeats by so many numbers from 0 in a row.
constexpr std::uint32_t kAnewRun = 4;
// A period is another one when so many spacings in a row agree. Those of seconds are no matter of a busy machine.
constexpr std::uint8_t kOddTimes = 4;
constexpr std::uint8_t kLongOddTimes = 2;
// Spacings agree within a quarter, and within what a busy machine adds to each of them.
constexpr std::uint64_t kSpacingTolerance100ns = kOneSecond100ns / 100;

std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    return a > b ? a - b : b - a;
}

bool agree(std::uint64_t spacing100ns, std::uint64_t period100ns) {
    return difference(spacing100ns, period100ns) <= period100ns / 4 + kSpacingTolerance100ns;
}

// A sum that a late probe has taken below 0 after a reset is 0.
std::uint32_t figure(std::uint32_t before, std::uint32_t now) {
    const std::uint32_t sum = before + now;
    return static_cast<std::int32_t>(sum) < 0 && before > std::numeric_limits<std::int32_t>::max() ? 0 : sum;
}

}  // namespace

// ---- Set-up

void KindInsight::watch(const Stamp& now, std::uint64_t period100ns) {
    m_ownPeriod100ns = period100ns;
    setPeriod(period100ns);
    m_lastHeard = Stamp();
    (void)change(KindState::kWaiting, now);
}

void KindInsight::waitAnew(const Stamp& now) {
    if (m_state == KindState::kWaiting) {
        m_since = now;
    }
}

void KindInsight::setPeriod(std::uint64_t period100ns) {
    m_period100ns = period100ns;
    const std::uint64_t longer = std::max(period100ns, m_ownPeriod100ns);
    m_silenceLimit100ns = std::max(kSilencePeriods * longer, kLeastSilence100ns);
}

void KindInsight::reset() {
    m_receivedBefore = 0 - m_numbers.received();
    m_lostBefore = 0 - m_numbers.lost();
    m_duplicates = 0;
    m_reordered = 0;
    m_jitter.reset();
}

// ---- Probes as they come

void KindInsight::record(std::int32_t number, const Moment& moment) {
    if (m_isAnewOpen && m_numbers.distanceOf(number) > 0) {
        settleAnew(number);
    }
    const std::int32_t step = m_numbers.distanceOf(number);
    const NumberWindow::Arrival arrival = m_numbers.record(number);
    bool isNew = true;
    if (arrival == NumberWindow::kNext || arrival == NumberWindow::kAfterGap) {
        noteAdvance(step, arrival, moment);
    } else if (arrival == NumberWindow::kFirst) {
        m_lastAdvance = moment.now;
    } else {
        isNew = noteBehind(number, arrival, moment.now);
    }
    if (m_lastHeard.wall100ns == 0) {
        m_backAt = moment.now;
    }
    m_lastHeard = moment.now;
    if (m_state == KindState::kSilent && isNew) {
        noteHeardWhileSilent(moment.now);
    }
}

void KindInsight::recordOwn(std::int32_t number, const Moment& moment) {
    if (!m_numbers.isEmpty() && m_numbers.distanceOf(number) <= 0) {
        replaceNumbers(NumberWindow());
    }
    record(number, moment);
}

void KindInsight::noteAdvance(std::int32_t step, NumberWindow::Arrival arrival, const Moment& moment) {
    const bool wasAway = m_lastAdvance.monotonic100ns < moment.presentSince.monotonic100ns;
    ++m_cleanRun;
    if (arrival == NumberWindow::kAfterGap) {
        m_cleanRun = 0;
        if (wasAway || moment.isSettling()) {
            m_numbers.excuseGap();
        } else {
            m_gapAt = moment.now;
        }
    }
    if (!wasAway) {
        noteSpacing(static_cast<std::uint32_t>(step), spanBetween(m_lastAdvance, moment.now));
    }
    m_lastAdvance = moment.now;
}

void KindInsight::noteSpacing(std::uint32_t step, std::uint64_t span100ns) {
    if (m_period100ns != 0 && span100ns < m_silenceLimit100ns) {
        const std::uint64_t off = difference(span100ns, step * m_period100ns);
        m_jitter.add(
            static_cast<std::uint32_t>(std::min<std::uint64_t>(off, std::numeric_limits<std::uint32_t>::max())));
    }
    learnPeriod(step == 1 ? span100ns : span100ns / step);
}

void KindInsight::learnPeriod(std::uint64_t spacing100ns) {
    if (agree(spacing100ns, m_period100ns)) {
        m_oddTimes = 0;
        return;
    }
    m_oddTimes = m_oddTimes > 0 && agree(m_oddSpacing100ns, spacing100ns) ? m_oddTimes : std::uint8_t{0};
    m_oddSpacing100ns = spacing100ns;
    if (++m_oddTimes >= (spacing100ns < kLeastSilence100ns ? kOddTimes : kLongOddTimes)) {
        m_oddTimes = 0;
        setPeriod(agree(spacing100ns, m_ownPeriod100ns) ? m_ownPeriod100ns : spacing100ns);
    }
}

// One probe may be a straggler. A second one, not much later, makes sure that the first ended the silence.
void KindInsight::noteHeardWhileSilent(const Stamp& now) {
    if (m_isBackSure) {
        return;
    }
    if (m_isBackHeard && spanBetween(m_backAt, now) <= m_silenceLimit100ns) {
        m_isBackSure = true;
        return;
    }
    m_isBackHeard = true;
    m_backAt = now;
    m_certainLost = m_numbers.lost();
    m_judgedNumber = m_numbers.highest();
    m_missed = m_certainLost - m_lostAtSilence;
}

// ---- Numbers that begin anew

// A number behind the highest one opens a counting that may be new, if it is too low for the window or 0, or goes on
// with the one that is open. Returns whether the probe has not come before.
bool KindInsight::noteBehind(std::int32_t number, NumberWindow::Arrival arrival, const Stamp& now) {
    if (m_isAnewOpen && m_anew.distanceOf(number) <= NumberWindow::kWidth) {
        const NumberWindow::Arrival anew = m_anew.record(number);
        if (anew != NumberWindow::kFarBehind) {
            m_duplicates += anew == NumberWindow::kDuplicate ? 1 : 0;
            return anew != NumberWindow::kDuplicate;
        }
    }
    if (arrival == NumberWindow::kFarBehind || number == 0) {
        openAnew(number, arrival, now);
    } else {
        countBehind(arrival, 1);
    }
    return arrival != NumberWindow::kDuplicate;
}

void KindInsight::openAnew(std::int32_t number, NumberWindow::Arrival arrival, const Stamp& now) {
    if (m_isAnewOpen) {
        countBehind(m_anewArrival, m_anew.received());
    }
    m_isAnewOpen = true;
    m_anewArrival = arrival;
    m_anewSince = now;
    m_oldUntil = m_lastAdvance;
    m_anew = NumberWindow();
    (void)m_anew.record(number);
}

// A higher number has come while a counting is open that may be new. The old counting goes on, and what was open were
// repeats and late probes; unless the new one has caught up with it.
void KindInsight::settleAnew(std::int32_t number) {
    m_isAnewOpen = false;
    if (m_anew.distanceOf(number) == 1 && m_numbers.distanceOf(number) == 1 && m_anew.received() >= kAnewRun) {
        m_isAnewSure = true;
        replaceNumbers(m_anew);
    } else {
        countBehind(m_anewArrival, m_anew.received());
    }
}

void KindInsight::countBehind(NumberWindow::Arrival arrival, std::uint32_t probes) {
    (arrival == NumberWindow::kDuplicate ? m_duplicates : m_reordered) += probes;
}

bool KindInsight::hasBegunAnew(const Stamp& now) const {
    const std::uint64_t longer = std::max(m_period100ns, m_ownPeriod100ns);
    const bool isLongEnough = spanBetween(m_anewSince, now) >= std::max(2 * longer, kOneSecond100ns);
    return m_isAnewSure || (m_isAnewOpen && m_anew.received() > 1 && isLongEnough);
}

void KindInsight::takeNewNumbers() {
    if (m_isAnewOpen) {
        replaceNumbers(m_anew);
        m_lastAdvance = m_lastHeard;
    }
    m_isAnewOpen = false;
    m_isAnewSure = false;
}

void KindInsight::replaceNumbers(const NumberWindow& numbers) {
    m_receivedBefore += m_numbers.received();
    m_lostBefore += m_numbers.lost();
    m_numbers = numbers;
    m_certainLost = m_numbers.lost();
    m_judgedNumber = m_numbers.highest();
    m_lostAtSilence = m_certainLost;
}

// ---- Once a second

bool KindInsight::judge(const Moment& moment) {
    const bool wasHeard = m_lastHeard.wall100ns != 0;
    switch (m_state) {
        case KindState::kNone:
            return false;
        case KindState::kWaiting:
            if (wasHeard) {
                return change(KindState::kOk, m_backAt);
            }
            return judgeSilence(moment, std::max(kWaitPeriods * m_ownPeriod100ns, kLeastWait100ns), m_since);
        case KindState::kSilent:
            return m_isBackSure && change(KindState::kOk, m_backAt);
        default:
            return judgeSilence(moment, m_silenceLimit100ns, m_lastHeard) || judgeLoss(moment.now);
    }
}

bool KindInsight::judgeSilence(const Moment& moment, std::uint64_t limit100ns, const Stamp& quietSince) {
    const Stamp since = laterOf(quietSince, moment.presentSince);
    if (spanBetween(since, moment.now) < limit100ns) {
        return false;
    }
    m_isBackHeard = false;
    m_isBackSure = false;
    m_lossAt100ns = 0;
    m_lostAtSilence = m_numbers.lost();
    return change(KindState::kSilent, since);
}

// Numbers that were jumped over in the latest second may still come.
bool KindInsight::judgeLoss(const Stamp& now) {
    const std::uint32_t certain = m_numbers.lost() - m_numbers.lostAbove(m_judgedNumber);
    if (static_cast<std::int32_t>(certain - m_certainLost) > 0) {
        m_lossAt100ns = now.monotonic100ns;
    }
    m_certainLost = certain;
    m_judgedNumber = m_numbers.highest();
    const std::uint64_t longer = std::max(m_period100ns, m_ownPeriod100ns);
    const std::uint64_t limit = std::max(kLossPeriods * longer, kLeastLoss100ns);
    const bool isLossy = m_lossAt100ns != 0 && now.monotonic100ns - m_lossAt100ns < limit;
    if (isLossy == (m_state == KindState::kLossy)) {
        return false;
    }
    return isLossy ? change(KindState::kLossy, m_gapAt) : change(KindState::kOk, now);
}

bool KindInsight::change(KindState state, const Stamp& since) {
    m_state = state;
    m_since = since;
    return true;
}

void KindInsight::fill(KindValues& values) const {
    values.state = m_state;
    values.since = m_since;
    values.lastHeard = m_lastHeard;
    values.received = figure(m_receivedBefore, m_numbers.received());
    values.lost = figure(m_lostBefore, m_numbers.lost());
    values.duplicates = m_duplicates;
    values.reordered = m_reordered;
    values.jitterCount = m_jitter.count();
    values.jitter100ns = m_jitter.mean();
}
