#pragma once

#include "SPW_Types.h"

// How every posix half turns errno into a code of our vocabulary; no other file knows an errno mapping.
// Any thread; nothing here blocks or changes errno.
namespace SPW_CSysErrorPosix {

// The code for a failed file, directory, registry, module or memory call. 31 (general failure) for a value that
// has no entry, 0 for 0.
SPW_Result systemCode(int errnoValue);

// The code for a failed socket call. 10000 + errnoValue for a value that has no entry, 0 for 0.
SPW_Result socketCode(int errnoValue);

// Sets what SPW_CSysError::instance->last() answers on the calling thread.
void setLast(SPW_Result code);

// For the usual end of a failed system call: maps the present errno with systemCode, remembers it with setLast
// and returns it.
SPW_Result fail();

// The same after a call with a path, 8-bit and as the call had it: where nothing has that name, tells a missing
// directory on the way (3) from a missing last part (2), which errno does not.
SPW_Result failAtPath(const char* path);

}  // namespace SPW_CSysErrorPosix
