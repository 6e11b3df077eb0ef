#include "SPW_CString.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <string_view>
#include <type_traits>

#include "SPW_CFormat.h"
#include "SPW_CLetterCase.h"
#include "SPW_CStringSys.h"

namespace {

const char16_t* orEmpty(const char16_t* text) {
    return text != nullptr ? text : u"";
}

int lengthOf(const char16_t* text) {
    return static_cast<int>(std::char_traits<char16_t>::length(text));
}

int capacityFor(int length) {
    return (length / SPW_CString::kStringBlock + 1) * SPW_CString::kStringBlock;
}

void copyUnits(char16_t* to, const char16_t* from, int count) {
    std::memcpy(to, from, static_cast<std::size_t>(count) * sizeof(char16_t));
}

void moveUnits(char16_t* to, const char16_t* from, int count) {
    std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(char16_t));
}

// The terminator is a member of no set.
bool isIn(char16_t c, const char16_t* set) {
    for (; *set != 0; ++set) {
        if (*set == c) {
            return true;
        }
    }
    return false;
}

// Converts a text of ASCII, on which every code page agrees, and a terminator. length: of the text, in characters.
// Returns false, with the buffer written in part, when the text has other characters. Each packet passes here: pieces
// of a fixed size, copied out and in, let the compiler use vector instructions.
template <typename To, typename From>
bool convertAscii(const From* text, int length, To* buffer) {
    constexpr int kPiece = 16;
    int i = 0;
    unsigned bits = 0;
    for (; i + kPiece <= length; i += kPiece) {
        std::make_unsigned_t<From> from[kPiece];
        std::memcpy(from, text + i, sizeof from);
        To to[kPiece];
        for (int k = 0; k < kPiece; ++k) {
            bits |= from[k];
            to[k] = static_cast<To>(from[k]);
        }
        std::memcpy(buffer + i, to, sizeof to);
    }
    for (; i < length; ++i) {
        const std::make_unsigned_t<From> c = static_cast<std::make_unsigned_t<From>>(text[i]);
        bits |= c;
        buffer[i] = static_cast<To>(c);
    }
    buffer[length] = 0;
    return bits < 0x80;
}

constexpr int kWholeText = INT32_MAX;

template <typename Mapping>
int compareMapped(const char16_t* a, const char16_t* b, int limit, Mapping mapping) {
    for (int i = 0; i < limit; ++i) {
        const int difference = static_cast<int>(mapping(a[i])) - static_cast<int>(mapping(b[i]));
        if (difference != 0 || a[i] == 0) {
            return difference;
        }
    }
    return 0;
}

int compareExactly(const char16_t* a, const char16_t* b, int limit) {
    return compareMapped(a, b, limit, [](char16_t c) { return c; });
}

int compareLowered(const char16_t* a, const char16_t* b, int limit) {
    return compareMapped(a, b, limit, SPW_CLetterCase::toLower);
}

bool isBlank(char16_t c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

const char16_t* skipBlanks(const char16_t* p) {
    while (isBlank(*p)) {
        ++p;
    }
    return p;
}

const char16_t* skipSign(const char16_t* p) {
    return *p == u'+' || *p == u'-' ? p + 1 : p;
}

const char16_t* skipDigits(const char16_t* p) {
    while (isDigit(*p)) {
        ++p;
    }
    return p;
}

std::int32_t parseInteger(const char16_t* text) {
    const char16_t* p = skipBlanks(text);
    const bool negative = *p == u'-';
    const std::int64_t limit = negative ? -static_cast<std::int64_t>(INT32_MIN) : INT32_MAX;
    std::int64_t magnitude = 0;
    for (p = skipSign(p); isDigit(*p); ++p) {
        magnitude = std::min(magnitude * 10 + (*p - u'0'), limit);
    }
    return static_cast<std::int32_t>(negative ? -magnitude : magnitude);
}

// The end of the floating number that starts at p; p itself when there is none.
const char16_t* floatingEnd(const char16_t* p) {
    const char16_t* const whole = skipSign(p);
    const char16_t* end = skipDigits(whole);
    bool hasDigits = end != whole;
    if (*end == u'.') {
        const char16_t* const fraction = end + 1;
        end = skipDigits(fraction);
        hasDigits = hasDigits || end != fraction;
    }
    if (!hasDigits) {
        return p;
    }
    if (*end == u'e' || *end == u'E') {
        const char16_t* const exponent = skipSign(end + 1);
        if (isDigit(*exponent)) {
            end = skipDigits(exponent);
        }
    }
    return end;
}

}  // namespace

