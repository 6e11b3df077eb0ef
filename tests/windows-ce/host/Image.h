#pragma once

#include <windows.h>

#include <string>

#include "Guest.h"

// The guest's program file in memory, at the address for which it was linked. A device's loader puts it there, too.
namespace Image {

// The program's own handle. It is not an address, because a handle need not be one.
constexpr Word kHandle = 0x8FAB1230;

// Loads the file, joins its imports and protects the sections that are not to be written. Ends the host where it
// cannot.
void load(const std::wstring& path);

bool holds(Word address);
Word entry();
// The size of a thread's stack, in bytes.
Word stackSize();
// The file, and the name that it has on the device.
const std::wstring& path();
const std::wstring& devicePath();
// The host's handle for the program's resources.
HMODULE resources();

}  // namespace Image
