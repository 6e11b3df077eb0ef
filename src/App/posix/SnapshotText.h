#pragma once

#include <string>

#include "CommandLine.h"
#include "Snapshot.h"
#include "TablePrinter.h"

// What the options ask of the peers.
Demands demandsOf(const CommandLine& options);

// What stands once before all snapshots. Only some formats have such a header.
std::string headerText(const CommandLine& options);

// Returns the rows as text for the standard output, in the format that the options ask for. A final table ends with the
// verdict, which is all that is left of it in the format of events. If the standard output is a terminal, a table is
// laid out to its width.
std::string snapshotText(const CommandLine& options, const Snapshot& snapshot);
