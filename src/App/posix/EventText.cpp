#include "EventText.h"

#include "InsightText.h"
#include "SPW_CClock.h"

namespace {

std::string lineAt(std::uint64_t wall100ns, const SPW_CString& text) {
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(wall100ns);
    SPW_CString line;
    line.format(u"%02d:%02d:%02d  ", local.hour, local.minute, local.second);
    return (line + text + u'\n').toAnsi();
}

}  // namespace

std::string eventLine(const InsightEvent& event) {
    return lineAt(event.at.wall100ns, eventSentence(event));
}

std::string missedEventsLine(std::uint32_t count, std::uint64_t wall100ns) {
    SPW_CString text;
    text.format(u"(%lu events are missed: nobody has taken them in time)", static_cast<unsigned long>(count));
    return lineAt(wall100ns, text);
}
