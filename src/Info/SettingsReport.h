#pragma once

#include "ReportLines.h"
#include "Settings.h"

// The report's block about the program's settings, with its head and end lines.
void printSettings(ReportLines& lines, const Settings& settings);
