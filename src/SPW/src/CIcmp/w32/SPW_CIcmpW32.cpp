#include <winsock.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <iphlpapi.h>

#include "SPW_CCriticalSection.h"
#include "SPW_CIcmp.h"
#include "SPW_CImmortal.h"
#include "SPW_CIpHelperW32.h"
#include "SPW_CLastCodeW32.h"
#include "SPW_CLazy.h"
#include "SPW_CSocketAddressW32.h"
#include "SPW_CSysError.h"

namespace {

SPW_CImmortal<SPW_CLastCodeW32> lastCode;

typedef HANDLE WINAPI CreateFileFunction();
typedef BOOL WINAPI CloseHandleFunction(HANDLE service);
typedef DWORD WINAPI SendEchoFunction(HANDLE service, IPAddr address, void* data, WORD dataSize,
                                      IP_OPTION_INFORMATION* options, void* reply, DWORD replySize, DWORD timeoutMs);
SPW_CIpHelperW32::Function<CreateFileFunction> icmpCreateFile("IcmpCreateFile");
SPW_CIpHelperW32::Function<CloseHandleFunction> icmpCloseHandle("IcmpCloseHandle");
SPW_CIpHelperW32::Function<SendEchoFunction> icmpSendEcho("IcmpSendEcho");

// Behind the data of a reply the platform wants room for an ICMP error. Newer versions also want room for the state of
// the request: a number and a size, each as large as a pointer.
constexpr std::uint32_t kErrorRoom = 8;
constexpr std::uint32_t kStateRoom = 2 * sizeof(void*);

// The stack of the thread on which an echo waits.
[[maybe_unused]] constexpr std::size_t kEchoStackBytes = 256 * 1024;

constexpr std::int64_t kMsPerSecond = 1000;
constexpr std::int64_t kUsPerSecond = 1000000;
constexpr std::uint32_t kUsPerMs = 1000;

std::uint32_t failWith(SPW_Result code) {
    lastCode.value.set(code);
    return 0;
}

// Counts of the system's finest clock, and how many of them make a second; 0 without a clock that is finer than the
// platform's own record of an echo. A handheld has none.
#ifdef UNDER_CE
std::int64_t readCounter() {
    return 0;
}
std::int64_t countsPerSecond() {
    return 0;
}
#else
std::int64_t readCounter() {
    LARGE_INTEGER count = {};
    return QueryPerformanceCounter(&count) ? count.QuadPart : 0;
}
std::int64_t countsPerSecond() {
    LARGE_INTEGER count = {};
    return QueryPerformanceFrequency(&count) ? count.QuadPart : 0;
}
#endif

// A handle points at this. It lives until its owner has closed it and the last echo that was left has ended.
struct Service {
    HANDLE native = nullptr;
    HANDLE cancelled = nullptr;  // an event that stays set
    std::uint32_t users = 1;     // under the lock of LeftEchoes
};

// An echo that its caller may leave before it ends. The call of the platform's runs on a thread of the echo's own, and
// uses the buffers and the service until it returns. The data and room for the reply stand behind it.
struct Echo {
    Service* service;
    SendEchoFunction* call;
    IPAddr address;
    DWORD timeoutMs;
    std::uint32_t dataSize;
    std::uint32_t replySize;
    // What the call gave.
    DWORD replies;
    DWORD code;
    // How long it lasted, in counts of the system's finest clock.
    std::int64_t counts;
    HANDLE thread;
    Echo* next;

    char* data() { return reinterpret_cast<char*>(this + 1); }
    // As aligned as the echo itself.
    char* reply() { return data() + roundUp(dataSize); }
    static std::uint32_t roundUp(std::uint32_t size) { return (size + 15u) / 16u * 16u; }

