// What is made of a foreign text before it is shown: as text of the code page and as raw code units.
//
// The ranges stand here a second time, one character after the other, so that a slip in the table is found.

#include <cstdint>
#include <cstring>
#include <string>

#include "ForeignText.h"
#include "Require.h"
#include "SPW_CString.h"

namespace {

bool isControl(char16_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

bool endsLineOrTurnsText(char16_t c) {
    switch (c) {
        case 0x061C:  // Arabic letter mark
        case 0x200E:  // left-to-right mark
        case 0x200F:  // right-to-left mark
        case 0x2028:  // line separator
        case 0x2029:  // paragraph separator
        case 0x202A:  // embeddings and overrides
        case 0x202B:
        case 0x202C:
        case 0x202D:
        case 0x202E:
        case 0x2066:  // isolates
        case 0x2067:
        case 0x2068:
        case 0x2069:
            return true;
        default:
            return false;
    }
}

bool showsNothing(char16_t c) {
    switch (c) {
        case 0x00AD:  // soft hyphen
        case 0x200B:  // zero-width space
        case 0x200C:  // zero-width non-joiner
        case 0x200D:  // zero-width joiner
        case 0x2060:  // word joiner
        case 0xFEFF:  // byte-order mark
        case 0xFFF9:  // interlinear annotations
        case 0xFFFA:
        case 0xFFFB:
            return true;
        default:
            return false;
    }
}

bool startsTag(const SPW_CString& text, int index) {
    return text.at(index) == 0xDB40 && text.at(index + 1) >= 0xDC00 && text.at(index + 1) <= 0xDC7F;
}

void check(const SPW_CString& text) {
    const SPW_CString shown = showableText(text);
    require(shown.length() == text.length(), "the length stays");
    require(showableText(shown) == shown, "what can be shown is left alone");
    for (int i = 0; i < text.length(); ++i) {
        const char16_t c = shown.at(i);
        require(!isControl(c), "no control character");
        require(!endsLineOrTurnsText(c), "one line, in one direction");
        require(!showsNothing(c), "nothing unseen");
        require(!startsTag(shown, i), "no letter that is a tag");
        require(c == text.at(i) || c == u'?', "nothing but question marks is new");
        require(c != u'?' || text.at(i) == u'?' || !isShowable(text.at(i)) || text.at(i) == 0xDB40 ||
                    (i > 0 && startsTag(text, i - 1)),
                "only what cannot be shown is replaced");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    check(SPW_CString(bytes.c_str()));

    std::u16string units(size / 2, u'\0');
    if (!units.empty()) {
        std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    }
    check(SPW_CString(units.c_str()));
    return 0;
}
