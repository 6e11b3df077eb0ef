#include "EventFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Console.h"

EventFile::~EventFile() {
    m_output.reset();
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

// A pipe that nobody reads must not hold up the program.
bool EventFile::open(const SPW_CString& path, SPW_CString& why) {
    m_path = path;
    m_descriptor = ::open(path.toAnsi(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    if (m_descriptor < 0) {
        why = SPW_CString(u"cannot write events to ") + path + u": " + std::strerror(errno);
        return false;
    }
    m_output.emplace(m_wakeup, m_descriptor);
    if (!m_output->isReady()) {
        why = SPW_CString(u"cannot write events to ") + path + u": the system refuses a thread";
        return false;
    }
    return true;
}

bool EventFile::isBusy() {
    lookAtFailure();
    return m_hasLost || m_output->isBusy();
}

bool EventFile::waitUntilWritten(std::uint32_t patienceMs) {
    const bool isDone = m_output->waitUntilWritten(patienceMs);
    lookAtFailure();
    if (!isDone && !m_hasLost) {
        complain(u"the file of events " + m_path + u" takes nothing; its last lines are lost");
        m_hasLost = true;
    }
    return isDone;
}

void EventFile::lookAtFailure() {
    const int failure = m_output->failure();
    if (failure != 0 && !m_hasLost) {
        complain(u"cannot write events to " + m_path + u": " + std::strerror(failure) + u"; no more are written");
        m_hasLost = true;
    }
}
