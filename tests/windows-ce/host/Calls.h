#pragma once

#include <string>

#include "Processor.h"

// The system's functions. The guest calls them by name. The words of the arguments are the same in the guest's and in
// the host's convention. Therefore most calls go straight to the host's libraries. The other functions are in tables of
// SystemFunction in the files beside this one.

// Takes the words of the arguments and answers the two words of the result. A guest that expects one word reads the
// lower one.
using Implementation = std::uint64_t(Processor& processor, const Word* arguments);

struct SystemFunction {
    const char* name;  // null behind the last of a table
    Implementation* function;
};

// The address by which the guest calls this function of the library. Called before the guest runs, or on its main
// thread.
Word addCall(const std::string& library, const std::string& name);
// The guest has jumped to such an address. The arguments are read, and the result is stored, where the convention says.
void enterCall(Processor& processor, Word address);
// Calls a function of the host's. It reads as many of the words as it needs.
std::uint64_t callHost(const void* function, const Word* arguments);
// Writes into the journal how often each function was called.
void describeCalls();
