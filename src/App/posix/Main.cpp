#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "CommandLine.h"
#include "ConsoleMessageBox.h"
#include "Headless.h"
#include "MulticastInterfaces.h"
#include "ReportMode.h"
#include "SPW_CApp.h"
#include "SPW_CError.h"
#include "ScreenProgram.h"
#include "SettingsStorage.h"
#include "Signals.h"
#include "SilentSink.h"
#include "Terminal.h"
#include "TestEngine.h"

namespace {

// Each peer takes up to three descriptors; the usual soft limit of 1024 would end at some 300 peers.
void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Started with one of the three closed, the program would get it for its log or a socket, and print into that.
void occupyStandardDescriptors() {
    int descriptor;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
}

SPW_CArray<SPW_CString> tokensOf(int argc, char** argv) {
    SPW_CArray<SPW_CString> tokens;
    for (int i = 1; i < argc; ++i)
        tokens.append(SPW_CString(argv[i]));
    return tokens;
}

// Status 0: what the user saw is what there is to say.
int runScreen(const CommandLine& options, Terminal& terminal) {
    // A cable that is out for a while must not end a program that runs for weeks.
    SPW_CError::instance->setSurvivedCode(MulticastInterfaces::kReportCode);
    return ScreenProgram(options, terminal).run();
}

int runHeadless(const CommandLine& options) {
    ConsoleMessageBox box;
    SPW_CError::instance->setMessageBox(&box);
    SPW_CError::instance->setSurvivedCode(MulticastInterfaces::kReportCode);  // as with a screen

    int status;
    {
        SilentSink sink;
        TestEngine engine(&sink, true);
        // Not before: what keeps the engine from opening its log is said in plainer words below.
        SPW_CError::instance->setShowErrors(true);
        status = Headless(options, engine).run();
    }
    SPW_CError::instance->setMessageBox(nullptr);
    return status;
}

// Says nothing to anybody but by its exit status: it was another program that wanted the report.
int runReport(const CommandLine& options) {
    SPW_CError::instance->setNoBox(true);
    ignoreWriteSignals();
    // Of a name that is no UTF-8, as all texts here are, another name would have been made.
    const bool isTrueName = options.reportFile.find(u'\uFFFD') < 0;
    return isTrueName && writeReport(options.reportFile) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();

    const CommandLine options = scanArguments(tokensOf(argc, argv));
    if (options.getInfoRequested)
        return runReport(options);
    if (!options.isUsable()) {
        std::fprintf(stderr, "linkometry: %s\nlinkometry: -help lists the options\n", options.error.toAnsi());
        return kBadCommandLine;
    }
    if (options.help) {
        std::fputs(usageText().toAnsi(), stdout);
        return 0;
    }
    if (options.version) {
        SPW_CString program;
        SPW_CApp::getModulePath(program, true);
        std::printf("linkometry %s\n", readVersion(program).toAnsi());
        return 0;
    }
    const SPW_CString unknown = options.unknownText();
    if (!unknown.isEmpty())
        std::fprintf(stderr, "linkometry: %s\n", unknown.toAnsi());
    raiseDescriptorLimit();
    // Before there is a screen, which none of them may leave standing, and before the first thread.
    blockRequestSignals();
    Terminal terminal;
    return canShowScreen(options) && terminal.open() ? runScreen(options, terminal) : runHeadless(options);
}
