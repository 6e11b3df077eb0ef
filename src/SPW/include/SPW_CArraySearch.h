#pragma once

#include "SPW_CArray.h"

// Whether an element of the array equals `wanted`. Looks at one element after another.
template <typename T>
bool contains(const SPW_CArray<T>& array, const T& wanted) {
    for (int i = 0; i < array.numberOfElements(); ++i) {
        if (array[i] == wanted) {
            return true;
        }
    }
    return false;
}
