#include "InsightReport.h"

#include <initializer_list>

#include "InsightText.h"
#include "PeerColumns.h"

namespace {

SPW_CString counted(std::uint32_t count, const char16_t* one, const char16_t* many) {
    return SPW_CString(static_cast<unsigned long>(count)) + u" " + (count == 1 ? one : many);
}

SPW_CString sinceText(const Stamp& since) {
    return since.wall100ns == 0 ? SPW_CString() : u" since " + clockText(since.wall100ns);
}

SPW_CString errorText(std::uint32_t code) {
    return u"error " + SPW_CString(static_cast<unsigned long>(code));
}

// For what is connected, "open" is a word for programs.
SPW_CString sendWord(int protocol, SendState state) {
    if (state != SendState::kOpen) {
        return stateWord(state);
    }
    return protocol == kTcpip ? u"connected" : protocol == kPing ? u"answered" : u"sent";
}

bool isTrouble(SendState state) {
    return state == SendState::kRefused || state == SendState::kTimedOut || state == SendState::kFailed;
}

// "  in: ", of which the figures follow.
SPW_CString inFigures(int protocol, const KindValues& kind) {
    SPW_CString text;
    if (protocol != kPing && kind.jitterCount > 0) {
        text += u", jitter " + roundTripText(kind.jitter100ns);
    }
    if (kind.duplicates > 0) {
        text += u", " + counted(kind.duplicates, u"repeat", u"repeats");
    }
    if (kind.reordered > 0) {
        text += u", " + SPW_CString(static_cast<unsigned long>(kind.reordered)) + u" out of order";
    }
    return text;
}

SPW_CString outFigures(const OutValues& out) {
    SPW_CString text;
    if (out.unansweredPackets > 0) {
        text += u", " + counted(out.unansweredPackets, u"packet", u"packets") + u" not acknowledged, repeated " +
                counted(out.repetitions, u"time", u"times");
    }
    if (out.lastError != 0 && out.lastErrorWall100ns != 0) {
        text += u", latest " + errorText(out.lastError) + u" at " + clockText(out.lastErrorWall100ns);
    }
    return text;
}

void appendKind(SPW_CString& text, int protocol, const KindValues& kind) {
    const SPW_CString in = inText(kind);
    const SPW_CString out = outText(protocol, kind.out);
    if (!in.isEmpty()) {
        text += protocolName(protocol);
        text += u" in: ";
        text += in;
        text += u", last heard ";
        text += clockText(kind.lastHeard.wall100ns);
        text += inFigures(protocol, kind);
        text += u'\n';
    }
    if (!out.isEmpty()) {
        text += protocolName(protocol);
        text += u" out: ";
        text += out;
        text += outFigures(kind.out);
        text += u'\n';
    }
}

void appendTime(SPW_CString& text, const char16_t* before, std::uint32_t time100ns) {
    text += before;
    text += roundTripText(time100ns);
}

void appendRoundTrips(SPW_CString& text, const RoundTripValues& times) {
    if (times.count == 0) {
        return;
    }
    text += u"\nRound-trip times of ";
    text += counted(times.count, u"ping", u"pings");
    appendTime(text, u": last ", times.last100ns);
    appendTime(text, u"\n  least ", times.minimum100ns);
    appendTime(text, u", mean ", times.mean100ns);
    appendTime(text, u", most ", times.maximum100ns);
    appendTime(text, u", standard deviation ", times.deviation100ns);
    appendTime(text, u"\n  50 % below ", times.median100ns);
    appendTime(text, u", 95 % below ", times.percentile95th100ns);
    appendTime(text, u", 99 % below ", times.percentile99th100ns);
    appendTime(text, u"\n  jitter ", times.jitter100ns);
    text += u", the smoothed difference of successive times (RFC 3550)\n";
}

void appendOutages(SPW_CString& text, const PeerInsightValues& values) {
    if (values.outagesInAll == 0) {
        return;
    }
    text += u"\n" + counted(values.outagesInAll, u"outage", u"outages, the latest first") + u":\n";
    for (int i = values.outages - 1; i >= 0; --i) {
        text += u"  " + outageLine(values.outage[i]) + u'\n';
    }
}

void appendRestarts(SPW_CString& text, const PeerInsightValues& values) {
    if (values.restartsInAll == 0) {
        return;
    }
    text += u"\nIts program was restarted " + counted(values.restartsInAll, u"time", u"times") + u":";
    for (int i = values.restarts - 1; i >= 0; --i) {
        text += u" " + clockText(values.restartWall100ns[i]);
    }
    text += u'\n';
}

}  // namespace

