#pragma once

#include <string>

#include "Processor.h"

// The system's functions. The guest's calls of them arrive here by name. The words of the arguments are the same in the
// guest's convention and in the host's own, so most functions are those of the host's libraries as they are. The others
// are tables of SystemFunction in the files beside this one.

// The arguments' words; the result's, of which a guest that expects only one looks at the lower.
using Implementation = std::uint64_t(Processor& processor, const Word* arguments);

struct SystemFunction {
    const char* name;  // null behind the last of a table
    Implementation* function;
};

// The address by which the guest calls this function of the library. Before the guest runs, or from its main thread.
Word addCall(const std::string& library, const std::string& name);
// The guest has come to such an address. Its arguments are where the convention says, and so is then the result.
void enterCall(Processor& processor, Word address);
// Calls a function of the host's with so many of the words as it wants.
std::uint64_t callHost(const void* function, const Word* arguments);
// How often each function was called, for the journal.
void describeCalls();
