#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "BareProbes.h"
#include "Benches.h"
#include "Child.h"
#include "Hive.h"
#include "Lateness.h"
#include "Responder.h"
#include "Screen.h"
#include "TestEngine.h"
#include "Timing.h"

namespace {

constexpr std::uint64_t kPeriodMs = 1000;
constexpr double kPeriodSeconds = 1;
// Until connections stand and schedules have settled.
constexpr double kWarmUpSeconds = 3;

std::vector<std::string> peerAddresses(int peers) {
    std::vector<std::string> addresses;
    for (int i = 0; i < peers; ++i) {
        addresses.push_back(Network::peerAddress(i));
    }
    return addresses;
}

// ---- The program under test: the engine in a process of its own

class NoSink final : public UiSink {
public:
    void rowChanged(const PeerRowValues&, int) override {}
};

enum Request : char { kStart, kStop, kRestartLateness, kAskResult };

struct EngineResult {
    double medianLateMs;
    double lateMs99;
    double worstMs;
    std::uint64_t probes;
    std::uint64_t pingsLost;
};

template <typename Call>
double timeOf(Call call) {
    const double begin = nowSeconds();
    call();
    return nowSeconds() - begin;
}

EngineResult resultOf(const TestEngine& engine, const LatenessClock& clock) {
    SPW_CArray<PeerRowValues> rows;
    engine.snapshot(rows);
    std::uint64_t lost = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        lost += static_cast<std::uint64_t>(rows[i].counts[kPing].lost);
    }
    return {clock.quantileMs(0.5), clock.quantileMs(0.99), clock.worstMs(), clock.probes(), lost};
}

// Answers each request on the line when it has been fulfilled, until its process is killed. settings: lines of the hive
// besides the usual ones, which make the period that is given.
void runEngine(const Folder& folder, const std::vector<std::string>& settings, std::uint64_t periodMs,
               const std::vector<std::string>& peers, Line& line) {
    useSettings(folder, settings, peers);
    static LatenessClock clock(*SPW_CClock::instance, periodMs);
    SPW_CClock::instance = &clock;
    NoSink sink;
    TestEngine engine(&sink, true);
    line.signal();
    for (;;) {
        switch (line.receive<Request>()) {
            case kStart:
                line.send(timeOf([&] { engine.start(); }));
                break;
            case kStop:
                line.send(timeOf([&] { engine.stop(); }));
                break;
            case kRestartLateness:
                clock.restart();
                line.signal();
                break;
            case kAskResult:
                line.send(resultOf(engine, clock));
                break;
        }
    }
}

template <typename Answer>
Answer ask(Child& child, Request request) {
    child.line().send(request);
    return child.line().receive<Answer>();
}

// ---- Processor time and memory of a running process

struct Usage {
    std::vector<double> samples;  // of cores
    double cores;                 // their median
    double residentMiB;
};

Usage watch(pid_t pid, const Effort& effort) {
    std::vector<double> cores;
    for (int i = 0; i < effort.repetitions; ++i) {
        const double time = nowSeconds();
        const double processor = processorSecondsOf(pid);
        sleepSeconds(2 * effort.seconds);
        cores.push_back((processorSecondsOf(pid) - processor) / (nowSeconds() - time));
    }
    return {cores, medianOf(cores), residentMiBOf(pid)};
}

// What the far end hears of one engine, too.
struct EngineUsage {
    Usage usage;
    EngineResult result;
    std::uint64_t falseLosses;
};

EngineUsage watchEngine(const Network& network, const Folder& folder, int peers, const Effort& effort) {
    Child responder(network.far(), runResponder);
    responder.line().await();
    const std::vector<std::string> addresses = peerAddresses(peers);
    Child engine(network.near(), [&](Line& line) { runEngine(folder, {}, kPeriodMs, addresses, line); });
    engine.line().await();
    (void)ask<double>(engine, kStart);
    sleepSeconds(kWarmUpSeconds);
    (void)ask<char>(engine, kRestartLateness);
    EngineUsage result{};
    result.usage = watch(engine.pid(), effort);
    result.result = ask<EngineResult>(engine, kAskResult);
    responder.line().signal();
    const Heard heard = responder.line().receive<Heard>();
    // This network loses nothing. A missing number, a ping without its reply and a second connection are therefore the
    // program's own.
    const std::uint64_t expectedConnections = static_cast<std::uint64_t>(peers);
    result.falseLosses = heard.gaps + result.result.pingsLost +
                         (heard.connections > expectedConnections ? heard.connections - expectedConnections
                                                                  : expectedConnections - heard.connections);
    return result;
}

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

std::string percentOf(const Usage& usage) {
    std::vector<double> percent;
    for (const double cores : usage.samples) {
        percent.push_back(cores * 100);
    }
    return spreadOf("%.1f", percent) + " % core";
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

void benchScreen(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    constexpr int kPeers = 256;
    constexpr double kMostRatio = 1.2;
    report.section("The idle screen with 256 peers; limit: the same program without a screen");
    useSettings(folder, {}, peerAddresses(kPeers));
    Child responder(network.far(), runResponder);
    responder.line().await();
    Usage headless{};
    Usage screen{};
    {
        std::string arguments[] = {LINKOMETRY_PROGRAM, "-headless"};
        char* pointers[] = {&arguments[0][0], &arguments[1][0], nullptr};
        const Child program(network.near(), pointers);
        sleepSeconds(kWarmUpSeconds);
        headless = watch(program.pid(), effort);
    }
    {
        const ScreenedProgram program(LINKOMETRY_PROGRAM, network.near());
        sleepSeconds(kWarmUpSeconds);
        screen = watch(program.pid(), effort);
    }
    const double ratio = screen.cores / headless.cores;
    report.add("processor (limit: headless)", percentOf(screen), percentOf(headless), ratio, "ratio <= 1.2",
               ratio <= kMostRatio);
    report.add("resident memory (limit: headless)", Report::text("%.1f MiB", screen.residentMiB),
               Report::text("%.1f MiB", headless.residentMiB), screen.residentMiB / headless.residentMiB, "", true);
}
