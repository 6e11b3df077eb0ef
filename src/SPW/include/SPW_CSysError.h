#pragma once

#include "SPW_CObject.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// The one vocabulary of error numbers that reach a log line, a status text or a report, on every
// platform: the Windows system and socket codes.
enum SPW_SysCode : SPW_Result {
    kSysOk = 0,
    kSysFileNotFound = 2,
    kSysPathNotFound = 3,
    kSysTooManyOpenFiles = 4,
    kSysAccessDenied = 5,
    kSysInvalidHandle = 6,
    kSysNotEnoughMemory = 8,
    kSysNoMoreFiles = 18,
    kSysGeneralFailure = 31,
    kSysSharingViolation = 32,
    kSysNotSupported = 50,
    kSysFileExists = 80,
    kSysInvalidParameter = 87,
    kSysBufferOverflow = 111,
    kSysDiskFull = 112,
    kSysInsufficientBuffer = 122,
    kSysDirNotEmpty = 145,
    kSysAlreadyExists = 183,
    kSysFilenameTooLong = 206,
    kSysMoreData = 234,
    kSysNoMoreItems = 259,
    kSysRegistryCorrupt = 1009,
    kSysBadKey = 1010,
    kSockInterrupted = 10004,
    kSockAccess = 10013,
    kSockFault = 10014,
    kSockInvalid = 10022,
    kSockTooManyFiles = 10024,
    kSockWouldBlock = 10035,
    kSockInProgress = 10036,
    kSockAlready = 10037,
    kSockNotSocket = 10038,
    kSockMessageSize = 10040,
    kSockNoProtocolOption = 10042,
    kSockNotSupported = 10045,
    kSockAddressInUse = 10048,
    kSockAddressNotAvailable = 10049,
    kSockNetDown = 10050,
    kSockNetUnreachable = 10051,
    kSockReset = 10054,
    kSockNoBuffers = 10055,
    kSockNotConnected = 10057,
    kSockShutDown = 10058,
    kSockTimedOut = 10060,
    kSockRefused = 10061,
    kSockHostUnreachable = 10065,
    kSockHostNotFound = 11001,
    kIcmpTimedOut = 11010,
};

// Texts of the vocabulary. Reached through `instance`. Any thread.
class SPW_CSysError : public SPW_CObject {
public:
    static SPW_CSysError* instance;
    // The system's message for a code; "Unknown error" + number where there is none.
    virtual SPW_CString text(SPW_Result code) = 0;
    // Code of the calling thread's latest failed file, directory, registry or module operation.
    virtual SPW_Result last() = 0;
};
