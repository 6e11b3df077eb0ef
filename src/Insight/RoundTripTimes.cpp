#include "RoundTripTimes.h"

#include <algorithm>

#include "IntegerRoot.h"

namespace {

// A distance is below 2^30 and its square below 2^60. One more of them cannot overflow a sum below 2^62.
constexpr std::int64_t kMostDistance = std::int64_t{1} << 30;
constexpr std::uint64_t kMostSquares = std::uint64_t{1} << 62;

}  // namespace

void RoundTripTimes::add(std::uint32_t time100ns) {
    if (m_count == 0) {
        m_first = m_minimum = m_maximum = time100ns;
    } else {
        m_jitter.add(time100ns > m_last ? time100ns - m_last : m_last - time100ns);
    }
    ++m_count;
    m_last = time100ns;
    m_minimum = std::min(m_minimum, time100ns);
    m_maximum = std::max(m_maximum, time100ns);
    m_sum += time100ns;
    m_mean = static_cast<std::uint32_t>(m_sum / m_count);
    addToDeviation(static_cast<std::int64_t>(time100ns) - m_first);
    ++m_buckets[bucketOf(time100ns)];
}

// The scale grows when the squares would leave 64 bits: times that are far apart do not need the unit.
void RoundTripTimes::addToDeviation(std::int64_t distance) {
    while (std::max(distance, -distance) >> m_scale >= kMostDistance) {
        growScale();
    }
    const std::int64_t scaled = distance / (std::int64_t{1} << m_scale);
    m_distances += scaled;
    m_squares += static_cast<std::uint64_t>(scaled * scaled);
    if (m_squares >= kMostSquares) {
        growScale();
    }
}

void RoundTripTimes::growScale() {
    ++m_scale;
    m_distances /= 2;
    m_squares /= 4;
}

// With q = sum / n, rounded, and r the rest, the sum of (d - q)^2 is the sum of d^2 less n q^2 less 2 q r. All of it is
// exact, though terms may leave 64 bits, since the result does not.
std::uint32_t RoundTripTimes::deviation() const {
    if (m_count == 0) {
        return 0;
    }
    const std::int64_t quotient = m_distances / static_cast<std::int64_t>(m_count);
    const std::int64_t rest = m_distances - quotient * static_cast<std::int64_t>(m_count);
    const std::uint64_t q = static_cast<std::uint64_t>(quotient);
    const std::uint64_t squares = m_squares - m_count * q * q - 2 * q * static_cast<std::uint64_t>(rest);
    // What was rounded with a change of the scale may have taken it below 0.
    const bool isBelowZero = static_cast<std::int64_t>(squares) < 0;
    return isBelowZero ? 0 : integerRoot(squares / m_count) << m_scale;
}

int RoundTripTimes::bucketOf(std::uint32_t time100ns) {
    const std::uint32_t units = time100ns >> kUnitShift;
    if (units < kSteps) {
        return static_cast<int>(units);
    }
    int doubling = 0;
    while ((units >> doubling) >= 2 * kSteps) {
        ++doubling;
    }
    const int bucket = kSteps + doubling * kSteps + static_cast<int>((units >> doubling) - kSteps);
    return std::min(bucket, kBuckets - 1);
}

std::uint32_t RoundTripTimes::middleOf(int bucket) {
    const int doubling = bucket < kSteps ? 0 : bucket / kSteps - 1;
    const std::uint32_t step = static_cast<std::uint32_t>(bucket < kSteps ? bucket : bucket % kSteps + kSteps);
    const std::uint32_t width = 1u << (doubling + kUnitShift);
    return step * width + width / 2;
}

// The smallest time that so many percent of all times do not exceed.
std::uint32_t RoundTripTimes::percentile(std::uint32_t percent) const {
    const std::uint64_t rank = (std::uint64_t{m_count} * percent + 99) / 100;
    std::uint64_t passed = 0;
    int bucket = 0;
    for (; bucket < kBuckets - 1; ++bucket) {
        passed += m_buckets[bucket];
        if (passed >= rank) {
            break;
        }
    }
    return std::clamp(middleOf(bucket), m_minimum, m_maximum);
}

RoundTripValues RoundTripTimes::values() const {
    RoundTripValues values;
    if (m_count == 0) {
        return values;
    }
    values.count = m_count;
    values.last100ns = m_last;
    values.minimum100ns = m_minimum;
    values.mean100ns = m_mean;
    values.maximum100ns = m_maximum;
    values.deviation100ns = deviation();
    values.median100ns = percentile(50);
    values.percentile95th100ns = percentile(95);
    values.percentile99th100ns = percentile(99);
    values.jitter100ns = m_jitter.mean();
    return values;
}
