#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "InsightEvent.h"
#include "SPW_CString.h"

// Which run an event belongs to.
struct EventOf {
    std::int32_t testNumber = 0;
    SPW_CString observerAddress;  // this device, see TestEngine::observer()
    SPW_CString observerName;
};

// An event as an object that has the fields of its type; docs/formats.md describes them.
nlohmann::ordered_json eventObject(const InsightEvent& event, const EventOf& of);
// What stands in place of so many events that were not read in time. wall100ns: when that was noticed.
nlohmann::ordered_json missedEventsObject(std::uint32_t count, std::uint64_t wall100ns, const EventOf& of);
