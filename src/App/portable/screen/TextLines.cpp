#include "TextLines.h"

#include <algorithm>

#include "DisplayWidth.h"

namespace {

// Returns how many of the text's characters fit into that many columns. Returns at least one, because otherwise
// wrapping for a very narrow screen would never end.
int fittingLength(const SPW_CString& text, int width) {
    int columns = 0;
    for (int i = 0; i < text.length();) {
        int next = i;
        columns += displayWidth(nextCharacter(text, next));
        if (columns > width && i > 0) {
            return i;
        }
        i = next;
    }
    return text.length();
}

// Returns where to cut without cutting a word: behind the last blank among the first `length` characters, if there is
// one.
int cutAtBlank(const SPW_CString& text, int length, int indent) {
    if (text.at(length) == u' ') {
        return length;
    }
    for (int i = length; i > indent + 1; --i) {
        if (text.at(i - 1) == u' ') {
            return i;
        }
    }
    return length;
}

void wrapLine(SPW_CString line, int width, std::vector<SPW_CString>& lines) {
    const int indent = std::min(line.leadingRun(u" "), width / 2);
    for (;;) {
        const int fitting = fittingLength(line, width);
        if (fitting == line.length()) {
            lines.push_back(line);
            return;
        }
        const int cut = cutAtBlank(line, fitting, indent);
        lines.push_back(line.left(cut));
        SPW_CString rest = line.mid(cut, line.length());
        rest.trimLeft(u" ");
        line.fill(u' ', indent);
        line += rest;
    }
}

}  // namespace

std::vector<SPW_CString> wrapText(const SPW_CString& text, int width) {
    std::vector<SPW_CString> lines;
    for (int start = 0; start < text.length();) {
        int end = start;
        while (end < text.length() && text.at(end) != u'\n') {
            ++end;
        }
        const int length = end > start && text.at(end - 1) == u'\r' ? end - 1 - start : end - start;
        wrapLine(text.mid(start, length), std::max(width, 1), lines);
        start = end + 1;
    }
    return lines;
}
