#pragma once

#include <cstdint>

// The guest's memory is the host's memory, and an address means the same place for both. Therefore both have 32 bits.

using Word = std::uint32_t;

static_assert(sizeof(void*) == sizeof(Word), "the host is a program of 32 bits");

template <typename Type>
Type* pointerTo(Word address) {
    return reinterpret_cast<Type*>(address);
}

inline Word addressOf(const void* pointer) {
    return reinterpret_cast<Word>(pointer);
}
