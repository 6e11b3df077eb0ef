#pragma once

#include <functional>
#include <memory>
#include <string>

#include "SPW_CRegistrySys.h"
#include "SPW_CRegistryText.h"

// The files that hold the registry's hives. Every operation looks at the file as it is now, so that what somebody
// edits by hand counts at once; the environment is read anew as well. Any thread, any number of processes.
//
// A file that cannot be parsed is told to the user once for each of its changes, with the line, and is left alone:
// operations answer 1009. A file that is missing is an empty hive.
namespace SPW_CHiveFilePosix {

// Of the hive's file, which need not exist.
std::string path(SPW_CRegistrySys::Hive hive);

// Never waits for another edit. A file that makes no sense or is empty, and has changed this very moment, gets up to a
// tenth of a second: an editor may be writing it. The text is null unless the answer is 0.
SPW_Result read(SPW_CRegistrySys::Hive hive, std::shared_ptr<const SPW_CRegistryText>& text);

// Applies `change` to the text and writes the file when that has changed something. Edits of all threads and
// processes happen one after the other; the file is replaced in one step, so that nobody ever sees half of it. When
// somebody edits the file by hand meanwhile, `change` is called again, for the text as it is then.
//
// Nothing is replaced that may be half of what somebody is writing: a file that is empty, or that somebody other than
// this function has written within the last three seconds, is waited for, for so long. Code 1009 when it has not come
// to rest then, unless `change` has a code of its own; 32 when others have held the lock for two seconds. Both are told
// to the user.
SPW_Result edit(SPW_CRegistrySys::Hive hive, const std::function<SPW_Result(SPW_CRegistryText&)>& change);

}  // namespace SPW_CHiveFilePosix
