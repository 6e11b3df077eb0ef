#pragma once

#include <cstdint>

// The greatest integer whose square is not above `square`: the handheld has no floating point.
constexpr std::uint32_t integerRoot(std::uint64_t square) {
    std::uint64_t root = 0;
    for (std::uint64_t bit = std::uint64_t{1} << 31; bit != 0; bit >>= 1) {
        const std::uint64_t larger = root | bit;
        root = larger * larger <= square ? larger : root;
    }
    return static_cast<std::uint32_t>(root);
}
