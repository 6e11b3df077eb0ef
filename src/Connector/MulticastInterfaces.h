#pragma once

#include <cstdint>

#include "ProbeEventSink.h"
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

    // What a failed join is reported with. sink is not owned.
    struct Member {
        std::uint32_t kind;
        std::uint32_t port;
        const SPW_CString& group;
        ProbeEventSink* sink;
    };

    explicit MulticastInterfaces(const ReportPlace& place) : m_place(place) {}

    // Leaves the group on the interfaces known so far (failures do not matter), finds out which there are now, and
    // joins the group on each. A failed join is reported to the member's sink; the other interfaces are still tried.
    void rejoin(SPW_Socket socket, const Member& member);

    // Appends this device's addresses that may be used for multicast, in the order of its host name's address list.
    // Failures go to SPW_CError with a fatal flag.
    void getAllInterfaces();

    const SPW_CArray<SPW_CIpAddress>& addresses() const { return m_addresses; }

private:
    void join(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress,
              const Member& member);
    void report(int line, const char16_t* text) const;

    const ReportPlace& m_place;
    SPW_CArray<SPW_CIpAddress> m_addresses;
};
