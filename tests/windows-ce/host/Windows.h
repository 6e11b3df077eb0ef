#pragma once

#include "Calls.h"

// Dialogs and their resources, and what the handheld's shell does.
namespace Windows {

const SystemFunction* functions();

}  // namespace Windows
