#include <string>

#include "Benches.h"
#include "Child.h"
#include "EngineProcess.h"
#include "Hive.h"
#include "Responder.h"
#include "Screen.h"
#include "Timing.h"

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
