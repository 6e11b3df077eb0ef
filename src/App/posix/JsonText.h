#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "Protocol.h"
#include "SPW_CString.h"

// How the parts of JSON objects are written, the same wherever they stand. nullptr stands for null.

// UTC as RFC 3339 has it, with milliseconds: "2003-07-03T14:07:09.045Z".
std::string rfc3339(std::uint64_t wall100ns);
// The same, or null for 0, which stands for never.
nlohmann::ordered_json timeOrNull(std::uint64_t wall100ns);
// A word of InsightText.h, its blanks written as underscores, or null for an empty one.
nlohmann::ordered_json wordOrNull(const char16_t* word);
// "multicast", "udp", "tcpip" or "ping".
const char* kindKey(int protocol);
// The kinds whose bits are set (1 << Protocol), in the order of their columns.
nlohmann::ordered_json kindKeys(std::uint8_t kinds);
// Cut to milliseconds.
nlohmann::ordered_json secondsOf(std::uint64_t span100ns);
// A device by its address and its name.
nlohmann::ordered_json deviceObject(const SPW_CString& address, const SPW_CString& name);
// One object on one line without a line end. Bytes that are no UTF-8 are replaced.
std::string jsonLine(const nlohmann::ordered_json& object);
