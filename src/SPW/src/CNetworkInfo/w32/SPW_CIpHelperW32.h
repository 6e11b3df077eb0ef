#pragma once

#include <atomic>

namespace SPW_CIpHelperW32 {

// Null when this device does not have the function. The library that has it stays loaded.
void* find(const char* function);

// A function of the platform's IP Helper interface, the echo service included. Not every device has them, so each is
// looked up when it is needed, and only until it is found: the platform counts how often a library is asked for, on
// older devices in 16 bits.
//
// Constant-initialised; usable before main(). Any thread.
template <typename Type>
class Function {
public:
    explicit constexpr Function(const char* name) : m_name(name) {}
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;

    // Null when this device does not have it.
    Type* get() {
        Type* found = m_found.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = reinterpret_cast<Type*>(find(m_name));
            m_found.store(found, std::memory_order_relaxed);
        }
        return found;
    }

private:
    const char* m_name;
    std::atomic<Type*> m_found{nullptr};
};

}  // namespace SPW_CIpHelperW32
