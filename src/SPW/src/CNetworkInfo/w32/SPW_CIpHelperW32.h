#pragma once

// The functions of the platform's IP Helper interface, the echo service among them. Not every device has them, so they
// are looked up when they are needed and never let go. Any thread.
namespace SPW_CIpHelperW32 {

// Null when this device does not have it.
void* find(const char* function);

template <typename Function>
Function* find(const char* function) {
    return reinterpret_cast<Function*>(find(function));
}

}  // namespace SPW_CIpHelperW32
