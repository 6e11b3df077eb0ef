#pragma once

#include "Calls.h"

// The guest's threads: each is one of the host's, with a processor and a stack of its own.
namespace Threads {

// Before anything else here.
void prepare();
// Runs the guest's main thread on the calling one; what its start returned.
Word runMain(Word start, Word a, Word b, Word c, Word d);
// The calling thread's processor, or null.
Processor* current();
// Runs a function of the guest for the system that was called by the guest, below what is in use of its stack.
Word callBack(Word function, Word a, Word b, Word c, Word d);
// How much each thread has run and how deep its stack has got, for the journal.
void describe();
const SystemFunction* functions();

}  // namespace Threads
