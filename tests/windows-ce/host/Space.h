#pragma once

#include "Calls.h"

// The addresses of a process. Windows CE gives each process 32 MB; the program, the stacks of its threads and its heap
// share them. The option space=N makes them N megabytes. Any thread.
namespace Space {

// Answers false, and takes nothing, where fewer bytes are left.
bool take(Word bytes);
void give(Word bytes);
// Writes into the journal how much was in use at most.
void describe();
// The functions by which the guest reserves addresses itself.
const SystemFunction* functions();

}  // namespace Space
