#include "SPW_CInterfaceTypePosix.h"

#include <linux/if_arp.h>

namespace {

// IANA's numbers (ifType).
enum InterfaceType : unsigned {
    kOther = 1,
    kX25 = 5,
    kEthernet = 6,
    kTokenRing = 9,
    kFddi = 15,
    kLapb = 16,
    kPpp = 23,
    kLoopback = 24,
    kSlip = 28,
    kFrameRelay = 32,
    kArcnet = 35,
    kAtm = 37,
    kHippi = 47,
    kFibreChannel = 56,
    kWireless = 71,
    kHdlc = 118,
    kTunnel = 131,
    kVlan = 135,
    kFireWire = 144,
    kAggregate = 161,
    kInfiniBand = 199,
    kBridge = 209,
    kMobile = 243,
    kIeee802154 = 259,
};

struct KnownKind {
    const char* kind;
    InterfaceType type;
};
constexpr KnownKind kKinds[] = {
    {"bridge", kBridge},
    {"bond", kAggregate},
    {"team", kAggregate},
    {"vlan", kVlan},
};

}  // namespace

unsigned SPW_InterfaceTypePosix(const SPW_CLinkTablePosix::Link& link, std::string_view deviceType) {
    for (const KnownKind& known : kKinds) {
        if (link.kind == known.kind) {
            return known.type;
        }
    }
    // Modems show themselves as Ethernet, or as something without a header, which tunnels do, too.
    if (deviceType == "wwan") {
        return kMobile;
    }
    switch (link.hardwareType) {
        case ARPHRD_ETHER:
            return deviceType == "wlan" ? kWireless : kEthernet;
        case ARPHRD_RAWIP:
            return kMobile;
        case ARPHRD_X25:
            return kX25;
        case ARPHRD_LAPB:
            return kLapb;
        case ARPHRD_DLCI:
        case ARPHRD_FRAD:
            return kFrameRelay;
        case ARPHRD_HDLC:
        case ARPHRD_RAWHDLC:
            return kHdlc;
        case ARPHRD_IEEE80211:
        case ARPHRD_IEEE80211_PRISM:
        case ARPHRD_IEEE80211_RADIOTAP:
            return kWireless;
        case ARPHRD_PRONET:
        case ARPHRD_IEEE802:
        case ARPHRD_IEEE802_TR:
            return kTokenRing;
        case ARPHRD_FDDI:
            return kFddi;
        case ARPHRD_PPP:
            return kPpp;
        case ARPHRD_LOOPBACK:
            return kLoopback;
        case ARPHRD_SLIP:
        case ARPHRD_CSLIP:
        case ARPHRD_SLIP6:
        case ARPHRD_CSLIP6:
            return kSlip;
        case ARPHRD_ARCNET:
            return kArcnet;
        case ARPHRD_ATM:
            return kAtm;
        case ARPHRD_HIPPI:
            return kHippi;
        case ARPHRD_FCPP:
        case ARPHRD_FCAL:
        case ARPHRD_FCPL:
        case ARPHRD_FCFABRIC:
            return kFibreChannel;
        case ARPHRD_IEEE1394:
            return kFireWire;
        case ARPHRD_INFINIBAND:
            return kInfiniBand;
        case ARPHRD_IEEE802154:
        case ARPHRD_IEEE802154_MONITOR:
            return kIeee802154;
        // A tunnel without a header of its own, such as WireGuard's, has no hardware type.
        case ARPHRD_NONE:
        case ARPHRD_TUNNEL:
        case ARPHRD_TUNNEL6:
        case ARPHRD_SIT:
        case ARPHRD_IPGRE:
        case ARPHRD_IP6GRE:
            return kTunnel;
        default:
            return kOther;
    }
}
