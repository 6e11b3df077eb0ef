#include <cstdlib>
#include <new>

// C++ memory from the system's heap. Without exceptions, whoever cannot live without the memory ends the program.

namespace {

void* allocate(std::size_t size) {
    return std::malloc(size != 0 ? size : 1);
}

void* allocateOrEnd(std::size_t size) {
    void* const memory = allocate(size);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

}  // namespace

namespace std {

const nothrow_t nothrow{};

}  // namespace std

void* operator new(std::size_t size) {
    return allocateOrEnd(size);
}
void* operator new[](std::size_t size) {
    return allocateOrEnd(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
