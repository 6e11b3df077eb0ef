#include "PeerColumns.h"

const char16_t* peerColumnHeader(int column) {
    static constexpr const char16_t* kHeaders[kPeerColumns] = {
        u"IP-Address (name)",  u"Quality (%)",      u"Mcast (Recv/Total)",
        u"Tcpip (Recv/Total)", u"Udp (Recv/Total)", u"Ping (Ack/Sent)",
    };
    return kHeaders[column];
}

void splitHeader(const SPW_CString& header, SPW_CString& upper, SPW_CString& lower) {
    const int blank = header.find(u' ');
    upper = blank < 0 ? header : header.left(blank);
    lower = blank < 0 ? SPW_CString() : header.mid(blank + 1, header.length());
}

PeerColumn columnOfProtocol(int protocol) {
    static constexpr PeerColumn kColumns[kProtocols] = {kMulticastColumn, kUdpColumn, kTcpipColumn, kPingColumn};
    return kColumns[protocol];
}

SPW_CString protocolName(int protocol) {
    return SPW_CString(peerColumnHeader(columnOfProtocol(protocol))).token(u" ");
}

SPW_CString notMadeText(const bool (&isNotMade)[kProtocols]) {
    SPW_CString names;
    for (const Protocol protocol : kProtocolOrder) {
        if (isNotMade[protocol]) {
            names += (names.isEmpty() ? u"" : u", ") + protocolName(protocol);
        }
    }
    return names.isEmpty() ? names : u"no " + names + u" probes are sent: the system has no thread left for them";
}

SPW_CString qualityText(int quality) {
    return SPW_CString(quality);
}

SPW_CString countsText(std::int32_t received, std::int32_t total) {
    SPW_CString text;
    text.format(u"%d/%d", received, total);
    return text;
}

SPW_CString cellText(const PeerRowValues& row, int column) {
    if (column == kLabelColumn) {
        return row.label();
    }
    if (column == kQualityColumn) {
        return qualityText(row.quality);
    }
    const ProtocolCounts& counts = row.counts[protocolOfColumn(column)];
    return countsText(counts.received, counts.total);
}
