#include "PeerColumns.h"

const char16_t* peerColumnHeader(int column) {
    static constexpr const char16_t* kHeaders[kPeerColumns] = {
        u"IP-Address (name)",  u"Quality (%)",      u"Mcast (Recv/Total)",
        u"Tcpip (Recv/Total)", u"Udp (Recv/Total)", u"Ping (Ack/Sent)",
    };
    return kHeaders[column];
}

void splitPeerColumnHeader(int column, SPW_CString& upper, SPW_CString& lower) {
    const SPW_CString header(peerColumnHeader(column));
    const int blank = header.find(u' ');
    upper = header.left(blank);
    lower = header.mid(blank + 1, header.length());
}

PeerColumn columnOfProtocol(int protocol) {
    static constexpr PeerColumn kColumns[kProtocols] = {kMulticastColumn, kUdpColumn, kTcpipColumn, kPingColumn};
    return kColumns[protocol];
}

SPW_CString qualityText(int quality) {
    return SPW_CString(quality);
}

SPW_CString countsText(std::int32_t received, std::int32_t total) {
    SPW_CString text;
    text.format(u"%d/%d", received, total);
    return text;
}
