#pragma once

#include "ReportLines.h"

// The report's two blocks about the system's own network configuration, with their head and end lines.

// The two forms of the report spell a failure differently.
enum class ReportForm { kLocalInfo, kTestLog };

void printNetworkParams(ReportLines& lines, ReportForm form);
void printAdapters(ReportLines& lines);
