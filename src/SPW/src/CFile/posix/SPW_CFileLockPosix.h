#pragma once

#include <sys/types.h>

// Linux lets every program write to, and delete, what another one has open. An advisory lock stands for the sharing
// rule of Windows among programs that take it, such as two of this one: one writer at a time, and no deleting
// meanwhile. It goes with the descriptor, also when its process dies. Any thread.
namespace SPW_CFileLockPosix {

// Opens the path as open() does, and locks what it finds there if that is a regular file. A file system that has no
// locks does without. The descriptor, or -1 with errno, which is EBUSY when another descriptor has the lock.
int openLocked(const char* path, int flags, mode_t mode);

}  // namespace SPW_CFileLockPosix
