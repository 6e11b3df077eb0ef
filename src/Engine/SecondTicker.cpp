#include "SecondTicker.h"

#include "SPW_CClock.h"

namespace {

constexpr std::uint64_t k100nsPerMs = 10000;
constexpr std::uint64_t kSecond100ns = 1000 * k100nsPerMs;

}  // namespace

SecondTicker::~SecondTicker() {
    m_worker.end(*this);
}

bool SecondTicker::start() {
    beginCounting();
    m_worker.begin(*this);
    if (!m_worker.hasThread()) {
        return false;
    }
    m_worker.openGate(*this);
    return true;
}

void SecondTicker::beginCounting() {
    m_due100ns = SPW_CClock::instance->now100ns() + kSecond100ns;
}

void SecondTicker::step() {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    if (now < m_due100ns) {
        const std::uint64_t remainingMs = (m_due100ns - now + k100nsPerMs - 1) / k100nsPerMs;
        SPW_CClock::instance->sleepTowards(m_due100ns, static_cast<std::uint32_t>(remainingMs), m_worker.wake());
        return;
    }
    m_due100ns += ((now - m_due100ns) / kSecond100ns + 1) * kSecond100ns;
    m_listener.onSecond(now);
}
