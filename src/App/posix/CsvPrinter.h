#pragma once

#include <string>

#include "Snapshot.h"

// Snapshots as comma-separated values by RFC 4180: one record per row, with the fields of the JSON object of that row
// (see docs/formats.md). Records end with CR LF.

// The names of the columns.
std::string csvHeader();
// A snapshot's records, without the header.
std::string formatCsv(const Snapshot& snapshot);
