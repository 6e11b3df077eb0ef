#pragma once

#include <functional>
#include <memory>
#include <string>

#include "SPW_CRegistrySys.h"
#include "SPW_CRegistryText.h"

// The files that hold the registry's hives. Every operation looks at the file and at the environment again, so that an
// edit by hand counts at once. Threads: any, in any number of processes.
//
// A file that cannot be parsed is never changed: operations return 1009. The user is told once for each state of the
// file, with the line of the mistake. A missing file is an empty hive.
namespace SPW_CHiveFilePosix {

// The path of the hive's file, which need not exist.
std::string path(SPW_CRegistrySys::Hive hive);

// Does not wait for edits of this program. A file that is empty or cannot be parsed, and has changed within the last
// moment, gets up to a tenth of a second: an editor may be writing it. `text` is null unless the result is 0.
SPW_Result read(SPW_CRegistrySys::Hive hive, std::shared_ptr<const SPW_CRegistryText>& text);

// Applies `change` to the text and writes the file if the text has changed. Edits of all threads and processes happen
// one after the other. The file is replaced in one step: no reader sees half of it. If a user edits the file meanwhile,
// `change` is called again with the new text.
//
// The function does not replace a file that may be half written. It waits up to three seconds for a file that is empty,
// or that others have written within the last three seconds. It returns 1009 if the file has not come to rest then,
// unless `change` has a code of its own. It returns 32 if others have held the lock for two seconds. It tells the user
// about both.
SPW_Result edit(SPW_CRegistrySys::Hive hive, const std::function<SPW_Result(SPW_CRegistryText&)>& change);

}  // namespace SPW_CHiveFilePosix
