#pragma once

#include "SPW_Types.h"

// What the Windows halves of other classes share about errors. The platform's numbers are the vocabulary's.
namespace SPW_CSysErrorW32 {

// Keeps the code for SPW_CSysError::last() of the calling thread.
void setLast(SPW_Result code);

// Keeps the platform's code of the failed call that the calling thread has just made, and answers it.
SPW_Result fail();

}  // namespace SPW_CSysErrorW32
