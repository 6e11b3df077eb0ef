#pragma once

#include "SPW_CString.h"

// Who may read the registry, for files into which parts of it are copied.
namespace SPW_CHiveRights {

// Makes an empty file when there is none, and takes from its group and from all others what they may not do with a hive
// of the current user or the local machine. Nothing to do where hives are no files, and for a device. False when the
// rights cannot be taken away. Any thread.
bool limit(const SPW_CString& path);

}  // namespace SPW_CHiveRights
