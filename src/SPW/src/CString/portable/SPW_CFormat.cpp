#include "SPW_CFormat.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "SPW_CString.h"
#include "SPW_CStringSys.h"

namespace {

// One of "%[flags][width][.precision][l]conversion" as it stands in the format text.
struct Conversion {
    bool leftAligned = false;
    bool plus = false;
    bool blank = false;
    bool zeros = false;
    bool alternate = false;
    bool isLong = false;
    bool widthIsArgument = false;
    bool precisionIsArgument = false;
    int width = 0;
    int precision = -1;  // -1: none is given
    char16_t kind = 0;
};

// Takes what fits and forgets the rest: no width or precision costs more than the buffer.
class Output {
public:
    Output(char16_t* buffer, int size) : m_buffer(buffer), m_room(size) {}

    void put(char16_t c) {
        if (m_count < m_room) {
            m_buffer[m_count++] = c;
        }
    }
    void put(const char16_t* text, int count) {
        const int taken = std::min(count, m_room - m_count);
        std::copy_n(text, taken, m_buffer + m_count);
        m_count += taken;
    }
    void putAscii(const char* text, int count) {
        const int taken = std::min(count, m_room - m_count);
        std::transform(text, text + taken, m_buffer + m_count, [](char c) { return static_cast<char16_t>(c); });
        m_count += taken;
    }
    void fill(char16_t c, int count) {
        const int taken = std::max(0, std::min(count, m_room - m_count));
        std::fill_n(m_buffer + m_count, taken, c);
        m_count += taken;
    }
    int count() const { return m_count; }
    bool isFull() const { return m_count == m_room; }

private:
    char16_t* m_buffer;
    int m_room;
    int m_count = 0;
};

bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// Far above every buffer, far below overflow in the sums that follow.
constexpr int kLargestNumber = 1000000;

int parseNumber(const char16_t*& p) {
    int number = 0;
    for (; isDigit(*p); ++p) {
        number = std::min(number * 10 + (*p - u'0'), kLargestNumber);
    }
    return number;
}

bool parseFlag(char16_t c, Conversion& conversion) {
    switch (c) {
        case u'-':
            return conversion.leftAligned = true;
        case u'+':
            return conversion.plus = true;
        case u' ':
            return conversion.blank = true;
        case u'0':
            return conversion.zeros = true;
        case u'#':
            return conversion.alternate = true;
        default:
            return false;
    }
}

bool isKnown(const Conversion& conversion) {
    switch (conversion.kind) {
        case u'd':
        case u'i':
        case u'u':
        case u'x':
        case u'X':
            return true;
        case u's':
        case u'c':
        case u'p':
        case u'g':
        case u'%':
            return !conversion.isLong;
        default:
            return false;
    }
}

// Reads what follows a '%'. Returns the place behind it, null when it is none of the known conversions. Takes no
// argument yet: one that turns out to be unknown must leave the arguments to those that follow.
const char16_t* parse(const char16_t* p, Conversion& conversion) {
    while (parseFlag(*p, conversion)) {
        ++p;
    }
    conversion.widthIsArgument = *p == u'*';
    if (conversion.widthIsArgument) {
        ++p;
    } else {
        conversion.width = parseNumber(p);
    }
    if (*p == u'.') {
        ++p;
        conversion.precisionIsArgument = *p == u'*';
        if (conversion.precisionIsArgument) {
            ++p;
        } else {
            conversion.precision = parseNumber(p);
        }
    }
    conversion.isLong = *p == u'l';
    if (conversion.isLong) {
        ++p;
    }
    conversion.kind = *p;
    return isKnown(conversion) ? p + 1 : nullptr;
}

void setWidth(int argument, Conversion& conversion) {
    if (argument < 0) {
        conversion.leftAligned = true;
        argument = -std::max(argument, -kLargestNumber);
    }
    conversion.width = std::min(argument, kLargestNumber);
}

void setPrecision(int argument, Conversion& conversion) {
    conversion.precision = argument < 0 ? -1 : std::min(argument, kLargestNumber);
}

void putText(const Conversion& conversion, const char16_t* text, int length, Output& output) {
    const int padding = conversion.width - length;
    if (!conversion.leftAligned) {
        output.fill(u' ', padding);
    }
    output.put(text, length);
    if (conversion.leftAligned) {
        output.fill(u' ', padding);
    }
}

void putString(const Conversion& conversion, const char16_t* text, Output& output) {
    // Longer than both the width and the buffer makes no difference.
    int limit = std::max(conversion.width, SPW_CString::kFormatLimit);
    if (conversion.precision >= 0) {
        limit = std::min(limit, conversion.precision);
    }
    const char16_t* shown = text != nullptr ? text : u"(null)";
    putText(conversion, shown, SPW_lengthUpTo(shown, limit), output);
}

// A number made of a sign or prefix, zeros and the rest.
struct NumberText {
    const char* prefix = "";
    int zeros = 0;
    const char* digits = "";
    int digitCount = 0;
};

void putNumber(const Conversion& conversion, const NumberText& number, bool mayPadWithZeros, Output& output) {
    const int prefixLength = static_cast<int>(std::strlen(number.prefix));
    const int padding = conversion.width - prefixLength - number.zeros - number.digitCount;
    const bool padWithZeros = mayPadWithZeros && conversion.zeros && !conversion.leftAligned;
    if (!padWithZeros && !conversion.leftAligned) {
        output.fill(u' ', padding);
    }
    output.putAscii(number.prefix, prefixLength);
    output.fill(u'0', (padWithZeros ? std::max(padding, 0) : 0) + number.zeros);
    output.putAscii(number.digits, number.digitCount);
    if (conversion.leftAligned) {
        output.fill(u' ', padding);
    }
}

const char* signText(const Conversion& conversion, bool negative) {
    if (negative) {
        return "-";
    }
    if (conversion.plus) {
        return "+";
    }
    return conversion.blank ? " " : "";
}

void putInteger(const Conversion& conversion, unsigned long magnitude, unsigned radix, const char* prefix,
                Output& output) {
    char digits[sizeof(unsigned long) * CHAR_BIT];
    char* const end = digits + sizeof digits;
    char* begin = end;
    const char* const alphabet = conversion.kind == u'x' ? "0123456789abcdef" : "0123456789ABCDEF";
    for (unsigned long rest = magnitude; rest != 0; rest /= radix) {
        *--begin = alphabet[rest % radix];
    }
    NumberText number;
    number.prefix = prefix;
    number.digits = begin;
    number.digitCount = static_cast<int>(end - begin);
    // A lone 0 is a zero of the least number of digits; with precision 0 it is shown as nothing.
    const int leastDigits = conversion.precision < 0 ? 1 : conversion.precision;
    number.zeros = std::max(0, leastDigits - number.digitCount);
    putNumber(conversion, number, conversion.precision < 0, output);
}

void putSigned(const Conversion& conversion, long value, Output& output) {
    const bool negative = value < 0;
    const unsigned long bits = static_cast<unsigned long>(value);
    putInteger(conversion, negative ? 0 - bits : bits, 10, signText(conversion, negative), output);
}

void putHex(const Conversion& conversion, unsigned long value, Output& output) {
    const bool prefixed = conversion.alternate && value != 0;
    const char* const prefix = conversion.kind == u'x' ? "0x" : "0X";
    putInteger(conversion, value, 16, prefixed ? prefix : "", output);
}

void putPointer(const Conversion& conversion, const void* pointer, Output& output) {
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(pointer);
    char16_t digits[sizeof value * 2];
    for (std::size_t i = 0; i < sizeof value * 2; ++i) {
        digits[i] = u"0123456789ABCDEF"[(value >> ((sizeof value * 2 - 1 - i) * 4)) & 15];
    }
    putText(conversion, digits, static_cast<int>(sizeof value * 2), output);
}

// The "#" form of %g: a point, and zeros up to the precision. `digits` has room for them.
int keepZeros(char* digits, int length, int precision) {
    char* const end = digits + length;
    char* const exponent = std::find(digits, end, 'e');
    const bool hasPoint = std::find(digits, exponent, '.') != exponent;
    const char* const firstDigit = std::find_if(digits, exponent, [](char c) { return c >= '1' && c <= '9'; });
    const char* const counted = firstDigit == exponent ? digits : firstDigit;
    const int shown =
        static_cast<int>(std::count_if(counted, static_cast<const char*>(exponent), [](char c) { return c != '.'; }));
    const int zeros = std::max(0, std::max(precision, 1) - shown);
    const int inserted = zeros + (hasPoint ? 0 : 1);
    std::copy_backward(exponent, end, end + inserted);
    char* p = exponent;
    if (!hasPoint) {
        *p++ = '.';
    }
    std::fill_n(p, zeros, '0');
    return length + inserted;
}

void putDouble(const Conversion& conversion, double value, Output& output) {
    constexpr int kDefaultPrecision = 6;
    const int precision = conversion.precision < 0
                              ? kDefaultPrecision
                              : std::min(conversion.precision, SPW_CStringSys::kDoublePrecisionLimit);
    // Room for the zeros of the "#" form behind the longest text.
    char text[SPW_CStringSys::kDoubleTextSize * 2];
    int length = SPW_CStringSys::doubleToText(value, precision, text);
    const bool negative = text[0] == '-';
    char* const digits = text + (negative ? 1 : 0);
    length -= negative ? 1 : 0;
    const bool finite = digits[0] >= '0' && digits[0] <= '9';
    if (conversion.alternate && finite) {
        length = keepZeros(digits, length, precision);
    }
    NumberText number;
    number.prefix = signText(conversion, negative);
    number.digits = digits;
    number.digitCount = length;
    putNumber(conversion, number, finite, output);
}

}  // namespace

