#pragma once

#include <atomic>
#include <cstdint>

namespace SPW_CIpHelperW32 {

// Null when this device does not have the function. The library that has it stays loaded.
void* find(const char* function);

// A number that changes with each lookAgain().
std::uint32_t searches();
// What was not found so far may be there now.
void lookAgain();

// A function of the platform's IP Helper interface, the echo service included. Not every device has them, so each is
// looked up when it is needed, and only until it is found: the platform counts how often a library is asked for, on
// older devices in 16 bits. One that is not there is not looked for again until lookAgain(): the search goes through
// the device's folders, and every probe would begin with it.
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
        const std::uint32_t search = searches();
        if (found == nullptr && m_missedIn.load(std::memory_order_relaxed) != search) {
            found = reinterpret_cast<Type*>(find(m_name));
            m_found.store(found, std::memory_order_relaxed);
            if (found == nullptr) {
                m_missedIn.store(search, std::memory_order_relaxed);
            }
        }
        return found;
    }

private:
    const char* m_name;
    std::atomic<Type*> m_found{nullptr};
    std::atomic<std::uint32_t> m_missedIn{0};  // the number of the search in which it was not there
};

}  // namespace SPW_CIpHelperW32
