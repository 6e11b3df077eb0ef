#include <windows.h>

#include "SPW_CFileSys.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorW32.h"
#include "SPW_CWideW32.h"

namespace {

DWORD dispositionFor(SPW_CFileSys::Creation creation) {
    switch (creation) {
        case SPW_CFileSys::kOpenOrCreate:
            return OPEN_ALWAYS;
        case SPW_CFileSys::kCreateOrTruncate:
            return CREATE_ALWAYS;
        case SPW_CFileSys::kMustExist:
            break;
    }
    return OPEN_EXISTING;
}

DWORD methodFor(SPW_CFileSys::Origin origin) {
    switch (origin) {
        case SPW_CFileSys::kFromHere:
            return FILE_CURRENT;
        case SPW_CFileSys::kFromEnd:
            return FILE_END;
        case SPW_CFileSys::kFromBegin:
            break;
    }
    return FILE_BEGIN;
}

SPW_Result resultOf(BOOL succeeded) {
    return succeeded ? 0 : SPW_CSysErrorW32::fail();
}

std::uint64_t joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

}  // namespace

SPW_Result SPW_CFileSys::open(const SPW_CString& path, Access access, Creation creation, SPW_Handle& handle) {
    const DWORD rights = access == kRead ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    const DWORD share = access == kReadWriteShared ? FILE_SHARE_READ | FILE_SHARE_WRITE : FILE_SHARE_READ;
    const HANDLE file = CreateFileW(SPW_ToWide(path.text()), rights, share, nullptr, dispositionFor(creation),
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return SPW_CSysErrorW32::fail();
    }
    handle = file;
    return 0;
}

SPW_Result SPW_CFileSys::createUnique(const SPW_CString& directory, const char16_t* prefix, SPW_CString& path) {
    char16_t name[MAX_PATH];
    if (GetTempFileNameW(SPW_ToWide(directory.text()), SPW_ToWide(prefix), 0, SPW_ToWide(name)) == 0) {
        return SPW_CSysErrorW32::fail();
    }
    path = name;
    return 0;
}

SPW_Result SPW_CFileSys::close(SPW_Handle handle) {
    return resultOf(CloseHandle(handle));
}

SPW_Result SPW_CFileSys::read(SPW_Handle handle, void* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
    DWORD count = 0;
    const BOOL succeeded = ReadFile(handle, buffer, size, &count, nullptr);
    bytesRead = succeeded ? count : 0;
    return resultOf(succeeded);
}

SPW_Result SPW_CFileSys::write(SPW_Handle handle, const void* buffer, std::uint32_t size, std::uint32_t& written) {
    const char* const bytes = static_cast<const char*>(buffer);
    written = 0;
    while (written < size) {
        DWORD count = 0;
        const BOOL succeeded = WriteFile(handle, bytes + written, size - written, &count, nullptr);
        written += count;
        if (!succeeded) {
            return SPW_CSysErrorW32::fail();
        }
        if (count == 0) {
            // A pipe that does not wait is such a file. To ask it again and again would be to wait without an end.
            SPW_CSysErrorW32::setLast(kSysGeneralFailure);
            return kSysGeneralFailure;
        }
    }
    return 0;
}

SPW_Result SPW_CFileSys::flush(SPW_Handle handle) {
    return resultOf(FlushFileBuffers(handle));
}

SPW_Result SPW_CFileSys::getSize(SPW_Handle handle, std::uint64_t& bytes) {
    DWORD high = 0;
    SetLastError(NO_ERROR);
    const DWORD low = GetFileSize(handle, &high);
    // The value that means a failure may also be the lower half of a size.
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
        return SPW_CSysErrorW32::fail();
    }
    bytes = joined(high, low);
    return 0;
}

SPW_Result SPW_CFileSys::setSize(SPW_Handle handle, std::uint64_t bytes) {
    std::uint64_t position = 0;
    const SPW_Result moved = move(handle, kFromBegin, static_cast<std::int64_t>(bytes), position);
    return moved != 0 ? moved : resultOf(SetEndOfFile(handle));
}

SPW_Result SPW_CFileSys::move(SPW_Handle handle, Origin origin, std::int64_t distance, std::uint64_t& position) {
    LONG high = static_cast<LONG>(distance >> 32);
    SetLastError(NO_ERROR);
    const DWORD low = SetFilePointer(handle, static_cast<LONG>(distance), &high, methodFor(origin));
    if (low == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) {
        return SPW_CSysErrorW32::fail();
    }
    position = joined(static_cast<DWORD>(high), low);
    return 0;
}
