#include "ProbePacket.h"

#include <cstring>
#include <limits>

static const char kAnsiTag[] = "Vantiro Diagnostic";
// The sequence number stands behind the tag and one separator.
static const int kNumberOffset = ProbePacket::kTagLength + 1;
// Most bytes that one UTF-16 code unit becomes in any 8-bit code page in use.
static const int kBytesPerCharacter = 3;

static bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The leading number of a text, as the standard text-to-integer routine reads it.
static std::int32_t leadingNumber(const char* text) {
    while (isBlank(*text)) {
        ++text;
    }
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') {
        ++text;
    }
    const std::int64_t limit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + (negative ? 1 : 0);
    std::int64_t number = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        number = number * 10 + (*text - '0');
        if (number > limit) {
            number = limit;
        }
    }
    return static_cast<std::int32_t>(negative ? -number : number);
}

namespace ProbePacket {

SPW_CString compose(std::int32_t sequence, const SPW_CString& name) {
    SPW_CString text(kTag);
    text.append(u'|');
    text.append(static_cast<int>(sequence));
    text.append(u'|');
    text.append(name);
    return text;
}

Bytes::Bytes(const SPW_CString& text) : m_length(text.length() + 1), m_data(m_inline) {
    const int size = text.length() * kBytesPerCharacter + 1;
    if (size > kInlineSize) {
        m_data = new char[static_cast<std::size_t>(size)];
    }
    // What the conversion leaves untouched, all of it when it fails as a whole, goes out as NUL bytes.
    std::memset(m_data, 0, static_cast<std::size_t>(size));
    (void)text.copyToAnsi(m_data, size);  // a failure leaves NUL bytes, which every receiver rejects
}

Bytes::~Bytes() {
    if (m_data != m_inline) {
        delete[] m_data;
    }
}

bool parse(char* chunk, int count, Received& packet) {
    // The byte behind the tag is not looked at, deliberately: senders with another separator there are heard.
    if (count <= kNumberOffset || std::memcmp(chunk, kAnsiTag, kTagLength) != 0) {
        return false;
    }
    // A truncated packet has no NUL of its own.
    chunk[count] = '\0';
    char* const number = chunk + kNumberOffset + std::strspn(chunk + kNumberOffset, "|");
    const int numberLength = static_cast<int>(std::strcspn(number, "|"));
    if (numberLength == 0 || count <= kNumberOffset + numberLength + 1) {
        return false;
    }
    // The separator behind the number is overwritten even where the name begins before it. It may be the NUL.
    number[numberLength] = '\0';
    packet.sequence = leadingNumber(number);
    // Deliberately reckoned from where the number should stand, not from where it was found: with superfluous
    // separators before it, the name begins inside the number. Receivers everywhere agree on that.
    packet.name = chunk + kNumberOffset + numberLength + 1;
    return true;
}

}  // namespace ProbePacket
