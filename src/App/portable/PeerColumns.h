#pragma once

#include <cstdint>

#include "PeerRowValues.h"
#include "SPW_CString.h"

// The columns of the peer list: the same, in the same order, in the dialog, on the screen and in printed tables.
enum PeerColumn : int {
    kLabelColumn = 0,
    kQualityColumn = 1,
    kMulticastColumn = 2,
    kTcpipColumn = 3,
    kUdpColumn = 4,
    kPingColumn = 5,
    kPeerColumns = 6,
};

// The protocols in the order of their columns.
constexpr Protocol kProtocolOrder[kProtocols] = {kMulticast, kTcpip, kUdp, kPing};

// column: 0 to kPeerColumns - 1.
const char16_t* peerColumnHeader(int column);
// A header on two lines, for narrow screens: "Quality (%)" is "Quality" and "(%)". A single word has no lower line.
void splitHeader(const SPW_CString& header, SPW_CString& upper, SPW_CString& lower);

// protocol: 0 to kProtocols - 1.
PeerColumn columnOfProtocol(int protocol);
// column: kMulticastColumn to kPeerColumns - 1.
constexpr Protocol protocolOfColumn(int column) {
    return kProtocolOrder[column - kMulticastColumn];
}

// As the column says it: "Mcast", "Tcpip", "Udp" or "Ping".
SPW_CString protocolName(int protocol);

// "no Udp, Ping probes are sent: the system has no thread left for them": what is to be said of a row whose probes of
// these protocols could not be made. Empty when all were.
SPW_CString notMadeText(const bool (&isNotMade)[kProtocols]);

// The texts of the cells.
SPW_CString qualityText(int quality);
SPW_CString countsText(std::int32_t received, std::int32_t total);
// column: 0 to kPeerColumns - 1.
SPW_CString cellText(const PeerRowValues& row, int column);
