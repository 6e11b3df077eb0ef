#pragma once

#include "SPW_CString.h"

// The right to read the registry, for files that hold parts of it.
namespace SPW_CHiveRights {

// Gives the file's group and all others no right that they do not have to the hives of the current user and the local
// machine. Creates a missing file, empty. Does nothing for a device and on systems whose hives are not files. Returns
// false when the rights cannot be taken away. Threads: any.
bool limit(const SPW_CString& path);

}  // namespace SPW_CHiveRights
