#pragma once

#include "Calls.h"

// A heap that finds misuse by the guest. New memory holds one kind of rubbish, and freed memory holds another kind for
// a while. A write before or behind a block, or into a freed block, is a fault.
namespace Heap {

// Checks all blocks once more and writes the heap's figures into the journal.
void finish(Processor& processor);
const SystemFunction* functions();

}  // namespace Heap
