#include <winsock.h>

#include <cstdlib>

#include <iphlpapi.h>

#include "SPW_CIcmp.h"
#include "SPW_CImmortal.h"
#include "SPW_CIpHelperW32.h"
#include "SPW_CLastCodeW32.h"
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

// Behind the data of a reply the platform wants room for an ICMP error, and newer ones for the state of the request: a
// number and a size, each as large as a pointer.
constexpr std::uint32_t kErrorRoom = 8;
constexpr std::uint32_t kStateRoom = 2 * sizeof(void*);

std::uint32_t failWith(SPW_Result code) {
    lastCode.value.set(code);
    return 0;
}

// One echo with a reply buffer that the platform will not refuse.
std::uint32_t echoInto(HANDLE service, const SPW_CIpAddress& address, const void* data, std::uint16_t dataSize,
                       void* reply, std::uint32_t replySize, std::uint32_t timeoutMs) {
    SendEchoFunction* const sendEcho = icmpSendEcho.get();
    if (sendEcho == nullptr) {
        return failWith(kSysNotSupported);
    }
    const DWORD replies = sendEcho(service, SPW_CSocketAddressW32::toNumber(address), const_cast<void*>(data), dataSize,
                                   nullptr, reply, replySize, timeoutMs == 0 ? 1 : timeoutMs);
    if (replies == 0) {
        return failWith(GetLastError());
    }
    // An answer that there will be no reply counts as a reply for the platform. Newer systems give that answer to
    // themselves when nobody on their own network has the address: every peer that is switched off would seem alive.
    const ULONG status = static_cast<const ICMP_ECHO_REPLY*>(reply)->Status;
    return status == IP_SUCCESS ? 1 : failWith(status);
}

class IcmpW32 final : public SPW_CIcmp {
public:
    constexpr IcmpW32() = default;

    SPW_Handle open() override {
        CreateFileFunction* const createFile = icmpCreateFile.get();
        if (createFile == nullptr) {
            (void)failWith(kSysNotSupported);
            return nullptr;
        }
        const HANDLE service = createFile();
        if (service == INVALID_HANDLE_VALUE || service == nullptr) {
            (void)failWith(GetLastError());
            return nullptr;
        }
        return service;
    }

    void close(SPW_Handle service) override {
        CloseHandleFunction* const closeHandle = icmpCloseHandle.get();
        if (service != nullptr && closeHandle != nullptr) {
            (void)closeHandle(service);
        }
    }

    std::uint32_t echo(SPW_Handle service, const SPW_CIpAddress& address, const void* data, std::uint16_t dataSize,
                       void* reply, std::uint32_t replySize, std::uint32_t timeoutMs) override {
        if (service == nullptr) {
            return failWith(kSysInvalidHandle);
        }
        if (replySize < kSmallestIcmpReply) {
            return failWith(kSysInsufficientBuffer);
        }
        const std::uint32_t needed = sizeof(ICMP_ECHO_REPLY) + dataSize + kErrorRoom + kStateRoom;
        if (replySize >= needed) {
            return echoInto(service, address, data, dataSize, reply, replySize, timeoutMs);
        }
        // The caller's rule for the size is of a time of smaller pointers.
        void* const own = std::malloc(needed);
        const std::uint32_t replies = own == nullptr
                                          ? failWith(kSysNotEnoughMemory)
                                          : echoInto(service, address, data, dataSize, own, needed, timeoutMs);
        std::free(own);
        return replies;
    }

    SPW_Result lastError() override { return lastCode.value.get(); }
};

SPW_CImmortal<IcmpW32> icmp;

}  // namespace

SPW_CIcmp* SPW_CIcmp::instance = &icmp.value;
