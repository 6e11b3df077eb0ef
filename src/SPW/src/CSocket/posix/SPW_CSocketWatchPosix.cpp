#include "SPW_CSocketWatchPosix.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <mutex>

#include "SPW_CDeadlinePosix.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorPosix.h"
#include "SPW_CUninterruptedPosix.h"

namespace {

using Guard = std::lock_guard<std::mutex>;

// Guards the list of all watches, and in each watch what noteClosed() looks at. There are as many watches as TCP
// listeners: a list is enough.
std::mutex lockOfAll;
SPW_CSocketWatchPosix* firstOfAll = nullptr;

}  // namespace

SPW_CSocketWatchPosix::SPW_CSocketWatchPosix(SPW_CSocket& sockets, SPW_CSocketTable& table)
    : SPW_CSocketWatch(sockets), m_table(table) {
    const Guard guard(lockOfAll);
    openKernelWatch();
    m_next = firstOfAll;
    firstOfAll = this;
}

SPW_CSocketWatchPosix::~SPW_CSocketWatchPosix() {
    const Guard guard(lockOfAll);
    SPW_CSocketWatchPosix** link = &firstOfAll;
    while (*link != this) {
        link = &(*link)->m_next;
    }
    *link = m_next;
    closeKernelWatch();
}

void SPW_CSocketWatchPosix::openKernelWatch() {
    m_kernelWatch.reset(::epoll_create1(EPOLL_CLOEXEC));
    m_wake.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_kernelWatch.isOpen() || !m_wake.isOpen() || !attach(m_wake.number(), kInvalidSocket)) {
        closeKernelWatch();
    }
}

void SPW_CSocketWatchPosix::closeKernelWatch() {
    (void)m_kernelWatch.close();
    (void)m_wake.close();
}

bool SPW_CSocketWatchPosix::attach(int descriptor, SPW_Socket socket) {
    epoll_event event{};
    event.events = EPOLLIN;  // ends and errors are told unasked
    event.data.u64 = socket;
    return ::epoll_ctl(m_kernelWatch.number(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool SPW_CSocketWatchPosix::add(SPW_Socket socket) {
    const Guard guard(lockOfAll);
    if (!SPW_CSocketWatch::add(socket)) {
        return false;
    }
    SPW_CSocketTable::Slot* const slot = m_table.acquire(socket);
    if (slot == nullptr) {
        takeClosed(socket);
        return true;
    }
    if (m_kernelWatch.isOpen() && !attach(slot->descriptor, socket)) {
        closeKernelWatch();
    }
    m_table.release(slot);
    return true;
}

bool SPW_CSocketWatchPosix::remove(SPW_Socket socket) {
    const Guard guard(lockOfAll);
    if (!SPW_CSocketWatch::remove(socket)) {
        return false;
    }
    forgetClosed(socket);
    SPW_CSocketTable::Slot* const slot = m_table.acquire(socket);
    if (slot != nullptr) {
        if (m_kernelWatch.isOpen()) {
            (void)::epoll_ctl(m_kernelWatch.number(), EPOLL_CTL_DEL, slot->descriptor, nullptr);  // it is there
        }
        m_table.release(slot);
    }
    return true;
}

SPW_Result SPW_CSocketWatchPosix::wait(SPW_CSocketSet& ready, std::uint32_t timeoutMs) {
    if (!m_kernelWatch.isOpen()) {
        return SPW_CSocketWatch::wait(ready, timeoutMs);
    }
    ready = SPW_CSocketSet();
    if (m_watched.size() == 0) {
        return kSockInvalid;
    }
    const SPW_CDeadlinePosix deadline(timeoutMs);
    // A socket that was closed and removed while another thread still uses its descriptor may be told once more.
    while (ready.size() == 0) {
        epoll_event events[SPW_CSocketSet::kMaximum + 1];
        const int count = uninterrupted([&] {
            return ::epoll_wait(m_kernelWatch.number(), events, SPW_CSocketSet::kMaximum + 1, deadline.remainingMs());
        });
        if (m_hasClosed) {
            return kSockNotSocket;
        }
        if (count == -1) {
            return SPW_CSysErrorPosix::socketCode(errno);
        }
        if (count == 0) {
            return 0;
        }
        m_watched.clearReady();
        for (int i = 0; i < count; ++i) {
            m_watched.markReady(events[i].data.u64);
        }
        collectReady(ready);
    }
    return 0;
}

void SPW_CSocketWatchPosix::noteClosed(SPW_Socket socket) {
    const Guard guard(lockOfAll);
    for (SPW_CSocketWatchPosix* watch = firstOfAll; watch != nullptr; watch = watch->m_next) {
        if (watch->m_watched.contains(socket)) {
            watch->takeClosed(socket);
        }
    }
}

void SPW_CSocketWatchPosix::takeClosed(SPW_Socket socket) {
    m_closed.add(socket);
    m_hasClosed = true;
    if (m_wake.isOpen()) {
        // Refused only when it has been written to endlessly. Then it is readable already.
        (void)::eventfd_write(m_wake.number(), 1);
    }
}

void SPW_CSocketWatchPosix::forgetClosed(SPW_Socket socket) {
    if (!m_closed.remove(socket) || m_closed.size() != 0) {
        return;
    }
    m_hasClosed = false;
    eventfd_t writes = 0;
    if (m_wake.isOpen()) {
        (void)::eventfd_read(m_wake.number(), &writes);  // takeClosed() has written to it
    }
}
