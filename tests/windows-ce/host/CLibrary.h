#pragma once

#include "Calls.h"

// C functions whose formats are checked, the standard files, and the tick count.
namespace CLibrary {

const SystemFunction* functions();

}  // namespace CLibrary
