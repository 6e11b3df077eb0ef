#pragma once

#include <cstddef>

// The system calls of Linux that the emulated program needs. Negative results are errors.
namespace Kernel {

int open(const char* path);
int read(int file, void* buffer, std::size_t size);
int write(int file, const void* bytes, std::size_t size);
void close(int file);
[[noreturn]] void exit(int code);
int fork();
// The exit code of a child, or 128 when it was killed.
int waitFor(int process);
// Memory that is filled with zeros, at the given address or, for null, anywhere. Null where there is none.
void* map(void* place, std::size_t size);

}  // namespace Kernel
