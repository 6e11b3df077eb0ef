#include <string>
#include <vector>

#include "BareProbes.h"
#include "Benches.h"
#include "Child.h"
#include "EngineProcess.h"
#include "Responder.h"
#include "Timing.h"

void benchStartStop(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    constexpr int kPeers = 1000;
    report.section("Start and stop of 1000 peers; limit: creating, waking and joining as many bare threads");
    std::vector<double> creates;
    std::vector<double> joins;
    for (int i = 0; i < effort.repetitions; ++i) {
        Child bare(network.near(), [](Line& line) { line.send(timeBareThreads(3 * kPeers)); });
        const ThreadTimes times = bare.line().receive<ThreadTimes>();
        creates.push_back(times.createSeconds);
        joins.push_back(times.joinSeconds);
    }
    std::vector<double> starts;
    std::vector<double> restarts;
    std::vector<double> stops;
    const std::vector<std::string> addresses = peerAddresses(kPeers);
    for (int i = 0; i < effort.repetitions; ++i) {
        Child responder(network.far(), runResponder);
        responder.line().await();
        Child engine(network.near(), [&](Line& line) { runEngine(folder, {}, kPeriodMs, addresses, line); });
        engine.line().await();
        starts.push_back(ask<double>(engine, kStart));
        sleepSeconds(kPeriodSeconds);
        stops.push_back(ask<double>(engine, kStop));
        restarts.push_back(ask<double>(engine, kStart));
    }
    const double start = medianOf(starts);
    const double stop = medianOf(stops);
    report.add("start", spreadOf("%.2f s", starts), spreadOf("%.3f s", creates), start / medianOf(creates), "", true);
    report.add("stop", spreadOf("%.2f s", stops), spreadOf("%.3f s", joins), stop / medianOf(joins), "<= 0.2 s",
               stop <= 0.2);
    report.add("start again, which destroys the last test", spreadOf("%.2f s", restarts), "", true);
}
