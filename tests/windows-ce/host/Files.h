#pragma once

#include "Calls.h"

// Files. The device's paths have no drive and no current folder; a name without a folder is in the root.
namespace Files {

const SystemFunction* functions();

}  // namespace Files
