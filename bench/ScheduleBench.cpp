#include <string>
#include <vector>

#include "Benches.h"
#include "Child.h"
#include "EngineProcess.h"
#include "Hive.h"
#include "Responder.h"
#include "Timing.h"

void benchShortPeriods(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    report.section("One sender with a short period; limit: the period itself");
    for (const std::uint64_t periodMs : {1, 10}) {
        Child responder(network.far(), runResponder);
        responder.line().await();
        const std::vector<std::string> settings = {"\"tcpip selected\"=\"no\"", "\"ping selected\"=\"no\"",
                                                   "\"frequency units\"=\"milliseconds\"",
                                                   "\"frequency qty\"=\"" + std::to_string(periodMs) + "\""};
        Child engine(network.near(),
                     [&](Line& line) { runEngine(folder, settings, periodMs, peerAddresses(1), line); });
        engine.line().await();
        (void)ask<double>(engine, kStart);
        sleepSeconds(kPeriodSeconds);
        std::vector<double> rates;
        std::vector<double> gapsMs;
        for (int i = 0; i < effort.repetitions; ++i) {
            (void)ask<char>(engine, kRestartLateness);
            const double begin = nowSeconds();
            sleepSeconds(2 * effort.seconds);
            const EngineResult result = ask<EngineResult>(engine, kAskResult);
            rates.push_back(static_cast<double>(result.probes) / (nowSeconds() - begin));
            gapsMs.push_back(static_cast<double>(periodMs) + result.worstMs);
        }
        const double most = 1000.0 / static_cast<double>(periodMs);
        report.add("probes a second, every " + std::to_string(periodMs) + " ms", spreadOf("%.0f", rates),
                   Report::text("%.0f", most), medianOf(rates) / most, periodMs == 1 ? ">= 990" : "",
                   medianOf(rates) >= 990);
        report.add("worst gap, every " + std::to_string(periodMs) + " ms", spreadOf("%.2f ms", gapsMs), "", true);
    }
}

void benchWakeUps(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    constexpr int kPeers = 4;
    constexpr double kMostWakeUps = 1.3;
    // A probe each by UDP and TCP, and a ping with its reply.
    constexpr double kEventsASecond = kPeers * (2 + 2) / kPeriodSeconds;
    report.section("A device with 4 peers that does nothing but probe");
    useSettings(folder, {}, peerAddresses(kPeers));
    Child responder(network.far(), runResponder);
    responder.line().await();
    std::string arguments[] = {LINKOMETRY_PROGRAM, "-headless"};
    char* pointers[] = {&arguments[0][0], &arguments[1][0], nullptr};
    const Child program(network.near(), pointers);
    sleepSeconds(kWarmUpSeconds);
    std::vector<double> wakeUps;
    for (int i = 0; i < effort.repetitions; ++i) {
        const double before = sleepsOf(program.pid());
        const double begin = nowSeconds();
        sleepSeconds(5 * effort.seconds);
        const double events = kEventsASecond * (nowSeconds() - begin);
        wakeUps.push_back((sleepsOf(program.pid()) - before) / events);
    }
    report.add("wake-ups a probe and a reply", spreadOf("%.2f", wakeUps), "<= 1.3", medianOf(wakeUps) <= kMostWakeUps);
}

void benchGrowth(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    report.section("4000 peers; limit: four times what 1000 peers cost");
    const Usage few = watchEngine(network, folder, 1000, effort).usage;
    const Usage many = watchEngine(network, folder, 4000, effort).usage;
    const double growth = many.cores / few.cores / 4;
    report.add("processor", percentOf(many), Report::text("%.1f %% core", few.cores * 400), growth, "ratio 0.8 to 1.2",
               growth >= 0.8 && growth <= 1.2);
    report.add("resident memory", Report::text("%.1f MiB", many.residentMiB),
               Report::text("%.1f MiB", few.residentMiB * 4), many.residentMiB / few.residentMiB / 4, "", true);
}
