#pragma once

#include <cstdint>

#include "CompanionSettings.h"
#include "SPW_CString.h"
#include "Settings.h"

// Fills settings from the registry, creating what is missing with its default. Never fails: a value that cannot be read
// takes its default. The named peers keep what they were when their key cannot be queried.
// multicastPortOverride: replaces the default of "multicast port", unless it is kNoMulticastPortOverride.
void loadSettings(Settings& settings, std::int32_t multicastPortOverride);

// Whether the settings have a place: they are there, or can be made there. Without one every setting has its default.
bool haveSettingsAPlace();

// Milliseconds of a unit word ("milliseconds" to "days", in any case), 0 for any other.
std::uint32_t unitToMilliseconds(const SPW_CString& unit);

// "Version a.b.c.d" of a program file, or "Version and build unavailable".
SPW_CString readVersion(const SPW_CString& path);
