#include <atomic>
#include <cstdlib>
#include <new>

// C++ memory from the system's heap. There are no exceptions. A program that gets no memory ends, unless it has named a
// function that is called before.

namespace {

void* allocate(std::size_t size) {
    return std::malloc(size != 0 ? size : 1);
}

std::atomic<std::new_handler> newHandler{nullptr};

void* allocateOrEnd(std::size_t size) {
    for (;;) {
        void* const memory = allocate(size);
        if (memory != nullptr) {
            return memory;
        }
        const std::new_handler handler = newHandler;
        if (handler == nullptr) {
            std::abort();
        }
        handler();
    }
}

}  // namespace

namespace std {

const nothrow_t nothrow{};

new_handler set_new_handler(new_handler handler) noexcept {
    return newHandler.exchange(handler);
}

new_handler get_new_handler() noexcept {
    return newHandler;
}

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
