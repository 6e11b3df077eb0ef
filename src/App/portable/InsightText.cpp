#include "InsightText.h"

#include "PeerColumns.h"
#include "SPW_CClock.h"

namespace {

constexpr std::uint32_t kMillisecond100ns = 10000;
constexpr std::uint32_t kSecond100ns = 1000 * kMillisecond100ns;

SPW_CString wholeNumber(std::uint64_t value) {
    return SPW_CString(static_cast<unsigned long>(value));
}

std::uint64_t inUnits(std::uint64_t time100ns, std::uint64_t unit100ns) {
    return (time100ns + unit100ns / 2) / unit100ns;
}

// "1.3" of 13 tenths.
SPW_CString tenths(std::uint64_t count) {
    return wholeNumber(count / 10) + u"." + wholeNumber(count % 10);
}

SPW_CString afterText(const char16_t* before, std::uint64_t span100ns) {
    return *before == u'\0' ? SPW_CString() : u", after " + spanText(span100ns) + u" " + before;
}

SPW_CString missedText(std::uint32_t missed) {
    return missed == 0 ? SPW_CString()
                       : u", " + wholeNumber(missed) + (missed == 1 ? u" probe missed" : u" probes missed");
}

SPW_CString kindChangeText(const InsightEvent& event) {
    return u": " + protocolName(event.protocol) + u" is " + stateWord(event.kindAfter) +
           afterText(stateWord(event.kindBefore), event.span100ns) + missedText(event.missed);
}

SPW_CString peerChangeText(const InsightEvent& event) {
    return SPW_CString(u" is ") + stateWord(event.peerAfter) + afterText(stateWord(event.peerBefore), event.span100ns);
}

// The event comes only when the way out is held up, and when that is over.
SPW_CString outChangeText(const InsightEvent& event) {
    const SPW_CString sending = u": sending by " + protocolName(event.protocol);
    if (event.outAfter == SendState::kOpen) {
        return sending + u" works again";
    }
    const bool isPast = event.outAfter == SendState::kFailed || event.outAfter == SendState::kTimedOut;
    const SPW_CString text = sending + (isPast ? u" has " : u" is ") + stateWord(event.outAfter);
    return event.code == 0 ? text : text + u" (error " + wholeNumber(event.code) + u")";
}

// What follows the peer's label.
SPW_CString predicate(const InsightEvent& event) {
    switch (event.type) {
        case InsightEvent::kKindChanged:
            return kindChangeText(event);
        case InsightEvent::kPeerChanged:
            return peerChangeText(event);
        case InsightEvent::kOutChanged:
            return outChangeText(event);
        case InsightEvent::kOutageBegan:
            return u": outage of " + kindNames(event.kinds) + u" has begun";
        case InsightEvent::kOutageEnded:
            return u": outage of " + kindNames(event.kinds) + u" is over after " + spanText(event.span100ns) +
                   missedText(event.missed);
        case InsightEvent::kRestarted:
            return u": its program was restarted";
        case InsightEvent::kDiscovered:
            return u" was discovered";
        case InsightEvent::kGivenUp:
            return u" was given up, to make room for another";
        case InsightEvent::kHopsChanged:
            return u": " + hopsText(event.hopsAfter) + u", after " + hopsText(event.hopsBefore);
        case InsightEvent::kProbesNotMade:
            return u": no " + protocolName(event.protocol) + u" probes are sent";
    }
    return SPW_CString();
}

}  // namespace

const char16_t* stateWord(PeerState state) {
    static constexpr const char16_t* kWords[] = {u"", u"waiting", u"reachable", u"degraded", u"partial", u"silent"};
    return kWords[static_cast<int>(state)];
}

const char16_t* stateWord(KindState state) {
    static constexpr const char16_t* kWords[] = {u"", u"waiting", u"ok", u"lossy", u"silent"};
    return kWords[static_cast<int>(state)];
}

const char16_t* stateWord(SendState state) {
    static constexpr const char16_t* kWords[] = {u"",        u"connecting", u"open",  u"unanswered",
                                                 u"refused", u"timed out",  u"failed"};
    return kWords[static_cast<int>(state)];
}

SPW_CString spanText(std::uint64_t span100ns) {
    const std::uint64_t all = span100ns / kSecond100ns;
    const auto hours = static_cast<unsigned long>(all / 3600);
    const auto minutes = static_cast<unsigned long>(all / 60 % 60);
    const auto seconds = static_cast<unsigned long>(all % 60);
    SPW_CString text;
    if (hours > 0) {
        text.format(u"%lu:%02lu:%02lu", hours, minutes, seconds);
    } else {
        text.format(u"%lu:%02lu", minutes, seconds);
    }
    return text;
}

SPW_CString clockText(std::uint64_t wall100ns) {
    if (wall100ns == 0) {
        return u"-";
    }
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(wall100ns);
    SPW_CString text;
    text.format(u"%02d:%02d:%02d", local.hour, local.minute, local.second);
    return text;
}

// The limits are where the next form's rounding begins: nothing is "1.00 ms" or "10.0 ms".
SPW_CString roundTripText(std::uint32_t time100ns) {
    const std::uint64_t hundredths = inUnits(time100ns, kMillisecond100ns / 100);
    if (hundredths < 100) {
        SPW_CString text;
        text.format(u"0.%02d ms", static_cast<int>(hundredths));
        return text;
    }
    const std::uint64_t tenthsOfMs = inUnits(time100ns, kMillisecond100ns / 10);
    if (tenthsOfMs < 100) {
        return tenths(tenthsOfMs) + u" ms";
    }
    const std::uint64_t ms = inUnits(time100ns, kMillisecond100ns);
    return ms < 1000 ? wholeNumber(ms) + u" ms" : tenths(inUnits(time100ns, kSecond100ns / 10)) + u" s";
}

SPW_CString hopsText(int hops) {
    if (hops <= 0) {
        return hops < 0 ? SPW_CString() : SPW_CString(u"no router between");
    }
    return SPW_CString(hops) + (hops == 1 ? u" router between" : u" routers between");
}

SPW_CString kindNames(std::uint8_t kinds) {
    SPW_CString names;
    for (const Protocol protocol : kProtocolOrder) {
        if ((kinds >> protocol & 1) != 0) {
            names += (names.isEmpty() ? u"" : u", ") + protocolName(protocol);
        }
    }
    return names;
}

SPW_CString peerLabel(const InsightEvent& event) {
    const SPW_CString address(event.address);
    if (address.isEmpty()) {
        return u"all peers";
    }
    return event.name[0] == u'\0' ? address : address + u" (" + event.name + u")";
}

SPW_CString eventSentence(const InsightEvent& event) {
    return peerLabel(event) + predicate(event);
}
