#include "NumberWindow.h"

#include <algorithm>

namespace {

int onesOf(std::uint64_t bits) {
    int ones = 0;
    for (; bits != 0; bits &= bits - 1) {
        ++ones;
    }
    return ones;
}

std::uint64_t lowestBits(std::uint32_t count) {
    return count >= NumberWindow::kWidth ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

}  // namespace

std::int32_t NumberWindow::distanceOf(std::int32_t number) const {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) - static_cast<std::uint32_t>(m_highest));
}

NumberWindow::Arrival NumberWindow::record(std::int32_t number) {
    if (isEmpty()) {
        m_highest = number;
        m_seen = m_expected = m_received = m_covered = 1;
        return kFirst;
    }
    const std::int32_t distance = distanceOf(number);
    if (distance > 0) {
        m_highest = number;
        return advance(static_cast<std::uint32_t>(distance));
    }
    if (distance <= -kWidth) {
        return kFarBehind;
    }
    const int behind = -distance;
    if (behind >= m_covered) {
        return kLate;
    }
    const std::uint64_t bit = std::uint64_t{1} << behind;
    if ((m_seen & bit) != 0) {
        return kDuplicate;
    }
    m_seen |= bit;
    ++m_received;
    return kLate;
}

NumberWindow::Arrival NumberWindow::advance(std::uint32_t step) {
    m_seen = step < kWidth ? (m_seen << step) | 1 : 1;
    m_covered = static_cast<std::uint8_t>(std::min<std::uint64_t>(std::uint64_t{m_covered} + step, kWidth));
    m_expected += step;
    ++m_received;
    m_latestGap = step - 1;
    return step == 1 ? kNext : kAfterGap;
}

void NumberWindow::excuseGap() {
    m_expected -= m_latestGap;
    m_seen = m_covered = 1;
}

std::uint32_t NumberWindow::lostAbove(std::int32_t number) const {
    const std::uint32_t above = static_cast<std::uint32_t>(m_highest) - static_cast<std::uint32_t>(number);
    return static_cast<std::uint32_t>(onesOf(~m_seen & lowestBits(std::min<std::uint32_t>(above, m_covered))));
}

int NumberWindow::missingInWindow() const {
    return onesOf(~m_seen & lowestBits(m_covered));
}

int NumberWindow::covered() const {
    return m_covered;
}
