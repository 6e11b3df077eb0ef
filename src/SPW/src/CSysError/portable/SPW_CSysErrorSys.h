#pragma once

#include "SPW_CString.h"
#include "SPW_Types.h"

// What a platform half gives to SPW_CSysError.
namespace SPW_CSysErrorSys {

// The code, in our vocabulary, of the calling thread's latest failed operation of the platform (sockets and
// echoes keep their own). 0 before the first failure. Never blocks; any thread.
SPW_Result last();

// What the platform says of a code, without a line end; false, and text untouched, when it says nothing. Never blocks;
// any thread.
bool describe(SPW_Result code, SPW_CString& text);

}  // namespace SPW_CSysErrorSys
