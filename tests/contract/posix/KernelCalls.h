#pragma once

#include <sys/types.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <functional>

// Steps in front of the kernel's calls. The linker sends the program's calls here (--wrap). Between two of them a test
// can do what another thread would have to do in exactly that moment.
//
// Set before the threads that make the calls start; the destructor takes everything back.
class KernelCalls {
public:
    KernelCalls();
    ~KernelCalls();
    KernelCalls(const KernelCalls&) = delete;
    KernelCalls& operator=(const KernelCalls&) = delete;

    std::function<void()> beforeConnect;
    std::function<void()> beforeAccept;
    // After a connection has been accepted.
    std::function<void()> afterAccept;
    // Whether the kernel refuses the option.
    std::function<bool(int level, int option)> refusesOption;
    // errno with which the kernel refuses to watch one more socket, or 0.
    std::function<int()> watchRefusal;
    // Gives the message that recvmsg() receives and its size, 0 to let it ask the kernel, or -1 with errno. Queues of
    // errors are not asked for messages.
    std::function<ssize_t(void* buffer, std::size_t size)> message;
    // Nanoseconds by which a clock is ahead of the kernel's.
    std::function<std::int64_t(clockid_t clock)> clockAheadNs;
};
