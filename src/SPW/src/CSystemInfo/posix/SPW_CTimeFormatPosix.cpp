#include "SPW_CTimeFormatPosix.h"

#include <algorithm>
#include <string_view>

namespace {

using SPW_CTimeFormatPosix::Piece;
typedef std::vector<Piece> Pieces;

constexpr char16_t kShortTime[] = u"%H:%M";
constexpr char16_t kFullTime[] = u"%H:%M:%S";
constexpr char16_t kUsualTwelveHourTime[] = u"%I:%M:%S %p";

bool isOneOf(char16_t c, std::u16string_view set) {
    return set.find(c) != std::u16string_view::npos;
}

bool isAsciiLetter(char16_t c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

// Whether the character may belong to a unit's name. Blanks of all kinds and punctuation separate.
bool isOfWord(char16_t c) {
    return isAsciiLetter(c) || (c >= 0x00C0 && !(c >= 0x2000 && c <= 0x206F) && !(c >= 0x3000 && c <= 0x3004));
}

bool isBlank(char16_t c) {
    return isOneOf(c, u" \t\u00A0\u2009\u202F");
}

// Where the last character of a word ends; 0 when there is none.
int endOfWords(const SPW_CString& text) {
    int end = text.length();
    while (end > 0 && !isOfWord(text.at(end - 1))) {
        --end;
    }
    return end;
}

// How many characters a conversion at the percent sign takes: flags, width, modifier and letter; 0 for none.
int conversionLength(const SPW_CString& format, int percent) {
    int end = percent + 1;
    while (isOneOf(format.at(end), u"_-0^#+")) {
        ++end;
    }
    while (format.at(end) >= u'0' && format.at(end) <= u'9') {
        ++end;
    }
    if (format.at(end) == u'E' || format.at(end) == u'O') {
        ++end;
    }
    return isAsciiLetter(format.at(end)) ? end + 1 - percent : 0;
}

void appendText(Pieces& pieces, char16_t c) {
    if (pieces.empty() || pieces.back().conversion != 0) {
        pieces.emplace_back();
    }
    pieces.back().text.append(c);
}

bool isText(const Pieces& pieces, std::size_t index) {
    return index < pieces.size() && pieces[index].conversion == 0;
}

// The unit of the number in front of it. It is dropped with the number; the blanks before the next part stay.
void dropUnit(SPW_CString& text) {
    text = text.right(text.length() - endOfWords(text));
}

// What separates the next number from the part before it. A unit of that part stays.
void dropSeparator(SPW_CString& text) {
    text = text.left(endOfWords(text));
}

void dropConversion(Pieces& pieces, std::size_t index) {
    const bool hasTextBefore = index > 0 && isText(pieces, index - 1);
    const bool hasTextBehind = isText(pieces, index + 1);
    if (hasTextBefore) {
        // Units count only where every number has one: "%H:%M:%S Uhr" names the whole. Some languages put units in
        // front.
        const bool hasUnits = endOfWords(pieces[index - 1].text) > 0;
        const bool hasUnitBehind = hasTextBehind && endOfWords(pieces[index + 1].text) > 0;
        if (hasUnits && !hasUnitBehind && isText(pieces, 0) && endOfWords(pieces[0].text) > 0) {
            pieces[index - 1].text.clear();
        } else {
            dropSeparator(pieces[index - 1].text);
        }
        if (hasUnits && hasUnitBehind) {
            dropUnit(pieces[index + 1].text);
        }
    } else if (hasTextBehind && index == 0) {
        pieces[1].text.clear();
    }
    pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(index));
}

void dropAll(Pieces& pieces, std::u16string_view conversions) {
    for (std::size_t i = pieces.size(); i > 0; --i) {
        if (pieces[i - 1].conversion != 0 && isOneOf(pieces[i - 1].conversion, conversions)) {
            dropConversion(pieces, i - 1);
        }
    }
}

// Spells out the conversions that stand for a whole time with seconds. One inside of another's text stays: no locale
// has such a text.
Pieces spelledOut(const SPW_CString& format, const SPW_CString& twelveHourFormat) {
    Pieces result;
    for (const Piece& piece : SPW_CTimeFormatPosix::cut(format)) {
        if (piece.conversion == u'T' || piece.conversion == u'r') {
            const Pieces whole = SPW_CTimeFormatPosix::cut(
                piece.conversion == u'T'
                    ? SPW_CString(kFullTime)
                    : (twelveHourFormat.isEmpty() ? SPW_CString(kUsualTwelveHourTime) : twelveHourFormat));
            result.insert(result.end(), whole.begin(), whole.end());
        } else {
            result.push_back(piece);
        }
    }
    return result;
}

SPW_CString joined(const Pieces& pieces) {
    SPW_CString format;
    for (const Piece& piece : pieces) {
        for (int i = 0; i < piece.text.length(); ++i) {
            format.append(piece.text.at(i));
            if (piece.conversion == 0 && piece.text.at(i) == u'%') {
                format.append(u'%');
            }
        }
    }
    return format;
}

SPW_CString withoutOuterBlanks(const SPW_CString& text) {
    int begin = 0;
    int end = text.length();
    while (begin < end && isBlank(text.at(begin))) {
        ++begin;
    }
    while (end > begin && isBlank(text.at(end - 1))) {
        --end;
    }
    return text.mid(begin, end - begin);
}

bool hasConversion(const Pieces& pieces) {
    return std::any_of(pieces.begin(), pieces.end(), [](const Piece& piece) { return piece.conversion != 0; });
}

}  // namespace

std::vector<Piece> SPW_CTimeFormatPosix::cut(const SPW_CString& format) {
    Pieces pieces;
    for (int i = 0; i < format.length();) {
        const int length = format.at(i) == u'%' ? conversionLength(format, i) : 0;
        if (length > 0) {
            pieces.push_back({format.mid(i, length), format.at(i + length - 1)});
            i += length;
        } else {
            appendText(pieces, format.at(i));
            i += format.at(i) == u'%' && format.at(i + 1) == u'%' ? 2 : 1;
        }
    }
    return pieces;
}

SPW_CString SPW_CTimeFormatPosix::withoutSeconds(const SPW_CString& format, const SPW_CString& twelveHourFormat) {
    Pieces pieces = spelledOut(format, twelveHourFormat);
    dropAll(pieces, u"S");
    dropAll(pieces, u"Zz");
    if (!hasConversion(pieces)) {
        return kShortTime;
    }
    return withoutOuterBlanks(joined(pieces));
}
