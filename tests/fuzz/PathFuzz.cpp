// Paths, tokens, trimming and the 8-bit conversions on any bytes, as text of the code page and as raw code units.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "Require.h"
#include "SPW_CString.h"

namespace {

constexpr char16_t kDelimiters[] = u"\\/:. ,";

bool isIn(char16_t c, const SPW_CString& set) {
    return c != 0 && set.find(c) >= 0;
}

// By its definition: set character by set character, each from the best match so far on.
int lastIndexByDefinition(const SPW_CString& text, const SPW_CString& set) {
    int best = 0;
    for (int i = 0; i < set.length(); ++i) {
        const int found = text.mid(best, text.length()).findLast(set.at(i));
        best += std::max(found, 0);
    }
    return best > 0 ? best : -1;
}

void checkSearches(const SPW_CString& text) {
    require(text.lastIndexOfAny(kDelimiters) == lastIndexByDefinition(text, kDelimiters), "the last index of a set");
    const int first = text.findAny(kDelimiters);
    require(first < 0 || isIn(text.at(first), kDelimiters), "what is found is in the set");
    require(text.isEmpty() || text.findAnyFrom(0, kDelimiters) == first, "from the start is all");
    require(text.findAnyFrom(text.length(), kDelimiters) == 0, "nothing to find at the end");
    require(text.findText(text.text()) == 0, "a text contains itself");
}

void checkPaths(const SPW_CString& path) {
    const SPW_CString directory = path.getDirectory();
    const SPW_CString fileName = path.getFileName();
    if (path.lastIndexOfAny(SPW_CString::kPathSeparators) < 0) {
        require(directory.isEmpty() && fileName == path, "without a separator all is the file name");
    } else {
        const char16_t separator = path.at(directory.length());
        require(isIn(separator, SPW_CString::kPathSeparators), "a separator follows the directory");
        require(directory + separator + fileName == path, "the parts make the path");
        require(fileName.findAny(SPW_CString::kPathSeparators) < 0, "no separator in the file name");
    }

    const SPW_CString baseName = path.getBaseName();
    require(fileName.compare(baseName.text(), baseName.length()) == 0, "the file name starts with the base name");
    require(baseName == fileName || fileName.at(baseName.length()) == u'.', "a dot follows the base name");
    const SPW_CString extension = path.getExtension();
    require(extension.find(u'.') < 0 && extension.findAny(SPW_CString::kPathSeparators) < 0, "a plain extension");
    require(extension.isEmpty() || path.right(extension.length() + 1) == SPW_CString(u".") + extension,
            "the path ends with its extension");

    const SPW_CString renamed = path.withExtension(u"new");
    require(renamed.right(4) == u".new", "the new extension stands at the end");
    require(path.isEmpty() || renamed.getExtension() == u"new", "the new extension is found");
    require(path.isEmpty() || renamed.withExtension(u"new") == renamed, "the same extension again changes nothing");

    const SPW_CString drive = path.getDrive();
    require(drive.isEmpty() || (drive.length() == 2 && drive.last() == u':'), "a drive is a letter and a colon");
}

void checkTokens(const SPW_CString& text) {
    SPW_CString joined;
    SPW_CString rest(text);
    for (int steps = 0;; ++steps) {
        require(steps <= text.length(), "each token takes a character at least");
        require(rest.token(kDelimiters) == rest.tokenAt(0, kDelimiters), "a token is the one at the start");
        const SPW_CString token = rest.nextToken(kDelimiters);
        if (token.isEmpty()) {
            break;
        }
        require(token.findAny(kDelimiters) < 0, "no delimiter in a token");
        joined += token;
    }
    SPW_CString expected;
    for (int i = 0; i < text.length(); ++i) {
        if (!isIn(text.at(i), kDelimiters)) {
            expected += text.at(i);
        }
    }
    require(joined == expected, "the tokens are the text without its delimiters");
}

void checkEditing(const SPW_CString& text) {
    SPW_CString trimmed(text);
    trimmed.trim(kDelimiters);
    require(trimmed.leadingRun(kDelimiters) == 0, "no delimiter at the start of what is trimmed");
    require(trimmed.length() <= 1 || !isIn(trimmed.last(), kDelimiters), "nor at the end");
    require(text.findText(trimmed.text()) >= 0, "trimming only removes");

    SPW_CString lower(text);
    lower.toLower();
    require(lower.length() == text.length() && lower.compareNoCase(text) == 0, "lower case is the same text");
    SPW_CString upper(lower);
    upper.toUpper();
    SPW_CString again(upper);
    again.toLower();
    require(again == lower, "lower case comes back from upper case");

    const int half = text.length() / 2;
    require(text.left(half) + text.right(text.length() - half) == text, "two halves make the text");
    require(text.left(half) + text.mid(half, text.length()) == text, "so do a start and a middle");
    require(text.compare(lower) == -lower.compare(text), "comparing the other way round");
}

void checkConversions(const SPW_CString& text) {
    const std::string ansi = text.toAnsi();
    const SPW_CString back(ansi.c_str());
    require(back.toAnsi() == ansi, "what was converted once converts without loss");
    require(text.copyToAnsi(nullptr, 0) == static_cast<int>(ansi.size()) + 1, "the size needed is the size made");
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    const int size = text.length() % 60;
    const int written = text.copyToAnsi(buffer, size);
    if (size > static_cast<int>(ansi.size())) {
        require(ansi == buffer && written == static_cast<int>(ansi.size()) + 1, "what fits is copied");
    } else {
        require(size == 0 || (written == 0 && buffer[0] == 0), "what does not fit leaves an empty text");
    }
    require(std::all_of(buffer + size, buffer + sizeof buffer, [](char c) { return c == '#'; }), "within the buffer");
    (void)text.toInt();     // any text is a number, if only 0
    (void)text.toDouble();  // the same
}

void check(const SPW_CString& text) {
    checkSearches(text);
    checkPaths(text);
    checkTokens(text);
    checkEditing(text);
    checkConversions(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const SPW_CString text(bytes.c_str());
    require(text.length() <= static_cast<int>(std::strlen(bytes.c_str())), "no more characters than bytes");
    check(text);

    std::u16string units(size / 2, u'\0');
    if (!units.empty()) {
        std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    }
    check(SPW_CString(units.c_str()));
    return 0;
}
