#pragma once

#include <string>

// Asks the kernel for the driver of an interface ("e1000e", "veth"). Empty when there is no such interface or it has
// none. Any thread; sees the network namespace of its thread.
std::string SPW_InterfaceDriverPosix(const std::string& interfaceName);
