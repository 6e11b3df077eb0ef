#pragma once

#include "SPW_CObject.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// The one vocabulary of error numbers that reach a log line, a status text or a report, on every
// platform: the Windows system and socket codes. A user looks up one kind of number for every device.
enum SPW_SysCode : SPW_Result {
    kSysOk = 0,
    kSysFileNotFound = 2,
    kSysPathNotFound = 3,
    kSysTooManyOpenFiles = 4,
    kSysAccessDenied = 5,
    kSysInvalidHandle = 6,
    kSysNotEnoughMemory = 8,
    kSysNotSameDevice = 17,
    kSysNoMoreFiles = 18,
    kSysWriteProtected = 19,
    kSysGeneralFailure = 31,
    kSysSharingViolation = 32,
    kSysEndOfFile = 38,
    kSysNotSupported = 50,
    kSysFileExists = 80,
    kSysInvalidParameter = 87,
    kSysBrokenPipe = 109,
    kSysBufferOverflow = 111,
    kSysDiskFull = 112,
    kSysInsufficientBuffer = 122,
    kSysNoSeek = 132,
    kSysDirNotEmpty = 145,
    kSysAlreadyExists = 183,
    kSysFilenameTooLong = 206,
    kSysNoData = 232,
    kSysMoreData = 234,
    kSysNoMoreItems = 259,
    kSysOperationAborted = 995,
    kSysRegistryCorrupt = 1009,
    kSysBadKey = 1010,
    kSysIoDevice = 1117,
    kSockInterrupted = 10004,
    kSockAccess = 10013,
    kSockFault = 10014,
    kSockInvalid = 10022,
    kSockTooManyFiles = 10024,
    kSockWouldBlock = 10035,
    kSockInProgress = 10036,
    kSockAlready = 10037,
    kSockNotSocket = 10038,
    kSockDestinationRequired = 10039,
    kSockMessageSize = 10040,
    kSockWrongProtocolType = 10041,
    kSockNoProtocolOption = 10042,
    kSockProtocolNotSupported = 10043,
    kSockTypeNotSupported = 10044,
    kSockNotSupported = 10045,
    kSockFamilyNotSupported = 10047,
    kSockAddressInUse = 10048,
    kSockAddressNotAvailable = 10049,
    kSockNetDown = 10050,
    kSockNetUnreachable = 10051,
    kSockNetReset = 10052,
    kSockAborted = 10053,
    kSockReset = 10054,
    kSockNoBuffers = 10055,
    kSockIsConnected = 10056,
    kSockNotConnected = 10057,
    kSockShutDown = 10058,
    kSockTimedOut = 10060,
    kSockRefused = 10061,
    kSockHostDown = 10064,
    kSockHostUnreachable = 10065,
    kSockHostNotFound = 11001,
    kIcmpNetUnreachable = 11002,
    kIcmpHostUnreachable = 11003,
    kIcmpProtocolUnreachable = 11004,
    kIcmpPortUnreachable = 11005,
    kIcmpPacketTooBig = 11009,
    kIcmpTimedOut = 11010,
    kIcmpTtlExpired = 11013,
};

// Texts of the vocabulary, and the last error of the calling thread. Any thread.
class SPW_CSysError : public SPW_CObject {
public:
    // The process-wide object; a test may put another in its place. Usable before main().
    static SPW_CSysError* instance;

    // A short English message for a code, the same on every platform, without a line end. For a code that the
    // vocabulary does not have: what the platform says in the user's language, where it knows the code, or else
    // "Unknown error " and the number in decimal.
    virtual SPW_CString text(SPW_Result code) = 0;
    // Code of the calling thread's latest failed file, directory, registry or module operation; success does not
    // clear it. 0 when the thread has had no failure yet.
    virtual SPW_Result last() = 0;
};
