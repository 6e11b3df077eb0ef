#include "Child.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Forks with a line between the two; in the child the result is 0, and it has moved to the network already.
pid_t forkInto(int network, int& descriptor) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        giveUp("socketpair");
    }
    std::fflush(stdout);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == -1) {
        giveUp("fork");
    }
    close(ends[pid == 0 ? 0 : 1]);
    descriptor = ends[pid == 0 ? 1 : 0];
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(1);
        }
        if (setns(network, CLONE_NEWNET) != 0) {
            giveUp("setns");
        }
    }
    return pid;
}

}  // namespace

void giveUp(const char* what) {
    std::fprintf(stderr, "linkometry-bench: %s: %s\n", what, std::strerror(errno));
    std::quick_exit(1);  // other threads may be running
}

void Line::sendBytes(const void* bytes, std::size_t size) {
    if (::send(m_descriptor, bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size)) {
        giveUp("a process of the measurement has ended");
    }
}

void Line::receiveBytes(void* bytes, std::size_t size) {
    if (::recv(m_descriptor, bytes, size, MSG_WAITALL) != static_cast<ssize_t>(size)) {
        giveUp("a process of the measurement has ended");
    }
}

Child::Child(int network, const std::function<void(Line&)>& body)
    : m_pid(forkInto(network, m_descriptor)), m_line(m_descriptor) {
    if (m_pid == 0) {
        body(m_line);
        _exit(0);
    }
}

Child::Child(int network, char* const* arguments) : m_pid(forkInto(network, m_descriptor)), m_line(m_descriptor) {
    if (m_pid == 0) {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, STDIN_FILENO);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execvp(arguments[0], arguments);
        _exit(127);
    }
}

Child::~Child() {
    if (m_pid != -1) {
        kill(m_pid, SIGKILL);
        join();
    }
    close(m_descriptor);
}

void Child::join() {
    waitpid(m_pid, nullptr, 0);
    m_pid = -1;
}
