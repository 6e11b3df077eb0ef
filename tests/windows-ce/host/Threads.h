#pragma once

#include "Calls.h"

// The guest's threads. Each is a thread of the host's, with a processor and a stack of its own.
namespace Threads {

// Called before all else here.
void prepare();
// Runs the guest's main thread on the calling thread. Answers what the start function returned.
Word runMain(Word start, Word a, Word b, Word c, Word d);
// The calling thread's processor, or null.
Processor* current();
// Runs a function of the guest that the system calls back. The guest is inside a call of the system's, and the function
// uses the free part of the same stack.
Word callBack(Word function, Word a, Word b, Word c, Word d);
// Writes into the journal how much each thread has run and how deep its stack has become.
void describe();
const SystemFunction* functions();

}  // namespace Threads
