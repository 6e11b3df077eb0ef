#include "ProbeEventSink.h"

static const char16_t* const kKindNames[] = {
    u"tcpip connector",     u"tcpip listener",     u"udp connector", u"udp listener",
    u"multicast connector", u"multicast listener", u"pinger",
};

const char16_t* probeKindName(ProbeKind kind) {
    return kind <= kPinger ? kKindNames[kind] : u"";
}

SPW_CString probeFailureText(const char16_t* failure, SPW_Result code) {
    SPW_CString text(failure);
    text.append(static_cast<unsigned long>(code));
    return text;
}