SPW_CString peerStateText(const PeerInsightValues& values, std::uint64_t now100ns) {
    const PeerSummary& summary = values.summary;
    if (summary.state == PeerState::kNone) {
        return SPW_CString();
    }
    const Stamp now = {values.isFrozen ? values.frozen.monotonic100ns : now100ns, 0};
    return SPW_CString(stateWord(summary.state)) + sinceText(summary.since) + u", for " +
           spanText(spanBetween(summary.since, now));
}

SPW_CString inText(const KindValues& kind) {
    return kind.state == KindState::kNone ? SPW_CString() : SPW_CString(stateWord(kind.state)) + sinceText(kind.since);
}

SPW_CString outText(int protocol, const OutValues& out) {
    if (out.state == SendState::kUnknown) {
        return SPW_CString();
    }
    SPW_CString text = sendWord(protocol, out.state) + sinceText(out.since);
    if (isTrouble(out.state) && out.lastError != 0) {
        text += u" (" + errorText(out.lastError) + u")";
    }
    return text;
}

SPW_CString outWord(int protocol, const OutValues& out) {
    if (out.state == SendState::kUnknown) {
        return SPW_CString();
    }
    const SPW_CString word = sendWord(protocol, out.state);
    const bool hasCode = isTrouble(out.state) && out.lastError != 0;
    return hasCode ? word + u" " + SPW_CString(static_cast<unsigned long>(out.lastError)) : word;
}

SPW_CString roundTripLine(const RoundTripValues& values) {
    if (values.count == 0) {
        return SPW_CString();
    }
    SPW_CString text;
    appendTime(text, u"rtt ", values.last100ns);
    appendTime(text, u", jitter ", values.jitter100ns);
    appendTime(text, u", mean ", values.mean100ns);
    appendTime(text, u", ", values.minimum100ns);
    appendTime(text, u" to ", values.maximum100ns);
    appendTime(text, u", p95 ", values.percentile95th100ns);
    return text;
}

SPW_CString outageLine(const OutageValues& outage) {
    SPW_CString text = clockText(outage.beganWall100ns) + u" - " +
                       (outage.isOver ? clockText(outage.endedWall100ns) : SPW_CString(u"        ")) + u"  " +
                       spanText(outage.span100ns) + u"  " + kindNames(outage.kinds);
    if (outage.missed > 0) {
        text += u", " + counted(outage.missed, u"probe", u"probes") + u" missed";
    }
    return text;
}

SPW_CString conclusionText(const PeerInsightValues& values) {
    return values.isLossOnTheWayOut ? u"conclusion: loss is on the way out, because Udp arrives and pings do not" : u"";
}

SPW_CString insightReport(const PeerInsightValues& values, std::uint64_t now100ns) {
    SPW_CString text = peerStateText(values, now100ns);
    text += text.isEmpty() ? u"" : u"\n";
    for (const Protocol protocol : kProtocolOrder) {
        appendKind(text, protocol, values.kinds[protocol]);
    }
    for (const SPW_CString& line : {conclusionText(values), hopsText(values.hops)}) {
        text += line.isEmpty() ? line : line + u"\n";
    }
    appendRoundTrips(text, values.roundTrip);
    appendOutages(text, values);
    appendRestarts(text, values);
    return text.isEmpty() ? SPW_CString(u"Nothing is known yet.\n") : text;
}
