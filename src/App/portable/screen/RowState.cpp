#include "RowState.h"

#include <algorithm>

#include "InsightText.h"
#include "PeerColumns.h"

namespace {

enum Alarm { kNoAlarm, kImpaired, kFailing };

Alarm alarmOf(PeerState state) {
    switch (state) {
        case PeerState::kSilent:
            return kFailing;
        case PeerState::kPartial:
        case PeerState::kDegraded:
            return kImpaired;
        default:
            return kNoAlarm;
    }
}

Alarm alarmOf(int quality) {
    return quality >= 100 ? kNoAlarm : quality > 0 ? kImpaired : kFailing;
}

Alarm alarmOf(const PeerRowValues& row) {
    return std::max(alarmOf(row.summary.state), alarmOf(row.quality));
}

char16_t markOf(Alarm alarm) {
    static constexpr char16_t kMarks[] = {u' ', u'!', u'X'};
    return kMarks[alarm];
}

}  // namespace

char16_t rowMark(const PeerRowValues& row) {
    constexpr char16_t kNotMadeMark = u'?';
    const bool isWhole = notMadeText(row.isNotMade).isEmpty() || row.summary.state == PeerState::kSilent;
    return isWhole ? markOf(alarmOf(row)) : kNotMadeMark;
}

Look rowLook(const PeerRowValues& row) {
    static constexpr Look kLooks[] = {Look::kPlain, Look::kWarning, Look::kFailure};
    return kLooks[alarmOf(row)];
}

bool isWell(const PeerRowValues& row) {
    return rowMark(row) == u' ';
}

SPW_CString rowStateText(const PeerSummary& summary, std::uint64_t now100ns) {
    const SPW_CString age = rowStateAge(summary, now100ns);
    return age.isEmpty() ? age : SPW_CString(stateWord(summary.state)) + u" " + age;
}

SPW_CString rowStateAge(const PeerSummary& summary, std::uint64_t now100ns) {
    const bool isSaid = alarmOf(summary.state) != kNoAlarm;
    return isSaid ? spanText(spanBetween(summary.since, {now100ns, 0})) : SPW_CString();
}

int severity(PeerState state) {
    switch (state) {
        case PeerState::kSilent:
            return 5;
        case PeerState::kPartial:
            return 4;
        case PeerState::kDegraded:
            return 3;
        case PeerState::kWaiting:
            return 2;
        case PeerState::kReachable:
            return 1;
        default:
            return 0;
    }
}

char16_t qualityMark(int quality) {
    return markOf(alarmOf(quality));
}
