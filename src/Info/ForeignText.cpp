#include "ForeignText.h"

namespace {

struct Range {
    char16_t first, last;
};

// The characters that show nothing, end a line or change the direction of the text around them, in ascending order.
// Marks that belong to the letter before them (accents, forms of an emoji) are not among them.
constexpr Range kUnshown[] = {
    {0x0000, 0x001F}, {0x007F, 0x009F},  // controls
    {0x00AD, 0x00AD},                    // soft hyphen
    {0x034F, 0x034F},                    // grapheme joiner
    {0x061C, 0x061C},                    // Arabic letter mark
    {0x115F, 0x1160},                    // Hangul fillers, three more below
    {0x17B4, 0x17B5},                    // Khmer vowels that are not spoken
    {0x180B, 0x180F},                    // Mongolian selectors and vowel separator
    {0x200B, 0x200F},                    // zero-width blank and joiners, direction marks
    {0x2028, 0x202E},                    // ends of line and of paragraph, direction overrides
    {0x2060, 0x206F},                    // word joiner, unseen operators, direction isolates
    {0x3164, 0x3164},                    //
    {0xFEFF, 0xFEFF},                    // byte-order mark
    {0xFFA0, 0xFFA0},                    //
    {0xFFF0, 0xFFFB},                    // annotations
};

// U+E0000 to U+E007F: letters that no screen shows.
bool isTag(char16_t high, char16_t low) {
    return high == 0xDB40 && low >= 0xDC00 && low <= 0xDC7F;
}

bool isShowableAt(const SPW_CString& text, int index) {
    const char16_t c = text.at(index);
    return isShowable(c) && !isTag(c, text.at(index + 1)) && !(index > 0 && isTag(text.at(index - 1), c));
}

}  // namespace

bool isShowable(char16_t character) {
    for (const Range& range : kUnshown) {
        if (character <= range.last) {
            return character < range.first;
        }
    }
    return true;
}

SPW_CString showableText(const SPW_CString& text) {
    int harmless = 0;
    while (harmless < text.length() && isShowableAt(text, harmless)) {
        ++harmless;
    }
    if (harmless == text.length()) {
        return text;
    }
    SPW_CString result = text.left(harmless);
    for (int i = harmless; i < text.length(); ++i) {
        result.append(isShowableAt(text, i) ? text.at(i) : u'?');
    }
    return result;
}
