#pragma once

#include "ReportLines.h"

// The report's block about all that the registry holds below the maker's keys, with its head and end lines. Creates
// these keys if they are missing and the registry allows it. A value or key that cannot be read has no line; no failure
// is reported.
void printRegistry(ReportLines& lines);
