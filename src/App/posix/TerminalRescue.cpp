#include "TerminalRescue.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>

namespace {

// The signals that would end the program without asking it.
constexpr int kDeadly[] = {SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,   SIGBUS,  SIGFPE, SIGSEGV,  SIGSYS,
                           SIGXCPU, SIGALRM, SIGPROF, SIGVTALRM, SIGPOLL, SIGPWR, SIGSTKFLT};

// A handler may run in the middle of anything. It touches only plain data that was there before.
std::atomic<bool> isArmed{false};
int terminalDescriptor;
termios formerModes;
char leavingSequence[512];
std::size_t leavingLength;
struct sigaction formerActions[std::size(kDeadly)];
char handlerStack[64 * 1024];

// Standard error while it is kept back, and where it really goes.
int keptText = -1;
int realError = -1;

// A terminal that is stopped takes nothing and must not keep the program from ending.
bool takesSomething(int descriptor) {
    constexpr int kPatienceMs = 500;
    pollfd source = {descriptor, POLLOUT, 0};
    return poll(&source, 1, kPatienceMs) > 0;
}

void writeAll(int descriptor, const char* bytes, std::size_t length) {
    while (length > 0 && takesSomething(descriptor)) {
        const ssize_t written = write(descriptor, bytes, length);
        if (written <= 0) {
            return;
        }
        bytes += written;
        length -= static_cast<std::size_t>(written);
    }
}

void keepStandardError() {
    if (isatty(STDERR_FILENO) == 0) {
        return;
    }
    realError = dup(STDERR_FILENO);
    keptText = memfd_create("standard-error", MFD_CLOEXEC);
    if (realError >= 0 && keptText >= 0) {
        dup2(keptText, STDERR_FILENO);
    }
}

// Descriptors stay open, because another thread may be doing the same.
void releaseStandardError() {
    if (realError < 0 || keptText < 0) {
        return;
    }
    dup2(realError, STDERR_FILENO);
    char piece[1024];
    off_t offset = 0;
    for (;;) {
        const ssize_t length = pread(keptText, piece, sizeof piece, offset);
        if (length <= 0) {
            return;
        }
        writeAll(STDERR_FILENO, piece, static_cast<std::size_t>(length));
        offset += length;
    }
}

bool isFault(int number, const siginfo_t& info) {
    const bool canBe = number == SIGSEGV || number == SIGBUS || number == SIGILL || number == SIGFPE;
    return canBe && info.si_code > 0 && info.si_code != SI_KERNEL;
}

// The former action ends the program and says why. A fault happens again when this returns, with its own address and
// stack. Any other signal is sent again.
void onDeadlySignal(int number, siginfo_t* info, void*) {
    TerminalRescue::restore();
    const int* const place = std::find(std::begin(kDeadly), std::end(kDeadly), number);
    sigaction(number, &formerActions[place - std::begin(kDeadly)], nullptr);
    if (!isFault(number, *info)) {
        raise(number);
    }
}

void catchDeadlySignals() {
    stack_t stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = sizeof handlerStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = onDeadlySignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (std::size_t i = 0; i < std::size(kDeadly); ++i) {
        sigaction(kDeadly[i], nullptr, &formerActions[i]);
        if (formerActions[i].sa_handler != SIG_IGN) {
            sigaction(kDeadly[i], &action, nullptr);
        }
    }
}

}  // namespace

void TerminalRescue::arm(int terminal, const termios& modes, const std::string& sequence) {
    terminalDescriptor = terminal;
    formerModes = modes;
    leavingLength = sequence.copy(leavingSequence, sizeof leavingSequence);
    keepStandardError();
    catchDeadlySignals();
    isArmed = true;
}

void TerminalRescue::disarm() {
    if (!isArmed.exchange(false)) {
        return;
    }
    for (std::size_t i = 0; i < std::size(kDeadly); ++i) {
        sigaction(kDeadly[i], &formerActions[i], nullptr);
    }
    releaseStandardError();
}

void TerminalRescue::restore() {
    if (!isArmed.exchange(false)) {
        return;
    }
    writeAll(terminalDescriptor, leavingSequence, leavingLength);
    tcsetattr(terminalDescriptor, TCSANOW, &formerModes);
    releaseStandardError();
}
