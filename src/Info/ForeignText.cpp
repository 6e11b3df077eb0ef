#include "ForeignText.h"

namespace {

bool isDirectional(char16_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

bool isShowable(char16_t character) {
    return character >= 0x20 && !(character >= 0x7F && character <= 0x9F) && !isDirectional(character);
}

SPW_CString showableText(const SPW_CString& text) {
    int harmless = 0;
    while (harmless < text.length() && isShowable(text.text()[harmless])) {
        ++harmless;
    }
    if (harmless == text.length()) {
        return text;
    }
    SPW_CString result = text.left(harmless);
    for (int i = harmless; i < text.length(); ++i) {
        const char16_t c = text.text()[i];
        result.append(isShowable(c) ? c : u'?');
    }
    return result;
}