char16_t* SPW_decimalText(unsigned long magnitude, bool negative, char16_t* bufferEnd) {
    char16_t* p = bufferEnd;
    do {
        *--p = static_cast<char16_t>(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (negative) {
        *--p = u'-';
    }
    return p;
}

int SPW_lengthUpTo(const char16_t* text, int limit) {
    int length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    return length;
}

int SPW_formatText(char16_t* buffer, int size, const char16_t* formatText, va_list arguments) {
    Output output(buffer, size);
    const char16_t* p = formatText;
    while (*p != 0 && !output.isFull()) {
        if (*p != u'%') {
            output.put(*p++);
            continue;
        }
        Conversion conversion;
        const char16_t* const behind = parse(p + 1, conversion);
        if (behind == nullptr) {
            output.put(*p++);
            continue;
        }
        p = behind;
        if (conversion.widthIsArgument) {
            setWidth(va_arg(arguments, int), conversion);
        }
        if (conversion.precisionIsArgument) {
            setPrecision(va_arg(arguments, int), conversion);
        }
        switch (conversion.kind) {
            case u's':
                putString(conversion, va_arg(arguments, const char16_t*), output);
                break;
            case u'c': {
                const char16_t c = static_cast<char16_t>(va_arg(arguments, int));
                putText(conversion, &c, 1, output);
                break;
            }
            case u'd':
            case u'i':
                putSigned(conversion, conversion.isLong ? va_arg(arguments, long) : va_arg(arguments, int), output);
                break;
            case u'u':
                putInteger(conversion,
                           conversion.isLong ? va_arg(arguments, unsigned long) : va_arg(arguments, unsigned), 10, "",
                           output);
                break;
            case u'x':
            case u'X':
                putHex(conversion, conversion.isLong ? va_arg(arguments, unsigned long) : va_arg(arguments, unsigned),
                       output);
                break;
            case u'p':
                putPointer(conversion, va_arg(arguments, const void*), output);
                break;
            case u'g':
                putDouble(conversion, va_arg(arguments, double), output);
                break;
            default:
                output.put(u'%');
                break;
        }
    }
    return output.count();
}
