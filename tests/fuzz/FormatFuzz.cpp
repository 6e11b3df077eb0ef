// The formatter, conversion by conversion, against the C library's and against a model of its own rules.
//
// Input: one byte that chooses the kind of the argument, twelve bytes of argument, then the text between "%" and the
// conversion's letter. What of it is well-formed the harness finds out by itself, so that each call has
// exactly the arguments that its format asks for.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Require.h"
#include "SPW_CString.h"

namespace {

constexpr int kLimit = SPW_CString::kFormatLimit;
// The C library is asked only where its own result stays small.
constexpr int kComparable = 3000;
constexpr int kTail = 4711;

struct Form {
    bool wellFormed = false;
    bool leftAligned = false;
    bool alternate = false;
    int stars = 0;
    long width = 0;
    long precision = -1;
};

// Reads a number or a star; 0 when there is neither.
long readNumber(const std::string& text, std::size_t& i, const int* arguments, Form& form) {
    if (i < text.size() && text[i] == '*') {
        ++i;
        return arguments[form.stars++];
    }
    long number = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        number = std::min(number * 10 + (text[i] - '0'), static_cast<long>(INT_MAX));
    }
    return number;
}

Form readForm(const std::string& text, const int* arguments) {
    Form form;
    std::size_t i = 0;
    for (; i < text.size() && std::strchr("-+ 0#", text[i]) != nullptr; ++i) {
        form.leftAligned = form.leftAligned || text[i] == '-';
        form.alternate = form.alternate || text[i] == '#';
    }
    form.width = readNumber(text, i, arguments, form);
    if (form.width < 0) {
        form.leftAligned = true;
        form.width = -form.width;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        form.precision = std::max(readNumber(text, i, arguments, form), -1L);
    }
    form.wellFormed = i == text.size();
    return form;
}

template <typename T>
SPW_CString formatted(const Form& form, const std::string& formatText, const int* stars, T value) {
    const SPW_CString wide(formatText.c_str());
    SPW_CString result;
    if (!form.wellFormed) {
        result.format(wide.text(), kTail);
    } else if (form.stars == 0) {
        result.format(wide.text(), value, kTail);
    } else if (form.stars == 1) {
        result.format(wide.text(), stars[0], value, kTail);
    } else {
        result.format(wide.text(), stars[0], stars[1], value, kTail);
    }
    return result;
}

template <typename T>
std::string formattedByLibrary(const Form& form, const std::string& formatText, const int* stars, T value) {
    std::vector<char> buffer(3 * kComparable);
    if (form.stars == 0) {
        std::snprintf(buffer.data(), buffer.size(), formatText.c_str(), value, kTail);
    } else if (form.stars == 1) {
        std::snprintf(buffer.data(), buffer.size(), formatText.c_str(), stars[0], value, kTail);
    } else {
        std::snprintf(buffer.data(), buffer.size(), formatText.c_str(), stars[0], stars[1], value, kTail);
    }
    return buffer.data();
}

void checkMalformed(const std::string& formatText, const SPW_CString& result) {
    // Copied as it stands, but for the "%d" at the end, which still finds its argument.
    const std::string expected = formatText.substr(0, formatText.size() - 2) + std::to_string(kTail);
    require(result == SPW_CString(expected.c_str()).left(kLimit), "an unknown conversion is copied");
}

template <typename T>
void checkNumber(const std::string& letters, const std::string& formPart, const int* stars, T value) {
    const Form form = readForm(formPart, stars);
    const std::string formatText = "<%" + formPart + letters + "|%d";
    const SPW_CString result = formatted(form, formatText, stars, value);
    require(result.length() <= kLimit, "the limit");
    if (!form.wellFormed) {
        checkMalformed(formatText, result);
        return;
    }
    // Some C libraries lose the zeros of "%#g" where rounding carries into a new digit.
    const bool libraryIsRight = !(form.alternate && letters == "g");
    if (libraryIsRight && form.width < kComparable && form.precision < kComparable) {
        const std::string expected = formattedByLibrary(form, formatText, stars, value);
        require(result == SPW_CString(expected.c_str()).left(kLimit), "what the C library makes");
    }
}

void checkText(const std::string& formPart, const int* stars, const SPW_CString& value) {
    const Form form = readForm(formPart, stars);
    const std::string formatText = "<%" + formPart + "s|%d";
    const SPW_CString result = formatted(form, formatText, stars, value.text());
    require(result.length() <= kLimit, "the limit");
    if (!form.wellFormed) {
        checkMalformed(formatText, result);
        return;
    }
    const long shown = form.precision < 0 ? value.length() : std::min<long>(value.length(), form.precision);
    SPW_CString padding;
    padding.fill(u' ', static_cast<int>(std::clamp(form.width - shown, 0L, static_cast<long>(kLimit))));
    const SPW_CString text = value.left(static_cast<int>(shown));
    const SPW_CString field = form.leftAligned ? text + padding : padding + text;
    require(result == (SPW_CString(u"<") + field + u"|4711").left(kLimit), "cut, then padded");
}

// Neither a percent sign, which would start another conversion, nor a letter, which would end this one, nor anything
// that is no character of its own.
std::string withoutConversions(const std::uint8_t* data, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < std::min<std::size_t>(size, 1200); ++i) {
        const char c = static_cast<char>(data[i] & 0x7F);
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (c != 0 && c != '%' && !isLetter) {
            text += c;
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kHead = 13;
    if (size < kHead) {
        return 0;
    }
    std::int32_t stars[2];
    std::memcpy(stars, data + 1, sizeof stars);
    std::int32_t number;
    std::memcpy(&number, data + 9, sizeof number);
    double real;
    std::memcpy(&real, data + 5, sizeof real);
    const std::string formPart = withoutConversions(data + kHead, size - kHead);
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    // Small widths are the interesting ones: every other input has them.
    if ((data[0] & 0x80) != 0) {
        stars[0] %= 1200;
        stars[1] %= 1200;
    }
    switch (data[0] % 10) {
        case 0:
            checkNumber("d", formPart, stars, static_cast<int>(number));
            break;
        case 1:
            checkNumber("i", formPart, stars, static_cast<int>(number));
            break;
        case 2:
            checkNumber("u", formPart, stars, static_cast<unsigned>(number));
            break;
        case 3:
            checkNumber("x", formPart, stars, static_cast<unsigned>(number));
            break;
        case 4:
            checkNumber("X", formPart, stars, static_cast<unsigned>(number));
            break;
        case 5:
            checkNumber("ld", formPart, stars, static_cast<long>(number) * 4096);
            break;
        case 6:
            checkNumber("lu", formPart, stars, static_cast<unsigned long>(number));
            break;
        case 7:
            checkNumber("lx", formPart, stars, static_cast<unsigned long>(number));
            break;
        case 8:
            checkNumber("g", formPart, stars, real);
            break;
        default:
            checkText(formPart, stars, SPW_CString(bytes.c_str() + 1));
            break;
    }
    return 0;
}
