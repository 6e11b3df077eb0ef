#pragma once

#include "Calls.h"

// C functions that need a look: their formats, and the standard files.
namespace CLibrary {

const SystemFunction* functions();

}  // namespace CLibrary
