#include "SPW_CSysError.h"

#include "SPW_CSysErrorSys.h"

namespace {

struct CodeText {
    SPW_SysCode code;
    const char16_t* text;
};

constexpr CodeText kTexts[] = {
    {kSysOk, u"Success"},
    {kSysFileNotFound, u"File not found"},
    {kSysPathNotFound, u"Path not found"},
    {kSysTooManyOpenFiles, u"Too many files are open"},
    {kSysAccessDenied, u"Access denied"},
    {kSysInvalidHandle, u"The handle is not valid"},
    {kSysNotEnoughMemory, u"Not enough memory"},
    {kSysNotSameDevice, u"Source and target are on different devices"},
    {kSysNoMoreFiles, u"No more files"},
    {kSysWriteProtected, u"The medium is write-protected"},
    {kSysGeneralFailure, u"General failure"},
    {kSysSharingViolation, u"The file is in use"},
    {kSysEndOfFile, u"End of the file"},
    {kSysNotSupported, u"Not supported"},
    {kSysFileExists, u"The file exists already"},
    {kSysInvalidParameter, u"Invalid parameter"},
    {kSysBrokenPipe, u"The other end of the pipe is closed"},
    {kSysBufferOverflow, u"The name does not fit the buffer"},
    {kSysDiskFull, u"The disk is full"},
    {kSysInsufficientBuffer, u"The buffer is too small"},
    {kSysNoSeek, u"The device has no file position"},
    {kSysDirNotEmpty, u"The directory is not empty"},
    {kSysAlreadyExists, u"The object exists already"},
    {kSysFilenameTooLong, u"The file name is too long"},
    {kSysMoreData, u"More data is available"},
    {kSysNoMoreItems, u"No more items"},
    {kSysRegistryCorrupt, u"The registry is damaged"},
    {kSysBadKey, u"The registry key is not valid"},
    {kSysIoDevice, u"Input or output error of the device"},
    {kSockInterrupted, u"The call was interrupted"},
    {kSockAccess, u"Access to the socket denied"},
    {kSockFault, u"Bad address of a socket buffer"},
    {kSockInvalid, u"Invalid argument of a socket call"},
    {kSockTooManyFiles, u"Too many sockets are open"},
    {kSockWouldBlock, u"The socket call would block"},
    {kSockInProgress, u"A socket call is in progress"},
    {kSockAlready, u"The socket call is already in progress"},
    {kSockNotSocket, u"Not a socket"},
    {kSockDestinationRequired, u"A destination address is required"},
    {kSockMessageSize, u"The message is too long"},
    {kSockWrongProtocolType, u"Wrong protocol for the type of socket"},
    {kSockNoProtocolOption, u"Unknown socket option"},
    {kSockProtocolNotSupported, u"The protocol is not supported"},
    {kSockTypeNotSupported, u"The type of socket is not supported"},
    {kSockNotSupported, u"The socket does not support the operation"},
    {kSockFamilyNotSupported, u"The address family is not supported"},
    {kSockAddressInUse, u"The address is in use"},
    {kSockAddressNotAvailable, u"The address is not available"},
    {kSockNetDown, u"The network is down"},
    {kSockNetUnreachable, u"The network is unreachable"},
    {kSockNetReset, u"The network dropped the connection"},
    {kSockAborted, u"The connection was aborted"},
    {kSockReset, u"The peer reset the connection"},
    {kSockNoBuffers, u"No room in the network buffers"},
    {kSockIsConnected, u"The socket is connected already"},
    {kSockNotConnected, u"The socket is not connected"},
    {kSockShutDown, u"The socket has been shut down"},
    {kSockTimedOut, u"The connection timed out"},
    {kSockRefused, u"The connection was refused"},
    {kSockHostDown, u"The host is down"},
    {kSockHostUnreachable, u"The host is unreachable"},
    {kSockHostNotFound, u"Host not found"},
    {kIcmpNetUnreachable, u"The echo request did not reach the network"},
    {kIcmpHostUnreachable, u"The echo request did not reach the host"},
    {kIcmpProtocolUnreachable, u"The host does not answer echo requests"},
    {kIcmpPortUnreachable, u"The host refused the echo request"},
    {kIcmpPacketTooBig, u"The echo request is too large for the way to the host"},
    {kIcmpTimedOut, u"The echo request timed out"},
    {kIcmpTtlExpired, u"The echo request passed too many routers"},
};

class SystemErrors : public SPW_CSysError {
public:
    SPW_CString text(SPW_Result code) override {
        for (const CodeText& entry : kTexts) {
            if (entry.code == code) {
                return entry.text;
            }
        }
        SPW_CString unknown(u"Unknown error ");
        unknown.append(static_cast<unsigned long>(code));
        return unknown;
    }

    SPW_Result last() override { return SPW_CSysErrorSys::last(); }
};

SystemErrors systemErrors;

}  // namespace

SPW_CSysError* SPW_CSysError::instance = &systemErrors;