const char16_t SPW_CString::kPathSeparators[] = u"\\/:";

// --- Construction ---

SPW_CString::SPW_CString()
    : m_buffer(m_inline), m_capacity(kStringBlock), m_length(0), m_ansiCopy(nullptr), m_wideCopy(nullptr) {
    m_inline[0] = 0;
}

SPW_CString::SPW_CString(const char* ansi) : SPW_CString() {
    if (ansi == nullptr) {
        return;
    }
    const int bytes = static_cast<int>(std::strlen(ansi));
    char16_t* const buffer = getBuffer(bytes);
    if (convertAscii(ansi, bytes, buffer)) {
        return;
    }
    const int written = SPW_CStringSys::ansiToWide(ansi, bytes, buffer, bytes + 1);
    m_length = std::max(written - 1, 0);
    m_buffer[m_length] = 0;
}

SPW_CString::SPW_CString(const char16_t* text) : SPW_CString() {
    append(text);
}

SPW_CString::SPW_CString(const SPW_CString& other)
    : SPW_CObject(other),
      m_buffer(m_inline),
      m_capacity(kStringBlock),
      m_length(0),
      m_ansiCopy(nullptr),
      m_wideCopy(nullptr) {
    m_inline[0] = 0;
    append(other);
}

SPW_CString::SPW_CString(const char16_t* text, int maximum) : SPW_CString() {
    assign(text, maximum);
}

SPW_CString::SPW_CString(const SPW_CString& other, int maximum) : SPW_CString() {
    assign(other, maximum);
}

SPW_CString::SPW_CString(char ansi) : SPW_CString() {
    char16_t* const buffer = getBuffer(1);
    if (!convertAscii(&ansi, 1, buffer)) {
        (void)SPW_CStringSys::ansiToWide(&ansi, 1, buffer, 2);  // one byte always fits
    }
}

SPW_CString::SPW_CString(char16_t c) : SPW_CString() {
    append(c);
}

SPW_CString::SPW_CString(int number) : SPW_CString() {
    append(number);
}

SPW_CString::SPW_CString(long number) : SPW_CString() {
    append(number);
}

SPW_CString::SPW_CString(unsigned long number) : SPW_CString() {
    append(number);
}

SPW_CString::SPW_CString(double number) : SPW_CString() {
    append(number);
}

SPW_CString::~SPW_CString() {
    if (m_buffer != m_inline) {
        delete[] m_buffer;
    }
    delete[] m_ansiCopy;
    delete[] m_wideCopy;
}

// --- Storage ---

// Makes room for wantedLength characters; the content stays.
void SPW_CString::grow(int wantedLength) {
    if (wantedLength < m_capacity) {
        return;
    }
    const int capacity = capacityFor(wantedLength);
    char16_t* const block = new char16_t[static_cast<std::size_t>(capacity)];
    copyUnits(block, m_buffer, m_length);
    block[m_length] = 0;
    if (m_buffer != m_inline) {
        delete[] m_buffer;
    }
    m_buffer = block;
    m_capacity = capacity;
}

// The text may be a part of this string's own.
void SPW_CString::appendUnits(const char16_t* text, int count) {
    const int newLength = m_length + count;
    const std::less_equal<const char16_t*> notBehind;
    if (newLength >= m_capacity && notBehind(m_buffer, text) && notBehind(text, m_buffer + m_length)) {
        const std::ptrdiff_t offset = text - m_buffer;
        grow(newLength);
        text = m_buffer + offset;
    } else {
        grow(newLength);
    }
    moveUnits(m_buffer + m_length, text, count);
    m_length = newLength;
    m_buffer[newLength] = 0;
}

// The text may be a part of this string's own: then it fits, and moves to the front.
void SPW_CString::assignUnits(const char16_t* text, int count) {
    if (count >= m_capacity) {
        m_length = 0;
        grow(count);
    }
    moveUnits(m_buffer, text, count);
    m_length = count;
    m_buffer[count] = 0;
}

// --- Assignment ---

SPW_CString& SPW_CString::operator=(const SPW_CString& other) {
    if (this != &other) {
        assign(other);
    }
    return *this;
}

SPW_CString& SPW_CString::operator=(const char16_t* text) {
    assign(text);
    return *this;
}

