#include "JsonText.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "PeerColumns.h"
#include "SPW_CClock.h"

using Json = nlohmann::ordered_json;

std::string rfc3339(std::uint64_t wall100ns) {
    const SPW_CalendarTime utc = SPW_CClock::toUtc(wall100ns);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.year, utc.month, utc.day, utc.hour,
                  utc.minute, utc.second, utc.millisecond);
    return text;
}

Json timeOrNull(std::uint64_t wall100ns) {
    return wall100ns == 0 ? Json() : Json(rfc3339(wall100ns));
}

Json wordOrNull(const char16_t* word) {
    std::string text = SPW_CString(word).toAnsi();
    std::replace(text.begin(), text.end(), ' ', '_');
    return text.empty() ? Json() : Json(text);
}

const char* kindKey(int protocol) {
    static constexpr const char* kKeys[kProtocols] = {"multicast", "udp", "tcpip", "ping"};
    return kKeys[protocol];
}

Json kindKeys(std::uint8_t kinds) {
    Json keys = Json::array();
    for (const Protocol protocol : kProtocolOrder) {
        if ((kinds >> protocol & 1) != 0) {
            keys.push_back(kindKey(protocol));
        }
    }
    return keys;
}

Json secondsOf(std::uint64_t span100ns) {
    constexpr std::uint64_t kMillisecond100ns = 10000;
    const std::uint64_t milliseconds = span100ns / kMillisecond100ns;
    return static_cast<double>(milliseconds) / 1000;
}

Json deviceObject(const SPW_CString& address, const SPW_CString& name) {
    return {{"address", address.toAnsi()}, {"name", name.toAnsi()}};
}

std::string jsonLine(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}
