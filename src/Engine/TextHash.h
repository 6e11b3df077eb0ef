#pragma once

#include <cstdint>

#include "SPW_CString.h"

// FNV-1a over the characters: spreads addresses well and costs a multiplication a character.
inline std::uint32_t textHash(const SPW_CString& text) {
    std::uint32_t hash = 2166136261u;
    const char16_t* characters = text.text();
    for (int i = 0; i < text.length(); ++i) {
        hash = (hash ^ characters[i]) * 16777619u;
    }
    return hash;
}
