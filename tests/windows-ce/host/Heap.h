#pragma once

#include "Calls.h"

// A heap that finds what the guest does wrong with it. New memory holds rubbish, freed memory other rubbish for a
// while, and nobody may write before or behind a block, or into one that is freed.
namespace Heap {

// The last look, and what the heap has come to, for the journal.
void finish(Processor& processor);
const SystemFunction* functions();

}  // namespace Heap
