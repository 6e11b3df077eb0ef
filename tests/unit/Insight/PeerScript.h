#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "InsightClock.h"
#include "PeerInsight.h"

// A peer's traffic by a script, on a clock of its own that calls the record each full second, as the engine does. Times
// are in milliseconds since the beginning.
class PeerScript : public PeerInsight::Listener {
public:
    static constexpr std::uint64_t k100nsPerMs = 10000;
    // When the script begins, on both clocks.
    static constexpr std::uint64_t kStart100ns = 7000 * kOneSecond100ns;
    static constexpr std::uint64_t kWall100ns = 900000 * kOneSecond100ns;

    explicit PeerScript(std::int64_t periodMs = 1000)
        : m_periodMs(periodMs),
          m_ownPeriod100ns(static_cast<std::uint64_t>(periodMs) * k100nsPerMs),
          m_peer(std::make_unique<PeerInsight>()) {
        m_clock.begin(stampAt(0));
    }

    PeerInsight& peer() { return *m_peer; }
    std::int64_t nowMs() const { return m_nowMs; }
    // wallStepMs: how far the wall clock has been set since the beginning.
    Stamp stampAt(std::int64_t ms, std::int64_t wallStepMs = 0) const {
        return {kStart100ns + static_cast<std::uint64_t>(ms) * k100nsPerMs,
                kWall100ns + static_cast<std::uint64_t>(ms + wallStepMs) * k100nsPerMs};
    }
    Moment moment() { return m_clock.at(stampAt(m_nowMs).monotonic100ns); }
    static std::int64_t msOf(const Stamp& stamp) {
        return (static_cast<std::int64_t>(stamp.monotonic100ns) - static_cast<std::int64_t>(kStart100ns)) /
               static_cast<std::int64_t>(k100nsPerMs);
    }

    void watch(const std::vector<int>& protocols) {
        for (const int protocol : protocols) {
            m_peer->watch(protocol, m_ownPeriod100ns, stampAt(m_nowMs));
        }
    }
    // From here on a probe of these kinds comes each period; the first one comes now. Numbers go on.
    void send(const std::vector<int>& protocols) {
        for (const int protocol : protocols) {
            m_sending[protocol] = true;
            m_dueMs[protocol] = m_nowMs;
        }
    }
    // Probes of these kinds are sent, but none arrives.
    void block(const std::vector<int>& protocols) { setBlocked(protocols, true); }
    void unblock(const std::vector<int>& protocols) { setBlocked(protocols, false); }
    // None is sent any more.
    void end(const std::vector<int>& protocols) {
        for (const int protocol : protocols) {
            m_sending[protocol] = false;
        }
    }
    // The next number of this kind.
    std::int32_t& number(int protocol) { return m_numbers[protocol]; }
    void setPeerPeriod(std::int64_t periodMs) { m_periodMs = periodMs; }
    void setWallStep(std::int64_t stepMs) { m_wallStepMs = stepMs; }
    // Comes beside what send() sends.
    void hear(int protocol, std::int32_t number) { m_peer->onHeard(protocol, number, moment()); }

    // Lets time pass; in each millisecond the probes come before the second is told.
    void pass(std::int64_t ms) {
        for (const std::int64_t endMs = m_nowMs + ms; m_nowMs < endMs;) {
            sendDue();
            ++m_nowMs;
            if (m_nowMs % 1000 == 0) {
                tick();
            }
        }
    }
    // Nothing of this device runs for a while, the second among it.
    void sleep(std::int64_t ms) {
        m_nowMs += ms;
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            while (m_sending[protocol] && m_periodMs > 0 && m_dueMs[protocol] < m_nowMs) {
                m_dueMs[protocol] += m_periodMs;
                ++m_numbers[protocol];
            }
        }
    }

    // How this device's own sending of this kind goes from now on.
    void out(int protocol, SendState state, std::uint32_t code = 0) {
        OutValues out;
        out.state = state;
        out.lastError = code;
        out.since = moment().now;
        m_peer->onOut(protocol, out, out.since);
    }

    KindValues kind(int protocol) { return values().kinds[protocol]; }
    PeerInsightValues values() { return m_peer->values(stampAt(m_nowMs)); }

    void happened(const InsightEvent& event) override { m_events.push_back(event); }
    const std::vector<InsightEvent>& events() const { return m_events; }
    std::vector<InsightEvent> events(InsightEvent::Type type) const {
        std::vector<InsightEvent> chosen;
        for (const InsightEvent& event : m_events) {
            if (event.type == type) {
                chosen.push_back(event);
            }
        }
        return chosen;
    }
    void forgetEvents() { m_events.clear(); }
    // How often the record has said that its state has changed.
    int changes() const { return m_changes; }

private:
    void setBlocked(const std::vector<int>& protocols, bool isBlocked) {
        for (const int protocol : protocols) {
            m_blocked[protocol] = isBlocked;
        }
    }
    void sendDue() {
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            if (!m_sending[protocol] || m_dueMs[protocol] > m_nowMs) {
                continue;
            }
            const std::int32_t number = m_numbers[protocol]++;
            m_dueMs[protocol] += m_periodMs > 0 ? m_periodMs : 1;
            if (!m_blocked[protocol]) {
                hear(protocol, number);
            }
        }
    }
    void tick() {
        const bool isTime = m_clock.tell(stampAt(m_nowMs, m_wallStepMs));
        const Moment now = moment();
        if (isTime && m_peer->judge(now, *this)) {
            ++m_changes;
        }
    }

    std::int64_t m_periodMs;
    const std::uint64_t m_ownPeriod100ns;
    std::int64_t m_wallStepMs = 0;
    std::int64_t m_nowMs = 0;
    InsightClock m_clock;
    std::unique_ptr<PeerInsight> m_peer;
    bool m_sending[kProtocols] = {};
    bool m_blocked[kProtocols] = {};
    std::int64_t m_dueMs[kProtocols] = {};
    std::int32_t m_numbers[kProtocols] = {};
    std::vector<InsightEvent> m_events;
    int m_changes = 0;
};
