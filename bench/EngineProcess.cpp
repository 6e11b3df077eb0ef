#include "EngineProcess.h"

#include "Hive.h"
#include "Lateness.h"
#include "Responder.h"
#include "TestEngine.h"
#include "Timing.h"

std::vector<std::string> peerAddresses(int peers) {
    std::vector<std::string> addresses;
    for (int i = 0; i < peers; ++i) {
        addresses.push_back(Network::peerAddress(i));
    }
    return addresses;
}

namespace {

class NoSink final : public UiSink {
public:
    void rowChanged(const PeerRowValues&, int) override {}
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

}  // namespace

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

std::string percentOf(const Usage& usage) {
    std::vector<double> percent;
    for (const double cores : usage.samples) {
        percent.push_back(cores * 100);
    }
    return spreadOf("%.1f", percent) + " % core";
}

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
