#pragma once

#include <string>

#include "Network.h"
#include "Report.h"

// A folder of the run's own for hive files and logs.
using Folder = std::string;

void benchListener(const Network& network, const Folder& folder, const Effort& effort, Report& report);
void benchLog(const Network& network, const Folder& folder, const Effort& effort, Report& report);
// Usage and lateness with that many peers; of a single one the lateness alone.
void benchPeers(int peers, const Network& network, const Folder& folder, const Effort& effort, Report& report);
// Probes a second that one sender reaches with a period of a few milliseconds.
void benchShortPeriods(const Network& network, const Folder& folder, const Effort& effort, Report& report);
// How often a device with 4 peers wakes when it does nothing but probe.
void benchWakeUps(const Network& network, const Folder& folder, const Effort& effort, Report& report);
// What four times as many peers cost.
void benchGrowth(const Network& network, const Folder& folder, const Effort& effort, Report& report);
void benchStartStop(const Network& network, const Folder& folder, const Effort& effort, Report& report);
// What the screen costs beside the headless mode, with that many peers and nobody at the keys.
void benchScreen(const Network& network, const Folder& folder, const Effort& effort, Report& report);
