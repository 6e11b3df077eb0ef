#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>

#include "SPW_CMemory.h"
#include "SPW_CObject.h"

// Reports a failed index check as a fatal assertion (SPW_CError::report). Returns only when the
// reporter is set not to end the program. `condition` is the text of the check; `line` is a fixed number of the
// check, not where it stands today: users find their old reports by it.
void SPW_CArrayIndexFailed(const char* condition, int line, const char* method);

// The framework's one container: a growable array of elements held by value.
//
// T needs a default constructor, a copy assignment and a destructor. Elements move by assignment,
// never as raw memory: many, such as strings, point into themselves. All slots of the storage, used or not, hold
// living elements; one that is removed lives on in its slot until another is assigned there or the array ends.
//
// An index that is out of range is a fatal assertion. Where the reporter is set not to end the program, the operation
// goes on; it then touches the addressed slot, or a spare one in place of a slot outside the storage.
//
// An array that got no memory holds nothing. The first use of its storage, and a growth that gets none, end the program
// as SPW_CMemory says.
//
// Indexes and counts are in elements. A reference to an element holds until the next insertion.
// Threads: an object belongs to one thread at a time, or its owner locks.
template <typename T>
class SPW_CArray : public SPW_CObject {
public:
    // Slots of an array at first. A full array doubles them; it never shrinks.
    static constexpr int kFirstCapacity = 8;

    SPW_CArray() : m_elements(newSlots(kFirstCapacity)), m_numberOfElements(0), m_capacity(kFirstCapacity) {}

    // Takes the elements, not the capacity of the other.
    SPW_CArray(const SPW_CArray& other) : SPW_CArray() { appendAll(other); }

    // Keeps the storage and its capacity.
    SPW_CArray& operator=(const SPW_CArray& other) {
        if (this != &other) {
            m_numberOfElements = 0;
            appendAll(other);
        }
        return *this;
    }

    ~SPW_CArray() override { delete[] m_elements; }

    // index: 0 to numberOfElements() - 1.
    T& operator[](int index) {
        checkElement(index);
        return slot(index);
    }
    const T& operator[](int index) const {
        checkElement(index);
        return slot(index);
    }

    // Inserts a copy before the element at index; index numberOfElements() appends. The element may be one of this
    // array.
    void insertElementAt(int index, const T& element) {
        if (index < 0 || index > m_numberOfElements) {
            SPW_CArrayIndexFailed("index >= 0 && index <= m_numberOfElements", 133, "insertElementAt");
        }
        if (isOwn(element)) {
            T copy{};
            copy = element;
            insertChecked(index, copy);
        } else {
            insertChecked(index, element);
        }
    }

    // index: 0 to numberOfElements() - 1. With any other index the count decreases all the same, but never below 0.
    void removeElementAt(int index) {
        if (index < 0 || index >= m_numberOfElements) {
            SPW_CArrayIndexFailed("index >= 0 && index < m_numberOfElements", 153, "removeElementAt");
        }
        // As if the index were valid: the elements behind it move down by one, all of them when it is below 0.
        for (int k = std::max(index, 0); k < m_numberOfElements - 1; ++k) {
            m_elements[k] = m_elements[k + 1];
        }
        m_numberOfElements = std::max(m_numberOfElements - 1, 0);
    }

    void append(const T& element) { insertElementAt(m_numberOfElements, element); }
    // Forgets all elements; storage and capacity stay.
    void clear() { m_numberOfElements = 0; }
    int numberOfElements() const { return m_numberOfElements; }
    int capacity() const { return m_capacity; }

private:
    // One slot more than the capacity: the spare one.
    static T* newSlots(int capacity) { return new (std::nothrow) T[static_cast<std::size_t>(capacity) + 1](); }

    void checkElement(int index) const {
        if (index < 0 || index >= m_numberOfElements) {
            SPW_CArrayIndexFailed("index >= 0 && index < m_numberOfElements", 83, "operator []");
        }
    }

    T& slot(int index) const {
        if (m_elements == nullptr) {
            SPW_CMemory::exhausted();
        }
        return m_elements[index >= 0 && index < m_capacity ? index : m_capacity];
    }

    bool isOwn(const T& element) const {
        const std::less<const T*> before;
        return m_elements != nullptr && !before(&element, m_elements) && before(&element, m_elements + m_capacity + 1);
    }

    void appendAll(const SPW_CArray& other) {
        for (int i = 0; i < other.m_numberOfElements; ++i) {
            append(other.m_elements[i]);
        }
    }

    void growIfFull() {
        if (m_numberOfElements < m_capacity) {
            return;
        }
        T* const slots = newSlots(m_capacity * 2);
        if (slots == nullptr) {
            SPW_CMemory::exhausted();
        }
        std::copy(m_elements, m_elements + m_numberOfElements, slots);
        delete[] m_elements;
        m_elements = slots;
        m_capacity *= 2;
    }

    void insertChecked(int index, const T& element) {
        growIfFull();
        for (int k = m_numberOfElements; k > index && k >= 0; --k) {
            m_elements[k] = slot(k - 1);
        }
        slot(index) = element;
        ++m_numberOfElements;
    }

    T* m_elements;
    std::int32_t m_numberOfElements;
    std::int32_t m_capacity;
};
