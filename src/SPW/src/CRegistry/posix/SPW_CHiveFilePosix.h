#pragma once

#include <functional>
#include <memory>

#include "SPW_CRegistrySys.h"
#include "SPW_CRegistryText.h"

// The files that hold the registry's hives. Every operation looks at the file as it is now, so that what somebody
// edits by hand counts at once; the environment is read anew as well. Any thread, any number of processes.
//
// A file that cannot be parsed is told to the user once for each of its changes, with the line, and is left alone:
// operations answer 1009. A file that is missing is an empty hive.
namespace SPW_CHiveFilePosix {

// Never waits for a writer.
SPW_Result read(SPW_CRegistrySys::Hive hive, std::shared_ptr<const SPW_CRegistryText>& text);

// Applies `change` to the text and writes the file when that has changed something. Edits of all threads and
// processes happen one after the other; the file is replaced in one step, so that nobody ever sees half of it.
SPW_Result edit(SPW_CRegistrySys::Hive hive, const std::function<SPW_Result(SPW_CRegistryText&)>& change);

}  // namespace SPW_CHiveFilePosix
