#pragma once

#include <memory>
#include <new>

#include "InfoStatus.h"

// A field of a record that the system may have left out. The first set() allocates the value, so that an absent field
// costs only a pointer. kAbsent is the getter's code for an absent field.
template <typename T, SPW_Result kAbsent>
class OptionalField {
public:
    // Returns 0, or kAbsent with `value` unchanged.
    [[nodiscard]] SPW_Result get(T& value) const {
        if (m_value == nullptr) {
            return kAbsent;
        }
        value = *m_value;
        return 0;
    }

    // Returns 0, or kNoMemoryForField; the field stays absent then.
    [[nodiscard]] SPW_Result set(const T& value) {
        if (m_value == nullptr) {
            m_value.reset(new (std::nothrow) T());
        }
        if (m_value == nullptr) {
            return kNoMemoryForField;
        }
        *m_value = value;
        return 0;
    }

private:
    std::unique_ptr<T> m_value;
};
