#pragma once

#include <functional>

#include "SPW_CArray.h"
#include "SPW_CIpAddress.h"
#include "SPW_CSocket.h"
#include "SPW_CString.h"

// The local interfaces on which a multicast group is joined; shared by the multicast connector and listener.
//
// Belongs to the thread of its probe object.
class MulticastInterfaces {
public:
    // Where failures to enumerate are reported from.
    struct ReportPlace {
        const char* module;
        const char* tag;
        int hostNameLine;
        int resolveLine;
        // 0: having no interface at all is not worth a report.
        int noneLine;
    };
    static const ReportPlace kConnectorPlace;
    static const ReportPlace kListenerPlace;
    // Code of every report of an enumeration.
    static constexpr SPW_Result kReportCode = 111;

    // Told of each join that failed: the code, and the words for the sink. That the interface is a member already is no
    // failure.
    typedef std::function<void(SPW_Result code, const SPW_CString& message)> JoinFailed;

    explicit MulticastInterfaces(const ReportPlace& place) : m_place(place) {}

    // Leaves the group (a dotted quad) on the interfaces known before; failures do not matter. Then looks for the
    // interfaces of now and joins the group on each. After a failed join the other interfaces are still tried.
    void rejoin(SPW_Socket socket, const SPW_CString& group, const JoinFailed& joinFailed);

    // Appends this device's addresses that may be used for multicast, in the order of its host name's address list.
    // Failures go to SPW_CError with a fatal flag.
    void getAllInterfaces();

    const SPW_CArray<SPW_CIpAddress>& addresses() const { return m_addresses; }

private:
    static void join(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress,
                     const JoinFailed& joinFailed);
    void report(int line, const char16_t* text) const;

    const ReportPlace& m_place;
    SPW_CArray<SPW_CIpAddress> m_addresses;
};
