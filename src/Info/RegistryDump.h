#pragma once

#include "ReportLines.h"

// The report's block about what the registry holds under the maker's keys, with its head and end lines. Makes these
// keys where they are missing and the registry lets it. What cannot be read leaves its lines out; nothing is reported.
void printRegistry(ReportLines& lines);
