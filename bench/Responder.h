#pragma once

#include <cstdint>

#include "Child.h"

// What the far end has seen since it was asked last.
struct Heard {
    std::uint64_t udpProbes;
    std::uint64_t tcpProbes;
    std::uint64_t gaps;         // probes whose sequence number did not come
    std::uint64_t connections;  // accepted
};

constexpr std::uint16_t kProbePort = 5009;

// The far end: receives UDP and TCP probes on kProbePort for all peers' addresses (the kernel answers the echo
// requests) until its process is killed. Signals once it listens, and sends what it has Heard whenever the line is
// signalled.
void runResponder(Line& line);
