#include "SPW_CSysError.h"

#include "SPW_CImmortal.h"
#include "SPW_CSysErrorSys.h"

namespace {

// Null for a code outside the vocabulary. With a switch the compiler demands a text for every code.
const char16_t* find(SPW_SysCode code) {
    switch (code) {
        case kSysOk:
            return u"Success";
        case kSysFileNotFound:
            return u"File not found";
        case kSysPathNotFound:
            return u"Path not found";
        case kSysTooManyOpenFiles:
            return u"Too many files are open";
        case kSysAccessDenied:
            return u"Access denied";
        case kSysInvalidHandle:
            return u"The handle is not valid";
        case kSysNotEnoughMemory:
            return u"Not enough memory";
        case kSysNotSameDevice:
            return u"Source and target are on different devices";
        case kSysNoMoreFiles:
            return u"No more files";
        case kSysWriteProtected:
            return u"The medium is write-protected";
        case kSysGeneralFailure:
            return u"General failure";
        case kSysSharingViolation:
            return u"The file is in use";
        case kSysEndOfFile:
            return u"End of the file";
        case kSysNotSupported:
            return u"Not supported";
        case kSysFileExists:
            return u"The file exists already";
        case kSysInvalidParameter:
            return u"Invalid parameter";
        case kSysBrokenPipe:
            return u"The other end of the pipe is closed";
        case kSysBufferOverflow:
            return u"The name does not fit the buffer";
        case kSysDiskFull:
            return u"The disk is full";
        case kSysInsufficientBuffer:
            return u"The buffer is too small";
        case kSysNoSeek:
            return u"The device has no file position";
        case kSysDirNotEmpty:
            return u"The directory is not empty";
        case kSysAlreadyExists:
            return u"The object exists already";
        case kSysFilenameTooLong:
            return u"The file name is too long";
        case kSysNoData:
            return u"There is no data";
        case kSysMoreData:
            return u"More data is available";
        case kSysNoMoreItems:
            return u"No more items";
        case kSysOperationAborted:
            return u"The operation was ended before its time";
        case kSysRegistryCorrupt:
            return u"The registry is damaged";
        case kSysBadKey:
            return u"The registry key is not valid";
        case kSysIoDevice:
            return u"Input or output error of the device";
        case kSockInterrupted:
            return u"The call was interrupted";
        case kSockAccess:
            return u"Access to the socket denied";
        case kSockFault:
            return u"Bad address of a socket buffer";
        case kSockInvalid:
            return u"Invalid argument of a socket call";
        case kSockTooManyFiles:
            return u"Too many sockets are open";
        case kSockWouldBlock:
            return u"The socket call would block";
        case kSockInProgress:
            return u"A socket call is in progress";
        case kSockAlready:
            return u"The socket call is already in progress";
        case kSockNotSocket:
            return u"Not a socket";
        case kSockDestinationRequired:
            return u"A destination address is required";
        case kSockMessageSize:
            return u"The message is too long";
        case kSockWrongProtocolType:
            return u"Wrong protocol for the type of socket";
        case kSockNoProtocolOption:
            return u"Unknown socket option";
        case kSockProtocolNotSupported:
            return u"The protocol is not supported";
        case kSockTypeNotSupported:
            return u"The type of socket is not supported";
        case kSockNotSupported:
            return u"The socket does not support the operation";
        case kSockFamilyNotSupported:
            return u"The address family is not supported";
        case kSockAddressInUse:
            return u"The address is in use";
        case kSockAddressNotAvailable:
            return u"The address is not available";
        case kSockNetDown:
            return u"The network is down";
        case kSockNetUnreachable:
            return u"The network is unreachable";
        case kSockNetReset:
            return u"The network dropped the connection";
        case kSockAborted:
            return u"The connection was aborted";
        case kSockReset:
            return u"The peer reset the connection";
        case kSockNoBuffers:
            return u"No room in the network buffers";
        case kSockIsConnected:
            return u"The socket is connected already";
        case kSockNotConnected:
            return u"The socket is not connected";
        case kSockShutDown:
            return u"The socket has been shut down";
        case kSockTimedOut:
            return u"The connection timed out";
        case kSockRefused:
            return u"The connection was refused";
        case kSockHostDown:
            return u"The host is down";
        case kSockHostUnreachable:
            return u"The host is unreachable";
        case kSockHostNotFound:
            return u"Host not found";
        case kIcmpNetUnreachable:
            return u"The echo request did not reach the network";
        case kIcmpHostUnreachable:
            return u"The echo request did not reach the host";
        case kIcmpProtocolUnreachable:
            return u"The host does not answer echo requests";
        case kIcmpPortUnreachable:
            return u"The host refused the echo request";
        case kIcmpPacketTooBig:
            return u"The echo request is too large for the way to the host";
        case kIcmpTimedOut:
            return u"The echo request timed out";
        case kIcmpTtlExpired:
            return u"The echo request passed too many routers";
    }
    return nullptr;
}

class SystemErrors : public SPW_CSysError {
public:
    SPW_CString text(SPW_Result code) override {
        const char16_t* known = find(static_cast<SPW_SysCode>(code));
        if (known != nullptr) {
            return known;
        }
        SPW_CString text;
        if (!SPW_CSysErrorSys::describe(code, text)) {
            text = u"Unknown error ";
            text.append(static_cast<unsigned long>(code));
        }
        return text;
    }

    SPW_Result last() override { return SPW_CSysErrorSys::last(); }
};

SPW_CImmortal<SystemErrors> systemErrors;

}  // namespace

SPW_CSysError* SPW_CSysError::instance = &systemErrors.value;
