#pragma once

#include "Calls.h"

// What the guest reads from connections.
namespace Sockets {

const SystemFunction* functions();

}  // namespace Sockets
