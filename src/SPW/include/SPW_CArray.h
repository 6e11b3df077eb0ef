#pragma once

#include <cstdint>

#include "SPW_CObject.h"

// Reports a failed index check as a fatal assertion (SPW_CError::report). Returns only when the
// reporter is set not to end the program.
void SPW_CArrayIndexFailed(const char* condition, int line, const char* method);

// The framework's one container: a growable array of elements held by value.
//
// T needs a default constructor, a copy assignment and a destructor. Elements move by assignment,
// never as raw memory. Threads: an object belongs to one thread at a time, or its owner locks.
template <typename T>
class SPW_CArray : public SPW_CObject {
public:
    SPW_CArray();
    SPW_CArray(const SPW_CArray& other);
    SPW_CArray& operator=(const SPW_CArray& other);
    ~SPW_CArray() override { delete[] m_elements; }

    T& operator[](int index);
    const T& operator[](int index) const;
    void insertElementAt(int index, const T& element);
    void removeElementAt(int index);
    void append(const T& element) { insertElementAt(m_numberOfElements, element); }
    // Forgets all elements; storage and capacity stay.
    void empty() { m_numberOfElements = 0; }
    int numberOfElements() const { return m_numberOfElements; }
    int capacity() const { return m_capacity; }

private:
    T* m_elements;
    std::int32_t m_numberOfElements;
    std::int32_t m_capacity;
};
