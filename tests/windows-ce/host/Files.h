#pragma once

#include "Calls.h"

// Files. The device's paths have no drive, and there is no current folder. A name without a folder means a file in the
// root.
namespace Files {

const SystemFunction* functions();

}  // namespace Files
