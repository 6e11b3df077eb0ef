#pragma once

#include <cstdint>

#include "SPW_CString.h"
#include "SPW_Types.h"

// What a platform half gives to SPW_CFile. Every function answers 0 or the platform's code in the vocabulary of
// SPW_CSysError.h, which is then the calling thread's last error as well. Any thread; one call at a time per handle.
// All of them wait for the device and nothing wakes them earlier; a signal does not cut them short.
namespace SPW_CFileSys {

// kAppend: as kReadWrite, and where the platform can, every write goes to where the file ends at that moment.
// kReadWriteShared: others may write to the file meanwhile, too.
enum Access { kRead, kReadWrite, kAppend, kReadWriteShared };
enum Creation { kMustExist, kOpenOrCreate, kCreateOrTruncate };
enum Origin { kFromBegin, kFromHere, kFromEnd };

// The value of a handle that is none, the same on every platform.
inline SPW_Handle invalidHandle() {
    return reinterpret_cast<SPW_Handle>(std::intptr_t{-1});
}

// Opens a file with normal attributes, shared with readers, and not handed on to programs that this one starts. A
// writer keeps away all other writers where the platform can, and everywhere those that open the file by this function.
// They get 32 (sharing violation), and the file stays as it is. Where the platform can, a reader keeps writers away,
// and gets 32 while the file is open for writing. The handle is set on success only.
[[nodiscard]] SPW_Result open(const SPW_CString& path, Access access, Creation creation, SPW_Handle& handle);

// Creates an empty file with a new name that starts with the prefix, and answers its path.
[[nodiscard]] SPW_Result createUnique(const SPW_CString& directory, const char16_t* prefix, SPW_CString& path);

// The handle is gone even when the answer is not 0.
[[nodiscard]] SPW_Result close(SPW_Handle handle);

// Reads up to `size` bytes; 0 bytes mean the end of the file, and stand there on failure.
[[nodiscard]] SPW_Result read(SPW_Handle handle, void* buffer, std::uint32_t size, std::uint32_t& bytesRead);

// Writes all bytes, in as few calls of the platform as it allows. written: how many are in the file, all unless it
// fails.
[[nodiscard]] SPW_Result write(SPW_Handle handle, const void* buffer, std::uint32_t size, std::uint32_t& written);

// Waits until the file's content is on the medium.
[[nodiscard]] SPW_Result flush(SPW_Handle handle);

[[nodiscard]] SPW_Result getSize(SPW_Handle handle, std::uint64_t& bytes);

// Ends the file after so many bytes and moves the file position there.
[[nodiscard]] SPW_Result setSize(SPW_Handle handle, std::uint64_t bytes);

// Moves the file position and answers where it is now, in bytes from the begin.
[[nodiscard]] SPW_Result move(SPW_Handle handle, Origin origin, std::int64_t distance, std::uint64_t& position);

}  // namespace SPW_CFileSys
