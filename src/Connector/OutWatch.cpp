#include "OutWatch.h"

#include <algorithm>

#include "SPW_CSysError.h"

static const std::uint64_t kLookEvery100ns = 10000000;

// Silence after which repetitions are told of. A probe is lost now and then, and its first repetition gets through.
// One and a half periods have passed at the second look after a block began, which is within two periods. A second is
// several times the kernel's shortest time-out.
static std::uint32_t patienceMs(std::int32_t periodMs) {
    constexpr std::int64_t kShortestMs = 1000;
    return static_cast<std::uint32_t>(std::max(std::int64_t{periodMs} * 3 / 2, kShortestMs));
}

static OutState stateOf(SPW_Result code) {
    switch (code) {
        case kSockRefused:
            return kOutRefused;
        case kSockTimedOut:
            return kOutTimedOut;
        default:
            return kOutFailed;
    }
}

OutWatch::OutWatch(ProbeEventSink* sink, ProbeKind kind, const SPW_CString& target, std::int32_t periodMs)
    : m_sink(sink), m_kind(kind), m_target(target), m_patienceMs(patienceMs(periodMs)) {}

void OutWatch::beginConnecting() {
    // A peer that refuses every attempt has one state, not two in turn.
    if (!m_isTrying) {
        ProbeOut out;
        out.state = kOutConnecting;
        change(out);
    }
    m_isTrying = true;
}

void OutWatch::open() {
    ProbeOut out;
    out.state = kOutOpen;
    change(out);
    m_isTrying = false;
}

void OutWatch::fail(SPW_Result code) {
    // A stop has closed the socket. That says nothing of the way.
    if (code == kSockNotSocket) {
        return;
    }
    ProbeOut out;
    out.state = stateOf(code);
    out.code = code;
    change(out);
}

void OutWatch::look(SPW_Socket socket, std::uint64_t now100ns) {
    if (now100ns - m_lastLook100ns < kLookEvery100ns) {
        return;
    }
    m_lastLook100ns = now100ns;
    SPW_Unanswered unanswered;
    if (!SPW_CSocket::instance->tellUnanswered(socket, unanswered)) {
        return;
    }
    const bool isRepeating = unanswered.packets > 0 && unanswered.timeouts > 0;
    const bool isKnown = m_out.state == kOutUnanswered;
    if (!isRepeating || (!isKnown && unanswered.sinceAnswerMs < m_patienceMs)) {
        open();
        return;
    }
    ProbeOut out;
    out.state = kOutUnanswered;
    out.ageMs = unanswered.sinceAnswerMs;
    out.packets = unanswered.packets;
    out.timeouts = unanswered.timeouts;
    change(out);
}

void OutWatch::change(const ProbeOut& out) {
    if (out.state == m_out.state && out.code == m_out.code) {
        return;
    }
    m_out = out;
    m_sink->onOutState(m_kind, m_target, out);
}
