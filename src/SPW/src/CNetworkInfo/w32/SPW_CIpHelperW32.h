#pragma once

#include <atomic>
#include <cstdint>

namespace SPW_CIpHelperW32 {

// Null when this device does not have the function. The library that has it stays loaded.
void* find(const char* function);

// The number of the current search. It changes with each lookAgain().
std::uint32_t searches();
// Starts a new search: what was not found so far is looked for once more.
void lookAgain();

// A function of the platform's IP Helper interface or of its echo service. Not every device has these functions, and
// each is looked up when it is first needed. A function that was found is not looked up again, because the platform
// counts how often a library is loaded, on older devices in 16 bits. A function that is missing is not looked for again
// until lookAgain(), because a search goes through the device's folders and every probe would begin with one.
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
    std::atomic<std::uint32_t> m_missedIn{0};  // the search in which it was missing
};

}  // namespace SPW_CIpHelperW32
