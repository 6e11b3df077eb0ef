#pragma once

#include <cstdint>

// How many discoveries a second brings, and what each of them may cost.
//
// A store of admissions holds the burst at first. Each admission takes one, and each second brings new ones until the
// store is full. Seconds are told, not measured. Threads: none; the owner locks.
class DiscoveryPace {
public:
    // 0 or less is no limit.
    struct Limits {
        std::int32_t aSecond = 0;
        std::int32_t burst = 0;         // no limit here, or of the former, is no limit of both
        std::int32_t linesASecond = 0;  // no limit here: all discoveries are announced
    };
    enum Manner {
        kAnnounced,  // with all its lines
        kCounted,    // its probes are made at once and have their lines; it shares the line that tells how many
        kLater,      // its probes are made later and have no lines; it shares that line, too
    };
    // So many discoveries of a second have their probes made by the thread that has heard the sender. A flood would
    // otherwise keep that thread from its socket, and lose the probes of those who are peers already.
    static constexpr std::int32_t kAtOnceASecond = 32;

    // Begins with a full store.
    void begin(const Limits& limits);
    bool mayAdmit() const { return !isLimited() || m_store > 0; }
    void admit();
    // Says how the discovery goes that has just been admitted. For a peer that is heard again it is not called.
    Manner nextManner();
    // Begins a second after so many have passed. Returns how many discoveries share a line since the last call.
    int passSeconds(std::int64_t seconds);

private:
    bool isLimited() const { return m_limits.aSecond > 0 && m_limits.burst > 0; }

    Limits m_limits;
    std::int64_t m_store = 0;
    std::int32_t m_discoveries = 0;  // of this second
};
