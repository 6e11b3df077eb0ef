#pragma once

#include <atomic>

// An object that is made when it is first asked for, by whichever thread comes first.
//
// For members of objects with static storage: such an object can be constant-initialised and is then usable before
// main(), in whatever order the initialisers of other files run. Any thread may call get().
template <typename T>
class SPW_CLazy {
public:
    constexpr SPW_CLazy() = default;
    ~SPW_CLazy() { delete m_object.load(std::memory_order_acquire); }
    SPW_CLazy(const SPW_CLazy&) = delete;
    SPW_CLazy& operator=(const SPW_CLazy&) = delete;

    T& get() {
        T* object = m_object.load(std::memory_order_acquire);
        return object != nullptr ? *object : make();
    }

private:
    T& make() {
        T* mine = new T;
        T* first = nullptr;
        if (m_object.compare_exchange_strong(first, mine, std::memory_order_acq_rel)) {
            return *mine;
        }
        delete mine;  // another thread was faster, and its object may be in use already
        return *first;
    }

    std::atomic<T*> m_object{nullptr};
};
