#include "ChangeCommand.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "FlatFields.h"

namespace {

constexpr char kPrefix[] = "LINKOMETRY_";
constexpr std::chrono::milliseconds kLookPause(10);

char capital(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::vector<std::string> factVariables(const nlohmann::ordered_json& facts) {
    std::vector<std::string> variables;
    for (const FlatField& field : flatFields(facts)) {
        std::string name = field.name;
        std::transform(name.begin(), name.end(), name.begin(), capital);
        variables.push_back(kPrefix + name + '=' + field.text);
    }
    return variables;
}

// What this program has itself, less what looks like a fact.
std::vector<std::string> ownVariables() {
    std::vector<std::string> variables;
    for (char** each = environ; *each != nullptr; ++each) {
        if (std::strncmp(*each, kPrefix, sizeof kPrefix - 1) != 0) {
            variables.emplace_back(*each);
        }
    }
    return variables;
}

// How the program is started: a process group of its own, no signal blocked or ignored on this program's account, no
// input, and its output on standard error.
class Start {
public:
    Start() {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, STDERR_FILENO, STDOUT_FILENO);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        sigset_t set;
        sigemptyset(&set);
        posix_spawnattr_setsigmask(&m_attributes, &set);
        sigaddset(&set, SIGPIPE);
        sigaddset(&set, SIGXFSZ);
        posix_spawnattr_setsigdefault(&m_attributes, &set);
    }
    ~Start() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    // Returns 0 or the error number.
    int spawn(std::string program, std::vector<std::string> variables, pid_t& process) const {
        std::vector<char*> environment;
        environment.reserve(variables.size() + 1);
        for (std::string& variable : variables) {
            environment.push_back(variable.data());
        }
        environment.push_back(nullptr);
        char* const arguments[] = {program.data(), nullptr};
        return posix_spawnp(&process, program.c_str(), &m_actions, &m_attributes, arguments, environment.data());
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

// Empty if the program has ended well.
SPW_CString failureOf(int status) {
    SPW_CString text;
    if (WIFSIGNALED(status)) {
        text.format(u"was ended by signal %d", WTERMSIG(status));
    } else if (WEXITSTATUS(status) != 0) {
        text.format(u"has ended with status %d", WEXITSTATUS(status));
    }
    return text;
}

}  // namespace

ChangeCommand::ChangeCommand(const SPW_CString& program, const Limits& limits)
    : m_program(program), m_limits(limits), m_thread([this] { work(); }) {}

ChangeCommand::~ChangeCommand() {
    {
        const Guard guard(m_lock);
        m_isFinished = true;
        m_end = Clock::now() + std::chrono::milliseconds(m_limits.endPatienceMs);
        m_changed.notify_all();
    }
    m_thread.join();
}

void ChangeCommand::run(const nlohmann::ordered_json& facts) {
    const Guard guard(m_lock);
    if (m_waiting.size() == m_limits.mostWaiting) {
        m_waiting.pop_front();
        tellOnce(u"is too slow for so many events; the oldest are dropped");
    }
    m_waiting.push_back(factVariables(facts));
    m_changed.notify_all();
}

void ChangeCommand::work() {
    Guard guard(m_lock);
    while (waitForTurn(guard)) {
        const Environment facts = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_starts.push_back(Clock::now());
        runOnce(facts, guard);
    }
    if (!m_waiting.empty()) {
        tellOnce(u"was not run for the last events, because the test has ended");
    }
}

// Waits until there is something to run and it may begin. Returns false if nothing is run any more.
bool ChangeCommand::waitForTurn(Guard& guard) {
    for (;;) {
        if (isOver() || (m_isFinished && m_waiting.empty())) {
            return false;
        }
        const auto window = std::chrono::milliseconds(m_limits.windowMs);
        while (!m_starts.empty() && Clock::now() - m_starts.front() >= window) {
            m_starts.pop_front();
        }
        if (m_waiting.empty()) {
            m_changed.wait(guard);
        } else if (m_starts.size() < m_limits.mostStarts) {
            return true;
        } else {
            const Clock::time_point turn = m_starts.front() + window;
            m_changed.wait_until(guard, m_isFinished ? std::min(turn, m_end) : turn);
        }
    }
}

void ChangeCommand::runOnce(const Environment& facts, Guard& guard) {
    guard.unlock();
    Environment variables = ownVariables();
    variables.insert(variables.end(), facts.begin(), facts.end());
    pid_t process = 0;
    const int failure = Start().spawn(m_program.toAnsi(), std::move(variables), process);
    guard.lock();
    if (failure != 0) {
        tellOnce(SPW_CString(u"cannot be started: ") + std::strerror(failure));
    } else {
        waitForEnd(process, guard);
    }
}

// A process cannot be waited for with a limit of time, and is therefore looked at again and again while it runs.
void ChangeCommand::waitForEnd(pid_t process, Guard& guard) {
    const Clock::time_point limit = Clock::now() + std::chrono::milliseconds(m_limits.longestRunMs);
    bool isKilled = false;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (!isKilled && (isOver() || Clock::now() >= limit)) {
            isKilled = true;
            kill(-process, SIGKILL);
            tellOnce(isOver() ? u"was killed, because the test has ended" : u"was killed, because it took too long");
        }
        m_changed.wait_for(guard, kLookPause);
    }
    const SPW_CString failure = isKilled ? SPW_CString() : failureOf(status);
    if (!failure.isEmpty()) {
        tellOnce(failure);
    }
}

void ChangeCommand::tellOnce(const SPW_CString& text) {
    if (m_told.isNew(text)) {
        complain(u"the program of -onchange, " + m_program + u", " + text);
    }
}
