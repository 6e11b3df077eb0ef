#pragma once

#include <memory>
#include <new>

#include "InfoStatus.h"

// A field of a record that the system may not have filled. Its value is allocated when it is first set: an absent
// one costs a pointer. kAbsent is what the getter answers then.
template <typename T, SPW_Result kAbsent>
class OptionalField {
public:
    // 0, or kAbsent and `value` unchanged.
    [[nodiscard]] SPW_Result get(T& value) const {
        if (m_value == nullptr) {
            return kAbsent;
        }
        value = *m_value;
        return 0;
    }

    // 0, or kNoMemoryForField, and the field stays absent.
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
