#include "SPW_CSysErrorPosix.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "SPW_CSysError.h"
#include "SPW_CSysErrorSys.h"

namespace {

// No entry in that family: the family's default rule holds.
constexpr SPW_Result kDefault = 0;

struct Row {
    int errnoValue;
    SPW_Result systemCode;
    SPW_Result socketCode;
};

// The one table from errno to the vocabulary, in the order of the numbers.
constexpr Row kTable[] = {
    // clang-format off
    {EPERM,           kSysAccessDenied,     kSockAccess},
    {ENOENT,          kSysFileNotFound,     kDefault},
    {EINTR,           kDefault,             kSockInterrupted},
    {EIO,             kSysIoDevice,         kDefault},
    {EBADF,           kSysInvalidHandle,    kSockNotSocket},
    {EAGAIN,          kDefault,             kSockWouldBlock},
    {ENOMEM,          kSysNotEnoughMemory,  kSockNoBuffers},
    {EACCES,          kSysAccessDenied,     kSockAccess},
    {EFAULT,          kSysInvalidParameter, kSockFault},
    {EBUSY,           kSysSharingViolation, kDefault},
    {EEXIST,          kSysAlreadyExists,    kDefault},
    {EXDEV,           kSysNotSameDevice,    kDefault},
    // Of a socket: an option names an interface that does not exist.
    {ENODEV,          kDefault,             kSockAddressNotAvailable},
    {ENOTDIR,         kSysPathNotFound,     kDefault},
    // To open a directory as a file is refused like a file without permission.
    {EISDIR,          kSysAccessDenied,     kDefault},
    {EINVAL,          kSysInvalidParameter, kSockInvalid},
    {ENFILE,          kSysTooManyOpenFiles, kSockTooManyFiles},
    {EMFILE,          kSysTooManyOpenFiles, kSockTooManyFiles},
    {ETXTBSY,         kSysSharingViolation, kDefault},
    {EFBIG,           kSysDiskFull,         kDefault},
    {ENOSPC,          kSysDiskFull,         kDefault},
    {ESPIPE,          kSysNoSeek,           kDefault},
    {EROFS,           kSysWriteProtected,   kDefault},
    // Of a socket: a send after the peer has reset the connection; our own closed handles never come this far.
    {EPIPE,           kSysBrokenPipe,       kSockReset},
    {ENAMETOOLONG,    kSysFilenameTooLong,  kDefault},
    {ENOSYS,          kSysNotSupported,     kSockNotSupported},
    {ENOTEMPTY,       kSysDirNotEmpty,      kDefault},
    {ENOTSOCK,        kSysInvalidHandle,    kSockNotSocket},
    {EDESTADDRREQ,    kDefault,             kSockDestinationRequired},
    {EMSGSIZE,        kDefault,             kSockMessageSize},
    {EPROTOTYPE,      kDefault,             kSockWrongProtocolType},
    {ENOPROTOOPT,     kDefault,             kSockNoProtocolOption},
    {EPROTONOSUPPORT, kDefault,             kSockProtocolNotSupported},
    {ESOCKTNOSUPPORT, kDefault,             kSockTypeNotSupported},
    {EOPNOTSUPP,      kSysNotSupported,     kSockNotSupported},
    {EAFNOSUPPORT,    kDefault,             kSockFamilyNotSupported},
    {EADDRINUSE,      kDefault,             kSockAddressInUse},
    {EADDRNOTAVAIL,   kDefault,             kSockAddressNotAvailable},
    {ENETDOWN,        kDefault,             kSockNetDown},
    {ENETUNREACH,     kDefault,             kSockNetUnreachable},
    {ENETRESET,       kDefault,             kSockNetReset},
    {ECONNABORTED,    kDefault,             kSockAborted},
    {ECONNRESET,      kDefault,             kSockReset},
    {ENOBUFS,         kSysNotEnoughMemory,  kSockNoBuffers},
    {EISCONN,         kDefault,             kSockIsConnected},
    {ENOTCONN,        kDefault,             kSockNotConnected},
    {ESHUTDOWN,       kDefault,             kSockShutDown},
    {ETIMEDOUT,       kDefault,             kSockTimedOut},
    {ECONNREFUSED,    kDefault,             kSockRefused},
    {EHOSTDOWN,       kDefault,             kSockHostDown},
    {EHOSTUNREACH,    kDefault,             kSockHostUnreachable},
    {EALREADY,        kDefault,             kSockAlready},
    {EINPROGRESS,     kDefault,             kSockInProgress},
    {EDQUOT,          kSysDiskFull,         kDefault},
    // clang-format on
};

constexpr SPW_Result kSocketBase = 10000;

thread_local SPW_Result lastCode = kSysOk;

const Row* findRow(int errnoValue) {
    for (const Row& row : kTable) {
        if (row.errnoValue == errnoValue) {
            return &row;
        }
    }
    return nullptr;
}

// Leaves errno alone.
bool parentExists(const char* path) {
    const char* lastSlash = std::strrchr(path, '/');
    if (lastSlash == nullptr || lastSlash == path) {
        return true;
    }
    const int errnoValue = errno;
    const std::string parent(path, lastSlash);
    const bool exists = ::access(parent.c_str(), F_OK) == 0;
    errno = errnoValue;
    return exists;
}

}  // namespace

SPW_Result SPW_CSysErrorPosix::systemCode(int errnoValue) {
    if (errnoValue == 0) {
        return kSysOk;
    }
    const Row* row = findRow(errnoValue);
    return row != nullptr && row->systemCode != kDefault ? row->systemCode
                                                         : static_cast<SPW_Result>(kSysGeneralFailure);
}

SPW_Result SPW_CSysErrorPosix::socketCode(int errnoValue) {
    if (errnoValue == 0) {
        return kSysOk;
    }
    const Row* row = findRow(errnoValue);
    return row != nullptr && row->socketCode != kDefault ? row->socketCode
                                                         : kSocketBase + static_cast<SPW_Result>(errnoValue);
}

void SPW_CSysErrorPosix::setLast(SPW_Result code) {
    lastCode = code;
}

SPW_Result SPW_CSysErrorPosix::fail() {
    lastCode = systemCode(errno);
    return lastCode;
}

SPW_Result SPW_CSysErrorPosix::failAtPath(const char* path) {
    if (errno == ENOENT && !parentExists(path)) {
        lastCode = kSysPathNotFound;
        return lastCode;
    }
    return fail();
}

SPW_Result SPW_CSysErrorSys::last() {
    return lastCode;
}

// The kernel's own numbers are not those of the vocabulary.
bool SPW_CSysErrorSys::describe(SPW_Result, SPW_CString&) {
    return false;
}
