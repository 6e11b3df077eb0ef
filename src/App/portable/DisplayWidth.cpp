#include "DisplayWidth.h"

#include <algorithm>
#include <iterator>

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Both in ascending order.
constexpr Range kWithoutWidth[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},   {0x0610, 0x061A},   {0x064B, 0x065F}, {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200D}, {0x20D0, 0x20FF},   {0x302A, 0x302D},   {0x3099, 0x309A}, {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0x1F3FB, 0x1F3FF}, {0xE0100, 0xE01EF},
};
constexpr Range kWide[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0xA4CF},
    {0xA960, 0xA97F}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

template <std::size_t size>
bool isIn(const Range (&ranges)[size], char32_t c) {
    const Range* range = std::lower_bound(std::begin(ranges), std::end(ranges), c,
                                          [](const Range& r, char32_t x) { return r.last < x; });
    return range != std::end(ranges) && range->first <= c;
}

}  // namespace

int displayWidth(char32_t character) {
    if (isIn(kWithoutWidth, character)) {
        return 0;
    }
    return isIn(kWide, character) ? 2 : 1;
}

int displayWidth(const SPW_CString& text) {
    int width = 0;
    for (int i = 0; i < text.length();) {
        width += displayWidth(nextCharacter(text, i));
    }
    return width;
}

SPW_CString cutToWidth(const SPW_CString& text, int width) {
    int used = 0;
    int end = 0;  // of what fits before an ellipsis
    for (int i = 0; i < text.length();) {
        used += displayWidth(nextCharacter(text, i));
        if (used < width) {
            end = i;
        }
        if (used > width) {
            return text.left(end) + u"\u2026";
        }
    }
    return text;
}

char32_t nextCharacter(const SPW_CString& text, int& index) {
    const char32_t first = text.text()[index++];
    if (first < 0xD800 || first > 0xDFFF) {
        return first;
    }
    const char32_t second = text.at(index);
    if (first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) {
        return 0xFFFD;
    }
    ++index;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void appendCharacter(SPW_CString& text, char32_t character) {
    if (character < 0x10000) {
        text.append(static_cast<char16_t>(character));
        return;
    }
    text.append(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    text.append(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}
