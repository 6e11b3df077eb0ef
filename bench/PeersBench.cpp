#include <algorithm>
#include <string>
#include <vector>

#include "BareProbes.h"
#include "Benches.h"
#include "Child.h"
#include "EngineProcess.h"
#include "Responder.h"
#include "Timing.h"

namespace {

Usage watchBare(const Network& network, int peers, const Effort& effort) {
    Child responder(network.far(), runResponder);
    responder.line().await();
    const std::vector<std::string> addresses = peerAddresses(peers);
    Child bare(network.near(), [&](Line& line) { runBareProbes(addresses, kPeriodSeconds, line); });
    bare.line().await();
    sleepSeconds(kWarmUpSeconds);
    return watch(bare.pid(), effort);
}

Usage watchFping(const Network& network, int peers, const Effort& effort) {
    // It sends to one target after the other at this distance, so that all fit in the period.
    std::string interval = Report::text("%.2f", std::min(10.0, 900.0 / peers));
    std::vector<std::string> arguments{"fping", "-q",    "-l", "-b", "16", "-p", std::to_string(kPeriodMs),
                                       "-i",    interval};
    for (const std::string& address : peerAddresses(peers)) {
        arguments.push_back(address);
    }
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(&argument[0]);
    }
    pointers.push_back(nullptr);
    Child fping(network.near(), pointers.data());
    sleepSeconds(kWarmUpSeconds);
    return watch(fping.pid(), effort);
}

std::string perProbe(const Usage& usage, int probesPerSecond) {
    return Report::text("%.1f us", usage.cores * 1e6 / probesPerSecond);
}

void reportUsage(int peers, const Usage& engine, const Usage& bare, const Usage& fping, Report& report) {
    const bool hasAims = peers == 256 || peers == 1000;
    constexpr double kMostRatio = 1.5;
    report.add("processor (limit: bare threads)", percentOf(engine), percentOf(bare), engine.cores / bare.cores,
               hasAims ? "ratio <= 1.5" : "", engine.cores / bare.cores <= kMostRatio);
    report.add("processor (limit: fping, which pings alone)", percentOf(engine), percentOf(fping),
               engine.cores / fping.cores, "", true);
    report.add("processor a probe (limit: bare threads)", perProbe(engine, 3 * peers), perProbe(bare, 3 * peers),
               engine.cores / bare.cores, "", true);
    report.add("resident memory (limit: bare threads)", Report::text("%.1f MiB", engine.residentMiB),
               Report::text("%.1f MiB", bare.residentMiB), engine.residentMiB / bare.residentMiB,
               peers == 256 ? "< 40 MiB" : "", engine.residentMiB < 40);
    const double kibAPeer = engine.residentMiB * 1024 / peers;
    report.add("resident memory a peer", Report::text("%.1f KiB", kibAPeer), peers == 1000 ? "<= 40 KiB" : "",
               kibAPeer <= 40);
}

void reportLateness(int peers, const EngineUsage& engine, Report& report) {
    const double most99 = peers == 1 ? 0.5 : 3;
    report.add("lateness, median", Report::text("%.2f ms", engine.result.medianLateMs), peers == 1 ? "<= 0.15 ms" : "",
               engine.result.medianLateMs <= 0.15);
    report.add("lateness, 99th percentile", Report::text("%.2f ms", engine.result.lateMs99),
               peers == 1 || peers == 1000 ? Report::text("<= %.1f ms", most99) : "", engine.result.lateMs99 <= most99);
    report.add("lost, where the network loses nothing",
               std::to_string(engine.falseLosses) + " of " + std::to_string(engine.result.probes), "none",
               engine.falseLosses == 0);
}

}  // namespace

void benchPeers(int peers, const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    const std::string who = std::to_string(peers) + (peers == 1 ? " peer" : " peers");
    report.section((who + " probed by UDP, TCP and ping once a second").c_str());
    const EngineUsage engine = watchEngine(network, folder, peers, effort);
    if (peers > 1) {
        const Usage bare = watchBare(network, peers, effort);
        reportUsage(peers, engine.usage, bare, watchFping(network, peers, effort), report);
    }
    reportLateness(peers, engine, report);
}
