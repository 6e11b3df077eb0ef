#include "MulticastInterfaces.h"

#include "ProbeEventSink.h"
#include "SPW_CError.h"
#include "SPW_CSysError.h"

// Lines and tags are part of the reports' wording, known to those who read error logs: they do not move with the code.
const MulticastInterfaces::ReportPlace MulticastInterfaces::kConnectorPlace = {"src/Connector/VTR_CMulticastConnector",
                                                                               "MCC", 128, 135, 166};
const MulticastInterfaces::ReportPlace MulticastInterfaces::kListenerPlace = {"src/Listener/VTR_CMulticastListener",
                                                                              "MCL", 94, 101, 0};

// Addresses that are never used for multicast. The last is one fixed address, whatever network it belongs to: that of
// a device on the cable of its desktop computer.
static const SPW_CIpAddress kNeverUsed[] = {
    SPW_CIpAddress(0, 0, 0, 0),
    SPW_CIpAddress(127, 0, 0, 1),
    SPW_CIpAddress(192, 168, 55, 101),
};

static bool isUsable(const SPW_CIpAddress& address) {
    for (const SPW_CIpAddress& never : kNeverUsed) {
        if (address == never) {
            return false;
        }
    }
    return true;
}

void MulticastInterfaces::rejoin(SPW_Socket socket, const SPW_CString& group, const JoinFailed& joinFailed) {
    SPW_CIpAddress groupAddress;
    (void)SPW_CIpAddress::parse(group, groupAddress);  // what is none becomes none(), which the socket layer refuses
    for (int i = 0; i < m_addresses.numberOfElements(); ++i) {
        (void)SPW_CSocket::instance->dropGroup(socket, groupAddress, m_addresses[i]);  // a new socket is in none yet
    }
    m_addresses.clear();
    getAllInterfaces();
    for (int i = 0; i < m_addresses.numberOfElements(); ++i) {
        join(socket, groupAddress, m_addresses[i], joinFailed);
    }
}

void MulticastInterfaces::join(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress,
                               const JoinFailed& joinFailed) {
    if (SPW_CSocket::instance->joinGroup(socket, group, interfaceAddress) != -1) {
        return;
    }
    const SPW_Result code = SPW_CSocket::instance->lastError();
    // A membership belongs to the interface: its second address finds it joined.
    if (code == kSockAddressInUse) {
        return;
    }
    SPW_CString message(u"setsockopt IP_ADD_MEMBERSHIP to ");
    message.append(interfaceAddress.toText());
    message.append(probeFailureText(u" failed reason: ", code));
    joinFailed(code, message);
}

void MulticastInterfaces::getAllInterfaces() {
    SPW_CString hostName;
    if (!SPW_CSocket::instance->hostName(hostName)) {
        report(m_place.hostNameLine, u"gethostname failed");
    }
    SPW_CArray<SPW_CIpAddress> found;
    if (!SPW_CSocket::instance->resolve(hostName, found)) {
        report(m_place.resolveLine, u"gethostbyname failed");
        found.clear();
    }
    for (int i = 0; i < found.numberOfElements(); ++i) {
        if (isUsable(found[i])) {
            m_addresses.append(found[i]);
        }
    }
    if (m_addresses.numberOfElements() == 0 && m_place.noneLine != 0) {
        report(m_place.noneLine,
               u"no interfaces currently available ... please restart when an interface is available");
    }
}

void MulticastInterfaces::report(int line, const char16_t* text) const {
    SPW_CError::instance->report(m_place.module, line, m_place.tag, "getAllInterfaces", kReportCode, 0, text,
                                 SPW_CError::kFatal);
}