    static Echo* make(const SPW_EchoRequest& request) {
        const std::uint32_t replySize = sizeof(ICMP_ECHO_REPLY) + request.dataSize + kErrorRoom + kStateRoom;
        Echo* const echo = static_cast<Echo*>(std::calloc(sizeof(Echo) + roundUp(request.dataSize) + replySize, 1));
        if (echo == nullptr) {
            return nullptr;
        }
        echo->address = SPW_CSocketAddressW32::toNumber(request.address);
        echo->timeoutMs = request.timeoutMs == 0 ? 1 : request.timeoutMs;
        echo->dataSize = request.dataSize;
        echo->replySize = replySize;
        if (request.dataSize > 0) {
            std::memcpy(echo->data(), request.data, request.dataSize);
        }
        return echo;
    }
    void destroy() {
        if (thread != nullptr) {
            (void)CloseHandle(thread);
        }
        std::free(this);
    }
    // Blocks until the platform has a reply or gives up.
    void run() {
        const std::int64_t begin = readCounter();
        replies =
            call(service->native, address, data(), static_cast<WORD>(dataSize), nullptr, reply(), replySize, timeoutMs);
        code = GetLastError();
        counts = readCounter() - begin;
    }
    bool hasEnded() const { return WaitForSingleObject(thread, 0) == WAIT_OBJECT_0; }
    // The number of replies as our callers know it. An answer that there will be no reply counts as a reply for the
    // platform. Newer systems give that answer to themselves when nobody on their own network has the address: every
    // peer that is switched off would seem alive.
    // Tells in `told` how a reply came.
    std::uint32_t result(SPW_EchoReply& told) {
        if (replies == 0) {
            return failWith(code);
        }
        const ICMP_ECHO_REPLY& record = *static_cast<const ICMP_ECHO_REPLY*>(static_cast<const void*>(reply()));
        if (record.Status != IP_SUCCESS) {
            return failWith(record.Status);
        }
        told.roundTripUs = roundTripUs(record.RoundTripTime);
        told.timeToLive = record.Options.Ttl;
        return 1;
    }
    // The platform counts whole milliseconds, or ticks of a clock that is coarser still.
    std::uint32_t roundTripUs(std::uint32_t platformMs) const {
        constexpr std::uint64_t kGreatest = 0xFFFFFFFFu;
        const std::int64_t perSecond = countsPerSecond();
        const std::uint64_t us = perSecond > kMsPerSecond && counts >= 0
                                     ? static_cast<std::uint64_t>(counts / perSecond * kUsPerSecond +
                                                                  counts % perSecond * kUsPerSecond / perSecond)
                                     : platformMs * std::uint64_t{kUsPerMs};
        return static_cast<std::uint32_t>(us < kGreatest ? us : kGreatest);
    }
};

DWORD WINAPI runEcho(void* echo) {
    static_cast<Echo*>(echo)->run();
    return 0;
}

// Puts the call on a thread of its own, which a cancel can leave. False on a handheld, whose threads are too few for
// that, and where no thread can be had: the call then runs on the caller's, and lasts as long as it lasts.
bool beginElsewhere(Echo* echo) {
#ifdef UNDER_CE
    (void)echo;
    (void)runEcho;
    return false;
#else
    DWORD id = 0;
    echo->thread = CreateThread(nullptr, kEchoStackBytes, runEcho, echo, STACK_SIZE_PARAM_IS_A_RESERVATION, &id);
    return echo->thread != nullptr;
#endif
}

// The echoes that were left when they were cancelled. No call ends an echo on every version of the platform. A service
// must not be closed while it is used. Wine loses some echoes that are begun without waiting, when there are many at
// once. Therefore each echo is kept until its reply or its time-out has come.
class LeftEchoes {
public:
    constexpr LeftEchoes() = default;

    void add(Echo* echo) {
        const SPW_CGuard guard(m_lock.get());
        ++echo->service->users;
        append(echo);
    }
    void release(Service* service) {
        const SPW_CGuard guard(m_lock.get());
        releaseLocked(service);
    }
    // Frees some of the echoes that have ended. It is called with every new service, and the number of ended echoes
    // stays small.
    void tidy() {
        const SPW_CGuard guard(m_lock.get());
        for (int i = 0; i < kTidiedAtOnce && m_first != nullptr; ++i) {
            Echo* const echo = m_first;
            m_first = echo->next;
            if (!echo->hasEnded()) {
                append(echo);
                continue;
            }
            releaseLocked(echo->service);
            echo->destroy();
        }
    }

private:
    static constexpr int kTidiedAtOnce = 4;

