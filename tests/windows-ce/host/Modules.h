#pragma once

#include "Calls.h"

// The program itself, other libraries, the system's version, and the end.
namespace Modules {

const SystemFunction* functions();

}  // namespace Modules
