#pragma once

#include <cstdint>

// Result of an operation: 0 is success, anything else a code of the class's own family or of the
// vocabulary in SPW_CSysError.h.
typedef std::uint32_t SPW_Result;

// An object of the platform (thread, semaphore, event, file, registry key ...). Only the platform
// half that made it knows what it points at.
typedef void* SPW_Handle;

// "Wait without limit" for every time-out in milliseconds.
constexpr std::uint32_t kSPWForever = 0xFFFFFFFFu;
