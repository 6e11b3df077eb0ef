#include "JsonPrinter.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "PeerColumns.h"
#include "SPW_CClock.h"

namespace {

using Json = nlohmann::ordered_json;

std::string rfc3339(std::uint64_t wall100ns) {
    const SPW_CalendarTime utc = SPW_CClock::toUtc(wall100ns);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.year, utc.month, utc.day, utc.hour,
                  utc.minute, utc.second, utc.millisecond);
    return text;
}

const char* keyOf(Protocol protocol) {
    static constexpr const char* kKeys[kProtocols] = {"multicast", "udp", "tcpip", "ping"};
    return kKeys[protocol];
}

Json figuresObject(const ProtocolCounts& figures) {
    return {{"received", figures.received}, {"total", figures.total}, {"lost", figures.lost}};
}

// The protocols whose probes could not be made.
Json notMade(const PeerRowValues& row) {
    Json names = Json::array();
    for (const Protocol protocol : kProtocolOrder) {
        if (row.isNotMade[protocol]) {
            names.push_back(keyOf(protocol));
        }
    }
    return names;
}

}  // namespace

std::string formatJson(std::uint64_t wall100ns, int testNumber, bool isFinal, const SPW_CArray<PeerRowValues>& rows) {
    std::string lines;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        const PeerRowValues& row = rows[i];
        Json object = {
            {"time", rfc3339(wall100ns)},      {"test", testNumber},
            {"address", row.address.toAnsi()}, {"name", row.name.toAnsi()},
            {"label", row.label().toAnsi()},   {"quality", row.quality},
        };
        for (const Protocol protocol : kProtocolOrder) {
            object[keyOf(protocol)] = figuresObject(row.counts[protocol]);
        }
        const Json missing = notMade(row);
        if (!missing.empty()) {
            object["notMade"] = missing;
        }
        if (isFinal) {
            object["final"] = true;
        }
        lines += object.dump(-1, ' ', false, Json::error_handler_t::replace);
        lines += '\n';
    }
    return lines;
}
