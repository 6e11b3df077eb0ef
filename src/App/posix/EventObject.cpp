#include "EventObject.h"

#include <nlohmann/json.hpp>

#include "InsightText.h"
#include "JsonText.h"

namespace {

using Json = nlohmann::ordered_json;

const char* typeWord(InsightEvent::Type type) {
    static constexpr const char* kWords[] = {"kind_changed", "peer_changed",   "out_changed", "outage_began",
                                             "outage_ended", "restarted",      "discovered",  "given_up",
                                             "hops_changed", "probes_not_made"};
    return kWords[type];
}

Json hopsOrNull(int hops) {
    return hops < 0 ? Json() : Json(hops);
}

void addObserver(Json& object, const EventOf& of) {
    object["test"] = of.testNumber;
    object["observer"] = deviceObject(of.observerAddress, of.observerName);
}

void addPeer(Json& object, const InsightEvent& event) {
    object["address"] = SPW_CString(event.address).toAnsi();
    object["name"] = SPW_CString(event.name).toAnsi();
}

void addFacts(Json& object, const InsightEvent& event) {
    switch (event.type) {
        case InsightEvent::kKindChanged:
            object["kind"] = kindKey(event.protocol);
            object["old"] = wordOrNull(stateWord(event.kindBefore));
            object["new"] = wordOrNull(stateWord(event.kindAfter));
            object["seconds"] = secondsOf(event.span100ns);
            object["missed"] = event.missed;
            break;
        case InsightEvent::kPeerChanged:
            object["old"] = wordOrNull(stateWord(event.peerBefore));
            object["new"] = wordOrNull(stateWord(event.peerAfter));
            object["seconds"] = secondsOf(event.span100ns);
            break;
        case InsightEvent::kOutChanged:
            object["kind"] = kindKey(event.protocol);
            object["new"] = wordOrNull(stateWord(event.outAfter));
            object["code"] = event.code == 0 ? Json() : Json(event.code);
            break;
        case InsightEvent::kOutageBegan:
            object["kinds"] = kindKeys(event.kinds);
            break;
        case InsightEvent::kOutageEnded:
            object["kinds"] = kindKeys(event.kinds);
            object["seconds"] = secondsOf(event.span100ns);
            object["missed"] = event.missed;
            break;
        case InsightEvent::kHopsChanged:
            object["old"] = hopsOrNull(event.hopsBefore);
            object["new"] = hopsOrNull(event.hopsAfter);
            break;
        case InsightEvent::kProbesNotMade:
            object["kind"] = kindKey(event.protocol);
            break;
        default:
            break;
    }
}

}  // namespace

Json eventObject(const InsightEvent& event, const EventOf& of) {
    Json object = {
        {"time", timeOrNull(event.at.wall100ns)},
        {"noticed", timeOrNull(event.noticed.wall100ns)},
        {"number", event.number},
        {"event", typeWord(event.type)},
    };
    addPeer(object, event);
    addFacts(object, event);
    object["text"] = eventSentence(event).toAnsi();
    addObserver(object, of);
    return object;
}

Json missedEventsObject(std::uint32_t count, std::uint64_t wall100ns, const EventOf& of) {
    Json object = {{"time", rfc3339(wall100ns)}, {"event", "events_missed"}, {"count", count}};
    addObserver(object, of);
    return object;
}
