#include "Screen.h"

#include <pty.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "Child.h"
#include "Timing.h"

namespace {

void dieWithParent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(1);
    }
}

// A terminal that draws nothing; one that nobody reads would stop the program.
pid_t startReader(int terminal) {
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == -1) {
        giveUp("fork");
    }
    if (pid == 0) {
        dieWithParent(parent);
        char piece[65536];
        while (read(terminal, piece, sizeof piece) > 0) {
        }
        _exit(0);
    }
    return pid;
}

}  // namespace

ScreenedProgram::ScreenedProgram(const char* program, int network) {
    constexpr double kUntilReady = 1;
    winsize size = {24, 80, 0, 0};
    const pid_t parent = getpid();
    m_pid = forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_pid == -1) {
        giveUp("forkpty");
    }
    if (m_pid == 0) {
        dieWithParent(parent);
        if (setns(network, CLONE_NEWNET) != 0) {
            giveUp("setns");
        }
        setenv("TERM", "xterm-256color", 1);
        setenv("LANG", "C.UTF-8", 1);
        execl(program, program, nullptr);
        giveUp(program);
    }
    m_reader = startReader(m_terminal);
    sleepSeconds(kUntilReady);
    if (write(m_terminal, "s", 1) != 1) {
        giveUp("the terminal");
    }
}

ScreenedProgram::~ScreenedProgram() {
    for (const pid_t pid : {m_pid, m_reader}) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    close(m_terminal);
}
