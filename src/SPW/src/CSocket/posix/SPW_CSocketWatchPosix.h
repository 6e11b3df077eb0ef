#pragma once

#include <atomic>

#include "../../CFile/posix/SPW_CDescriptorPosix.h"
#include "SPW_CSocketTable.h"
#include "SPW_CSocketWatch.h"

// A watch that the kernel keeps (epoll). When the kernel has none to give, it selects.
//
// The kernel forgets a descriptor when it is closed, and wakes nobody then. Therefore close() tells the watches of
// every handle that it has closed, and a watch that has it wakes its wait by a descriptor of its own. The watch does
// not count itself in at the table: a socket that is closed beside a wait gives its port back at once.
class SPW_CSocketWatchPosix final : public SPW_CSocketWatch {
public:
    SPW_CSocketWatchPosix(SPW_CSocket& sockets, SPW_CSocketTable& table);
    ~SPW_CSocketWatchPosix() override;

    bool add(SPW_Socket socket) override;
    bool remove(SPW_Socket socket) override;
    using SPW_CSocketWatch::wait;
    SPW_Result wait(SPW_CSocketSet& ready, std::uint32_t timeoutMs) override;

    // Tells all watches that this handle is closed; called after its descriptor has been let go. Any thread.
    static void noteClosed(SPW_Socket socket);

private:
    void openKernelWatch();
    void closeKernelWatch();
    bool attach(int descriptor, SPW_Socket socket);
    void takeClosed(SPW_Socket socket);
    void forgetClosed(SPW_Socket socket);

    SPW_CSocketTable& m_table;
    // Which sockets m_watched holds, and the next two, are changed by the watch's own thread under the lock of all
    // watches. noteClosed() reads them under it. wait() changes only the marks of m_watched, without the lock.
    SPW_CDescriptorPosix m_kernelWatch;  // without one it selects
    SPW_CDescriptorPosix m_wake;         // readable while one of the sockets is closed
    // Changed under the lock of all watches: by noteClosed(), which any thread may call, and by the watch's own thread.
    SPW_CSocketSet m_closed;
    std::atomic<bool> m_hasClosed{false};  // whether m_closed holds any; wait() reads it without the lock
    // Under the lock of all watches.
    SPW_CSocketWatchPosix* m_next = nullptr;
};
