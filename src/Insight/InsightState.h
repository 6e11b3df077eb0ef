#pragma once

#include <cstdint>

// How one kind of traffic from one peer is doing. KindInsight.h has the rules.
enum class KindState : std::uint8_t {
    kNone,     // nobody selected this kind, or this device could not make what hears it
    kWaiting,  // nothing heard yet, too early to tell
    kOk,
    kLossy,   // something was lost lately
    kSilent,  // nothing is heard
};

// How a peer is doing as a whole. PeerInsight.h has the rules.
enum class PeerState : std::uint8_t {
    kNone,       // no kind has a state
    kWaiting,    // nothing heard yet, too early to tell
    kReachable,  // all that is heard is well
    kDegraded,   // all kinds are heard, but something is lost on the way in or held up on the way out
    kPartial,    // some kind is silent while another is heard
    kSilent,     // nothing is heard
};

// How this device's own sending to the peer is doing, as far as it can tell without an answer.
enum class SendState : std::uint8_t {
    kUnknown,     // nothing was sent yet
    kConnecting,  // TCP: the first attempt to connect, or the first one after a connection has ended
    kOpen,        // TCP: connected, and the peer acknowledges. Others: the latest probe has left this device
    kUnanswered,  // TCP: connected, but the peer has acknowledged nothing for long. Ping: the latest has timed out
    kRefused,     // TCP: the peer is there and refuses
    kTimedOut,    // TCP: nobody has answered
    kFailed,      // the latest attempt failed otherwise; the code says how
};