SPW_CString& SPW_CString::operator=(char16_t c) {
    clear();
    return *this += c;
}

SPW_CString& SPW_CString::operator=(int number) {
    clear();
    return *this += number;
}

SPW_CString& SPW_CString::operator=(long number) {
    clear();
    return *this += number;
}

SPW_CString& SPW_CString::operator=(unsigned long number) {
    clear();
    return *this += number;
}

SPW_CString& SPW_CString::operator=(double number) {
    clear();
    return *this += number;
}

void SPW_CString::assign(const SPW_CString& other) {
    assignUnits(other.m_buffer, other.m_length);
}

void SPW_CString::assign(const SPW_CString& other, int maximum) {
    assignUnits(other.m_buffer, std::clamp(maximum, 0, static_cast<int>(other.m_length)));
}

void SPW_CString::assign(const char16_t* text) {
    text = orEmpty(text);
    assignUnits(text, lengthOf(text));
}

void SPW_CString::assign(const char16_t* text, int count) {
    text = orEmpty(text);
    assignUnits(text, SPW_lengthUpTo(text, count));
}

void SPW_CString::fill(char16_t c, int count) {
    count = std::max(count, 0);
    std::fill_n(getBuffer(count), count, c);
}

// --- Appending ---

void SPW_CString::append(const SPW_CString& other) {
    appendUnits(other.m_buffer, other.m_length);
}

void SPW_CString::append(const char16_t* text) {
    text = orEmpty(text);
    appendUnits(text, lengthOf(text));
}

void SPW_CString::append(char16_t c) {
    appendUnits(&c, 1);
}

void SPW_CString::append(int number) {
    append(static_cast<long>(number));
}

void SPW_CString::append(long number) {
    char16_t digits[kSPWDecimalSize];
    char16_t* const end = digits + kSPWDecimalSize;
    const unsigned long bits = static_cast<unsigned long>(number);
    const char16_t* const begin = SPW_decimalText(number < 0 ? 0 - bits : bits, number < 0, end);
    appendUnits(begin, static_cast<int>(end - begin));
}

void SPW_CString::append(unsigned long number) {
    char16_t digits[kSPWDecimalSize];
    char16_t* const end = digits + kSPWDecimalSize;
    const char16_t* const begin = SPW_decimalText(number, false, end);
    appendUnits(begin, static_cast<int>(end - begin));
}

void SPW_CString::append(double number) {
    SPW_CString text;
    text.format(u"%g", number);
    append(text);
}

void SPW_CString::format(const char16_t* formatText, ...) {
    // In a buffer of its own: the string's own text may be among the arguments.
    char16_t scratch[kFormatLimit + 1];
    va_list arguments;
    va_start(arguments, formatText);
    const int written = SPW_formatText(scratch, kFormatLimit, orEmpty(formatText), arguments);
    va_end(arguments);
    scratch[written] = 0;
    assign(scratch);
}

// --- Queries ---

char16_t SPW_CString::first() const {
    return m_buffer[0];
}

char16_t SPW_CString::last() const {
    return m_length > 0 ? m_buffer[m_length - 1] : u'\0';
}

char16_t SPW_CString::at(int index) const {
    return index >= 0 && index <= m_length ? m_buffer[index] : u'\0';
}

// --- Searching ---

int SPW_CString::find(char16_t c) const {
    for (int i = 0;; ++i) {
        if (m_buffer[i] == c) {
            return i;
        }
        if (m_buffer[i] == 0) {
            return -1;
        }
    }
}

int SPW_CString::findLast(char16_t c) const {
    int found = -1;
    for (int i = 0;; ++i) {
        if (m_buffer[i] == c) {
            found = i;
        }
        if (m_buffer[i] == 0) {
            return found;
        }
    }
}

int SPW_CString::findAny(const char16_t* set) const {
    set = orEmpty(set);
    for (int i = 0; m_buffer[i] != 0; ++i) {
        if (isIn(m_buffer[i], set)) {
            return i;
        }
    }
    return -1;
}

int SPW_CString::findText(const char16_t* text) const {
    const std::u16string_view::size_type found = std::u16string_view(m_buffer).find(orEmpty(text));
    return found == std::u16string_view::npos ? -1 : static_cast<int>(found);
}

int SPW_CString::leadingRun(const char16_t* set) const {
    set = orEmpty(set);
    int run = 0;
    while (isIn(m_buffer[run], set)) {
        ++run;
    }
    return run;
}

