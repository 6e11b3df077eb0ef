#pragma once

#include "SPW_Types.h"

// What a platform half gives to SPW_CSysError.
namespace SPW_CSysErrorSys {

// The code, in our vocabulary, of the calling thread's latest failed operation of the platform (sockets and
// echoes keep their own). 0 before the first failure. Never blocks; any thread.
SPW_Result last();

}  // namespace SPW_CSysErrorSys
