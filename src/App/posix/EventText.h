#pragma once

#include <cstdint>
#include <string>

#include "InsightEvent.h"

// Lines about events for people to read. They end with LF.

// "14:07:09  10.0.0.7 (pocket1) is silent, after 2:05 reachable": the local time at which it really began, and what has
// happened.
std::string eventLine(const InsightEvent& event);
// The same of so many events that were not read in time. wall100ns: when that was noticed.
std::string missedEventsLine(std::uint32_t count, std::uint64_t wall100ns);
