#pragma once

#include <algorithm>
#include <string_view>

namespace SPW_CTextLinesPosix {

// Takes the next line off the text, without its line feed. The last line need not end with one.
inline std::string_view takeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

}  // namespace SPW_CTextLinesPosix
