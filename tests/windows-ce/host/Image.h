#pragma once

#include <windows.h>

#include <string>

#include "Guest.h"

// The guest's program file in memory, at the address that it wants, as the device's loader puts it there.
namespace Image {

// What the system calls the program itself; no address, as a handle need not be one.
constexpr Word kHandle = 0x8FAB1230;

// Loads the file, joins its imports and makes unwritable what is not to be written. Ends the host where it cannot.
void load(const std::wstring& path);

bool holds(Word address);
Word entry();
// How large the stack of a thread is.
Word stackSize();
// The file, and the name that it has on the device.
const std::wstring& path();
const std::wstring& devicePath();
// The host's handle for the program's resources.
HMODULE resources();

}  // namespace Image
