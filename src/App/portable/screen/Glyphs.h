#pragma once

// The characters that the screen is drawn with, beside letters and digits.
struct Glyphs {
    char16_t horizontal;
    char16_t vertical;
    char16_t topLeft;
    char16_t topRight;
    char16_t bottomLeft;
    char16_t bottomRight;
    char16_t ellipsis;  // where a text was cut
    char16_t moreLeft;
    char16_t moreRight;
    // How much of one period's probes arrived: from nothing at index 0 to all at the last index.
    static constexpr int kLevels = 9;
    char16_t levels[kLevels];
};

// For terminals that show Unicode.
constexpr Glyphs kUnicodeGlyphs = {
    0x2500, 0x2502, 0x250C, 0x2510, 0x2514,
    0x2518, 0x2026, 0x2039, 0x203A, {0x00B7, 0x2581, 0x2582, 0x2583, 0x2584, 0x2585, 0x2586, 0x2587, 0x2588}};
// For all others.
constexpr Glyphs kAsciiGlyphs = {'-', '|', '+', '+', '+',
                                 '+', '~', '<', '>', {'.', '-', '-', '-', '-', '+', '+', '+', '#'}};
