// Measures what the program can do on this machine, each time beside the machine's own limit for the same work,
// measured in the same run. docs/performance.md says what was reached and where the time goes.
//
// Everything happens in network namespaces made here, with processes that die with this one; what is left on disk is in
// one temporary folder, which is removed at the end.

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "Benches.h"
#include "Child.h"
#include "Timing.h"

namespace {

struct Bench {
    const char* name;
    void (*run)(const Network&, const Folder&, const Effort&, Report&);
    bool isQuick;
};

template <int peers>
void benchNumberOfPeers(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    benchPeers(peers, network, folder, effort, report);
}

constexpr Bench kBenches[] = {
    {"listener", benchListener, true},
    {"log", benchLog, true},
    {"peers-1", benchNumberOfPeers<1>, false},
    {"peers-64", benchNumberOfPeers<64>, false},
    {"peers-256", benchNumberOfPeers<256>, true},
    {"peers-1000", benchNumberOfPeers<1000>, true},
    {"growth", benchGrowth, false},
    {"short-periods", benchShortPeriods, true},
    {"wake-ups", benchWakeUps, true},
    {"startstop", benchStartStop, true},
    {"screen", benchScreen, true},
};

constexpr char kUsage[] =
    "usage: linkometry-bench [-quick] [name...]\n"
    "\n"
    "Measures the program beside the machine's own limits and prints a table; each the median of five, with\n"
    "the least and the greatest. Takes five minutes. Needs root, for network namespaces of its own.\n"
    "\n"
    "  -quick   under a minute: each measured once, and 256 and 1000 peers only\n"
    "  name     only these of: listener, log, peers-1, peers-64, peers-256, peers-1000, growth, short-periods,\n"
    "           wake-ups, startstop, screen; a part of a name will do\n"
    "\n"
    "Exit status: 0 measured, whatever was reached; 1 could not measure; 2 the command line cannot be used.\n";

bool isSelected(const Bench& bench, const std::vector<std::string>& filters, const Effort& effort) {
    if (filters.empty()) {
        return bench.isQuick || !effort.quick;
    }
    for (const std::string& filter : filters) {
        if (std::strstr(bench.name, filter.c_str()) != nullptr) {
            return true;
        }
    }
    return false;
}

// Thousands of peers take three descriptors each.
void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

Folder folder;
pid_t folderOwner;

// Also called by signal: what the benchmark made goes with its processes, but for this.
void removeFolder() {
    if (getpid() != folderOwner) {
        return;
    }
    for (const char* name : {"/HKEY_CURRENT_USER.reg", "/HKEY_CURRENT_USER.reg.lock", "/log.txt"}) {
        unlink((folder + name).c_str());
    }
    rmdir(folder.c_str());
}

void onSignal(int number) {
    removeFolder();
    signal(number, SIG_DFL);
    raise(number);
}

void makeFolder() {
    const char* const base = std::getenv("TMPDIR");
    folder = std::string(base == nullptr ? "/tmp" : base) + "/linkometry-bench-XXXXXX";
    if (mkdtemp(&folder[0]) == nullptr) {
        giveUp(folder.c_str());
    }
    folderOwner = getpid();
    std::atexit(removeFolder);
    std::at_quick_exit(removeFolder);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        signal(number, onSignal);
    }
}

// The share of the processors' time that was in use during half a second.
double busyShare() {
    const auto read = [](double& busy, double& all) {
        double times[8] = {};  // user, nice, system, idle, waiting, interrupts (2), stolen
        std::FILE* const file = std::fopen("/proc/stat", "r");
        if (file != nullptr) {
            if (std::fscanf(file, "cpu %lf %lf %lf %lf %lf %lf %lf %lf", &times[0], &times[1], &times[2], &times[3],
                            &times[4], &times[5], &times[6], &times[7]) != 8) {
                times[3] = 1;
            }
            std::fclose(file);
        }
        all = std::accumulate(std::begin(times), std::end(times), 0.0);
        busy = all - times[3] - times[4];
    };
    double busyBefore = 0;
    double allBefore = 0;
    double busy = 0;
    double all = 0;
    read(busyBefore, allBefore);
    sleepSeconds(0.5);
    read(busy, all);
    return all > allBefore ? (busy - busyBefore) / (all - allBefore) : 0;
}

// What others do costs the listener its rate and the probes their punctuality.
void tellIfBusy() {
    const double share = busyShare();
    if (share > 0.1) {
        std::printf("Other programs use %.0f %% of the processors; results are worse than on a quiet machine.\n\n",
                    share * 100);
    }
}

bool isAnySelected(const std::vector<std::string>& filters, const Effort& effort) {
    return std::any_of(std::begin(kBenches), std::end(kBenches),
                       [&](const Bench& bench) { return isSelected(bench, filters, effort); });
}

}  // namespace

int main(int argc, char** argv) {
    Effort effort;
    std::vector<std::string> filters;
    for (int i = 1; i < argc; ++i) {
        const std::string argument(argv[i]);
        if (argument == "-help" || argument == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (argument == "-quick" || argument == "--quick") {
            effort.quick = true;
            effort.repetitions = 1;
        } else if (argument[0] == '-') {
            std::fprintf(stderr, "linkometry-bench: no such option: %s\n%s", argv[i], kUsage);
            return 2;
        } else {
            filters.push_back(argument);
        }
    }
    if (!isAnySelected(filters, effort)) {
        std::fprintf(stderr, "linkometry-bench: no benchmark has such a name\n%s", kUsage);
        return 2;
    }
    raiseDescriptorLimit();
    const Network network;
    makeFolder();
    tellIfBusy();
    Report report;
    for (const Bench& bench : kBenches) {
        if (isSelected(bench, filters, effort)) {
            bench.run(network, folder, effort, report);
        }
    }
    std::printf("%d aims missed\n", report.missed());
    return 0;
}