int SPW_CString::findAnyFrom(int start, const char16_t* set) const {
    if (start < 0 || start >= m_length) {
        return 0;
    }
    set = orEmpty(set);
    for (int i = start; m_buffer[i] != 0; ++i) {
        if (isIn(m_buffer[i], set)) {
            return i;
        }
    }
    return -1;
}

int SPW_CString::lastIndexOfAny(const char16_t* set) const {
    set = orEmpty(set);
    int best = 0;
    for (int i = 0; m_buffer[i] != 0; ++i) {
        if (isIn(m_buffer[i], set)) {
            best = i;
        }
    }
    // Index 0 counts as no match: a path's leading separator and a leading dot are part of the name.
    return best > 0 ? best : -1;
}

// --- Comparing ---

int SPW_CString::compare(const SPW_CString& other) const {
    return compareExactly(m_buffer, other.m_buffer, kWholeText);
}

int SPW_CString::compare(const char16_t* text) const {
    return compareExactly(m_buffer, orEmpty(text), kWholeText);
}

int SPW_CString::compare(const char16_t* text, int count) const {
    return compareExactly(m_buffer, orEmpty(text), count);
}

int SPW_CString::compareNoCase(const SPW_CString& other) const {
    return compareLowered(m_buffer, other.m_buffer, kWholeText);
}

int SPW_CString::compareNoCase(const char16_t* text) const {
    return compareLowered(m_buffer, orEmpty(text), kWholeText);
}

int SPW_CString::compareNoCase(const char16_t* text, int count) const {
    return compareLowered(m_buffer, orEmpty(text), count);
}

// --- Conversions out ---

const char* SPW_CString::toAnsi() const {
    delete[] m_ansiCopy;
    m_ansiCopy = new char[static_cast<std::size_t>(m_length) + 1];
    if (convertAscii(m_buffer, m_length, m_ansiCopy)) {
        return m_ansiCopy;
    }
    // One byte for a character does not do for every code page.
    delete[] m_ansiCopy;
    const int size = std::max(SPW_CStringSys::wideToAnsi(m_buffer, m_length, nullptr, 0), 1);
    m_ansiCopy = new char[static_cast<std::size_t>(size)];
    if (SPW_CStringSys::wideToAnsi(m_buffer, m_length, m_ansiCopy, size) == 0) {
        m_ansiCopy[0] = 0;
    }
    return m_ansiCopy;
}

int SPW_CString::copyToAnsi(char* buffer, int size) const {
    size = std::max(size, 0);
    if (size > m_length && convertAscii(m_buffer, m_length, buffer)) {
        return m_length + 1;
    }
    const int written = SPW_CStringSys::wideToAnsi(m_buffer, m_length, buffer, size);
    if (written == 0 && size > 0) {
        buffer[0] = 0;
    }
    return written;
}

void SPW_CString::copyTo(char16_t* buffer, int size) const {
    if (size > 1) {
        copyUnits(buffer, m_buffer, std::min(m_length + 1, size));
        buffer[size - 1] = 0;
    }
}

const char16_t* SPW_CString::wideCopy() {
    delete[] m_wideCopy;
    m_wideCopy = new char16_t[static_cast<std::size_t>(m_length) + 1];
    return m_buffer;
}

int SPW_CString::toInt() const {
    return parseInteger(m_buffer);
}

long SPW_CString::toLong() const {
    return parseInteger(m_buffer);
}

double SPW_CString::toDouble() const {
    const char16_t* const begin = skipBlanks(m_buffer);
    const SPW_CString number(begin, static_cast<int>(floatingEnd(begin) - begin));
    return number.isEmpty() ? 0.0 : SPW_CStringSys::textToDouble(number.toAnsi());
}

char16_t* SPW_CString::getBuffer(int count) {
    count = std::max(count, 0);
    grow(count);
    m_length = count;
    m_buffer[count] = 0;
    return m_buffer;
}

// --- Editing in place ---

void SPW_CString::clear() {
    m_length = 0;
    m_buffer[0] = 0;
}

void SPW_CString::truncate(int count) {
    // Not for 0: see the header.
    if (count >= 1 && count < m_length) {
        m_length = count;
        m_buffer[count] = 0;
    }
}

void SPW_CString::dropRight(int count) {
    truncate(m_length - std::max(count, 0));
}

