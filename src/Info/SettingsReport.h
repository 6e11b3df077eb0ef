#pragma once

#include "ReportLines.h"
#include "Settings.h"

// The report's block about the program's settings, with its head and end lines: a line for each row of kSettings, in
// the alphabetical order of their labels. The version has no label and comes first. Named peers have a line each.
void printSettings(ReportLines& lines, const Settings& settings);
