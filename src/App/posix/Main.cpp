#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "CommandLine.h"
#include "Console.h"
#include "ConsoleMessageBox.h"
#include "Headless.h"
#include "MulticastInterfaces.h"
#include "ReportMode.h"
#include "Rights.h"
#include "SPW_CApp.h"
#include "SPW_CError.h"
#include "SPW_CMemory.h"
#include "ScreenProgram.h"
#include "SettingsStorage.h"
#include "Signals.h"
#include "StandardOutput.h"
#include "Terminal.h"
#include "TerminalRescue.h"
#include "Wakeup.h"

namespace {

// Each peer takes up to three descriptors. The usual soft limit of 1024 would allow some 300 peers.
void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// If one of the three is closed at the start, the log or a socket would get its number, and the program would print
// into that.
void occupyStandardDescriptors() {
    int descriptor;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        close(descriptor);
    }
}

// The words must take no memory.
void sayMemoryIsExhausted() {
    TerminalRescue::restore();
    sayOnStandardError("linkometry: there is no memory left, the program ends\n");
}

std::string versionLine() {
    SPW_CString program;
    SPW_CApp::getModulePath(program, true);
    return std::string("linkometry ") + readVersion(program).toAnsi() + '\n';
}

SPW_CArray<SPW_CString> tokensOf(int argc, char** argv) {
    SPW_CArray<SPW_CString> tokens;
    for (int i = 1; i < argc; ++i) {
        tokens.append(SPW_CString(argv[i]));
    }
    return tokens;
}

int runHeadless(const CommandLine& options, Signals& signals, StandardOutput& output, Wakeup& wakeup) {
    ConsoleMessageBox box;
    SPW_CError::instance->setMessageBox(&box);
    const int status = Headless(options, signals, output, wakeup).run();
    SPW_CError::instance->setMessageBox(nullptr);
    return status;
}

// The signals come before the screen, because none of them may leave the screen standing. They come before every other
// thread, too.
int runTests(const CommandLine& options) {
    SPW_CString why;
    if (!giveUpRights(options.user, why)) {
        complain(why);
        return kBadCommandLine;
    }
    raiseDescriptorLimit();
    // A cable that is pulled for a while must not end a program that runs for weeks.
    SPW_CError::instance->setSurvivedCode(MulticastInterfaces::kReportCode);
    Wakeup wakeup;
    const bool wantsScreen = canShowScreen(options);
    Signals signals(wakeup, wantsScreen || hasControllingTerminal());
    StandardOutput output(wakeup);
    if (!wakeup.isReady() || !signals.isReady() || !output.isReady()) {
        complain(u"cannot start: the system refuses a thread or a descriptor");
        return kTestFailed;
    }
    Terminal terminal;
    if (wantsScreen && terminal.open()) {
        signals.alsoReceive({SIGTSTP, SIGCONT, SIGWINCH});
        return ScreenProgram(options, terminal, signals, output, wakeup).run();
    }
    signals.alsoReceive({SIGQUIT});
    return runHeadless(options, signals, output, wakeup);
}

// Only the exit status tells the outcome, because another program has asked for the report.
int runReport(const CommandLine& options) {
    SPW_CError::instance->setNoBox(true);
    ignoreWriteSignals();
    // All texts here are UTF-8. A name that is not UTF-8 would have become another name.
    const bool isTrueName = options.reportFile.find(u'\uFFFD') < 0;
    return isTrueName && writeReport(options.reportFile) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    SPW_CMemory::watch(sayMemoryIsExhausted);
    occupyStandardDescriptors();

    const CommandLine options = scanArguments(tokensOf(argc, argv), CommandLine::kUnixStyle);
    if (options.getInfoRequested) {
        return runReport(options);
    }
    if (!options.isUsable()) {
        complain(options.error);
        complain(u"-help lists the options");
        return kBadCommandLine;
    }
    if (options.help) {
        return printAndTell(usageText().toAnsi());
    }
    if (options.version) {
        return printAndTell(versionLine());
    }
    if (!options.ignored.isEmpty()) {
        complain(options.ignored);
    }
    return runTests(options);
}