void SPW_CString::removeLeft(int count) {
    const int removed = std::clamp(count, 0, static_cast<int>(m_length));
    m_length -= removed;
    moveUnits(m_buffer, m_buffer + removed, m_length + 1);
}

void SPW_CString::trimLeft(const char16_t* set) {
    removeLeft(leadingRun(set));
}

void SPW_CString::trimRight(const char16_t* set) {
    set = orEmpty(set);
    // Never looks at index 0: see the header.
    while (m_length > 1 && isIn(m_buffer[m_length - 1], set)) {
        --m_length;
    }
    m_buffer[m_length] = 0;
}

void SPW_CString::trim(const char16_t* set) {
    trimLeft(set);
    trimRight(set);
}

void SPW_CString::toLower() {
    std::transform(m_buffer, m_buffer + m_length, m_buffer, SPW_CLetterCase::toLower);
}

void SPW_CString::toUpper() {
    std::transform(m_buffer, m_buffer + m_length, m_buffer, SPW_CLetterCase::toUpper);
}

void SPW_CString::setAll(char16_t c) {
    std::fill_n(m_buffer, m_length, c);
}

void SPW_CString::setFirst(char16_t c, int count) {
    std::fill_n(m_buffer, std::clamp(count, 0, static_cast<int>(m_length)), c);
}

// --- Parts of the text ---

SPW_CString SPW_CString::left(int count) const {
    return SPW_CString(*this, count);
}

SPW_CString SPW_CString::right(int count) const {
    const int taken = std::clamp(count, 0, static_cast<int>(m_length));
    return mid(m_length - taken, taken);
}

SPW_CString SPW_CString::mid(int start, int count) const {
    SPW_CString part;
    start = std::max(start, 0);
    if (start < m_length) {
        part.appendUnits(m_buffer + start, std::clamp(count, 0, m_length - start));
    }
    return part;
}

SPW_CString SPW_CString::afterLast(const char16_t* set) const {
    const int position = lastIndexOfAny(set);
    return position < 0 ? SPW_CString() : mid(position + 1, m_length);
}

// Moves start to the first character of the token and returns the index behind its last one.
int SPW_CString::tokenEnd(int& start, const char16_t* delimiters) const {
    delimiters = orEmpty(delimiters);
    // The terminator counts as a delimiter here: behind a text of delimiters, start runs past length,
    // findAnyFrom() answers 0, and the token is empty.
    while (start <= m_length && (m_buffer[start] == 0 || isIn(m_buffer[start], delimiters))) {
        ++start;
    }
    const int end = findAnyFrom(start, delimiters);
    return end < 0 ? m_length : end;
}

SPW_CString SPW_CString::tokenAt(int start, const char16_t* delimiters) const {
    start = std::max(start, 0);
    const int end = tokenEnd(start, delimiters);
    return mid(start, end - start);
}

SPW_CString SPW_CString::token(const char16_t* delimiters) const {
    return tokenAt(0, delimiters);
}

SPW_CString SPW_CString::nextToken(const char16_t* delimiters) {
    int start = 0;
    const int end = tokenEnd(start, delimiters);
    SPW_CString token = mid(start, end - start);
    removeLeft(end);
    return token;
}

// --- File paths ---

SPW_CString SPW_CString::getDirectory() const {
    const int separator = lastIndexOfAny(kPathSeparators);
    return left(separator);
}

SPW_CString SPW_CString::getFileName() const {
    return mid(lastIndexOfAny(kPathSeparators) + 1, m_length);
}

SPW_CString SPW_CString::getExtension() const {
    const int dot = lastIndexOfAny(u".");
    return dot > lastIndexOfAny(kPathSeparators) ? mid(dot + 1, m_length) : SPW_CString();
}

SPW_CString SPW_CString::getBaseName() const {
    SPW_CString name = getFileName();
    name.truncate(name.lastIndexOfAny(u"."));
    return name;
}

SPW_CString SPW_CString::getDrive() const {
    return find(u':') == 1 ? left(2) : SPW_CString();
}

SPW_CString SPW_CString::withExtension(const SPW_CString& extension) const {
    SPW_CString path(*this);
    const int dot = lastIndexOfAny(u".");
    if (dot > lastIndexOfAny(kPathSeparators)) {
        path.truncate(dot);
    }
    path.append(u'.');
    path.append(extension);
    return path;
}