    void append(Echo* echo) {
        echo->next = nullptr;
        if (m_first == nullptr) {
            m_first = echo;
        } else {
            m_last->next = echo;
        }
        m_last = echo;
    }
    static void releaseLocked(Service* service) {
        if (--service->users > 0) {
            return;
        }
        CloseHandleFunction* const closeHandle = icmpCloseHandle.get();
        if (closeHandle != nullptr) {
            (void)closeHandle(service->native);
        }
        (void)CloseHandle(service->cancelled);
        delete service;
    }

    SPW_CLazy<SPW_CCriticalSection> m_lock;
    Echo* m_first = nullptr;
    Echo* m_last = nullptr;
};

SPW_CImmortal<LeftEchoes> leftEchoes;

// Ends when the platform's call ends, or leaves the call at a cancel.
std::uint32_t await(Echo* echo, SPW_EchoReply& reply) {
    if (beginElsewhere(echo)) {
        const HANDLE ends[] = {echo->thread, echo->service->cancelled};
        if (WaitForMultipleObjects(2, ends, FALSE, INFINITE) != WAIT_OBJECT_0) {
            leftEchoes.value.add(echo);
            return failWith(kSysOperationAborted);
        }
    } else {
        echo->run();
    }
    const std::uint32_t result = echo->result(reply);
    echo->destroy();
    return result;
}

class IcmpW32 final : public SPW_CIcmp {
public:
    constexpr IcmpW32() = default;

    SPW_Handle open() override {
        leftEchoes.value.tidy();
        CreateFileFunction* const createFile = icmpCreateFile.get();
        if (createFile == nullptr) {
            (void)failWith(kSysNotSupported);
            return nullptr;
        }
        Service* const service = new (std::nothrow) Service;
        const HANDLE cancelled = service == nullptr ? nullptr : CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (cancelled == nullptr) {
            (void)failWith(kSysNotEnoughMemory);
            delete service;
            return nullptr;
        }
        const HANDLE native = createFile();
        if (native == INVALID_HANDLE_VALUE || native == nullptr) {
            (void)failWith(GetLastError());
            (void)CloseHandle(cancelled);
            delete service;
            return nullptr;
        }
        service->native = native;
        service->cancelled = cancelled;
        return service;
    }

    void close(SPW_Handle service) override {
        if (service != nullptr) {
            leftEchoes.value.release(static_cast<Service*>(service));
        }
    }

    void cancel(SPW_Handle service) override {
        if (service != nullptr) {
            (void)SetEvent(static_cast<Service*>(service)->cancelled);  // the event is the service's own
        }
    }

    // What the platform wants of room for a reply differs from what the caller's rule gives, and a caller who leaves
    // takes its buffers along. So the platform never sees them.
    void echo(SPW_Handle service, const SPW_EchoRequest& request, SPW_EchoReply& reply) override {
        reply.count = countReplies(static_cast<Service*>(service), request, reply);
    }

    void lookAgain() override { SPW_CIpHelperW32::lookAgain(); }

    SPW_Result lastError() override { return lastCode.value.get(); }

private:
    std::uint32_t countReplies(Service* service, const SPW_EchoRequest& request, SPW_EchoReply& reply) {
        if (service == nullptr) {
            return failWith(kSysInvalidHandle);
        }
        if (reply.bufferSize < kSmallestIcmpReply) {
            return failWith(kSysInsufficientBuffer);
        }
        if (WaitForSingleObject(service->cancelled, 0) == WAIT_OBJECT_0) {
            return failWith(kSysOperationAborted);
        }
        SendEchoFunction* const sendEcho = icmpSendEcho.get();
        if (sendEcho == nullptr) {
            return failWith(kSysNotSupported);
        }
        Echo* const echo = Echo::make(request);
        if (echo == nullptr) {
            return failWith(kSysNotEnoughMemory);
        }
        echo->service = service;
        echo->call = sendEcho;
        return await(echo, reply);
    }
};

SPW_CImmortal<IcmpW32> icmp;

}  // namespace

SPW_CIcmp* SPW_CIcmp::instance = &icmp.value;
