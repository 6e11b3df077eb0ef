#include "SPW_COsReleasePosix.h"

#include <algorithm>
#include <string>

#include "SPW_CTextLinesPosix.h"

namespace {

constexpr std::string_view kPrettyName = "PRETTY_NAME=";
constexpr std::string_view kBlanks = " \t\r\v\f";
// What a back-slash in double quotes escapes; before all else it is a back-slash.
constexpr std::string_view kEscaped = "\"\\$`";

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return std::string_view();
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Whether a back-slash in front of it means the character itself; quote: what it stands in, 0 for nothing.
bool isEscaped(char c, char quote) {
    return quote == 0 || (quote == '"' && kEscaped.find(c) != std::string_view::npos);
}

// The text as the shell reads it, except that blanks outside quotes stay: a line without quotes means them. False when
// a quote is open at the end.
bool unquoted(std::string_view value, std::string& text) {
    char quote = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        const bool hasNext = i + 1 < value.size();
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == quote && quote != 0) {
            quote = 0;
        } else if (c == '\\' && hasNext && isEscaped(value[i + 1], quote)) {
            text += value[++i];
        } else {
            text += c;
        }
    }
    return quote == 0;
}

bool isControl(char16_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool isHighSurrogate(char16_t c) {
    return c >= 0xD800 && c < 0xDC00;
}

// Cuts no character in two.
SPW_CString cutToLimit(const SPW_CString& text) {
    int length = SPW_COsReleasePosix::kNameLimit;
    if (text.length() > length && isHighSurrogate(text.at(length - 1))) {
        --length;
    }
    return text.left(length);
}

SPW_CString showable(const std::string& bytes) {
    const SPW_CString wide = cutToLimit(SPW_CString(bytes.c_str()));
    SPW_CString shown;
    for (int i = 0; i < wide.length(); ++i) {
        shown.append(isControl(wide.at(i)) ? u'?' : wide.at(i));
    }
    return shown;
}

}  // namespace

SPW_CString SPW_COsReleasePosix::prettyName(std::string_view file) {
    std::string name;
    while (!file.empty()) {
        const std::string_view line = withoutBlanks(SPW_CTextLinesPosix::takeLine(file));
        std::string value;
        if (line.substr(0, kPrettyName.size()) == kPrettyName && unquoted(line.substr(kPrettyName.size()), value)) {
            name = value;
        }
    }
    // A null would end the text for its later readers.
    std::replace(name.begin(), name.end(), '\0', '?');
    return showable(name);
}
