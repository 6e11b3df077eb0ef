#include "SPW_CRegistryEncoding.h"
#include "SPW_CRegistryText.h"

// Writes values as registry editors export them.

namespace {

using SPW_CRegistryEncoding::appendUtf8;

// The longest line of a hex value, which goes on in the next line.
constexpr std::size_t kLineWidth = 80;

void appendAscii(std::vector<char>& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void appendHex(std::vector<char>& bytes, std::uint32_t number, int digits) {
    while (digits-- > 0) {
        bytes.push_back("0123456789abcdef"[number >> (4 * digits) & 0xF]);
    }
}

void appendQuoted(std::vector<char>& bytes, std::u16string_view text) {
    bytes.push_back('"');
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\\' || text[i] == u'"') {
            appendUtf8(bytes, text.substr(begin, i - begin));
            bytes.push_back('\\');
            begin = i;
        }
    }
    appendUtf8(bytes, text.substr(begin));
    bytes.push_back('"');
}

char16_t unitAt(const SPW_CRegistryText::Value& value, std::uint32_t index) {
    return static_cast<char16_t>(value.data[2 * index] | value.data[2 * index + 1] << 8);
}

// Whether the data are one terminated text that fits on a line.
bool isPlainText(const SPW_CRegistryText::Value& value) {
    if (value.type != SPW_CRegistryText::kSz || value.size < 2 || value.size % 2 != 0) {
        return false;
    }
    const std::uint32_t length = value.size / 2 - 1;
    for (std::uint32_t i = 0; i < length; ++i) {
        const char16_t unit = unitAt(value, i);
        if (unit == 0 || unit == u'\r' || unit == u'\n') {
            return false;
        }
    }
    return unitAt(value, length) == 0;
}

void appendTextData(std::vector<char>& bytes, const SPW_CRegistryText::Value& value) {
    std::vector<char16_t> text;
    SPW_CRegistryEncoding::appendUnitsOfBytes(text, value.data, value.size - 2);
    appendQuoted(bytes, {text.data(), text.size()});
}

// `lineBegin` is where the line starts in `bytes`.
void appendHexData(std::vector<char>& bytes, std::size_t lineBegin, const SPW_CRegistryText::Value& value,
                   std::string_view newLine) {
    appendAscii(bytes, "hex");
    if (value.type != SPW_CRegistryText::kBinary) {
        bytes.push_back('(');
        int digits = 1;
        while (digits < 8 && value.type >> (4 * digits) != 0) {
            ++digits;
        }
        appendHex(bytes, value.type, digits);
        bytes.push_back(')');
    }
    bytes.push_back(':');
    for (std::uint32_t i = 0; i < value.size; ++i) {
        if (bytes.size() - lineBegin + 4 > kLineWidth) {
            bytes.push_back('\\');
            appendAscii(bytes, newLine);
            lineBegin = bytes.size();
            appendAscii(bytes, "  ");
        }
        appendHex(bytes, value.data[i], 2);
        if (i + 1 < value.size) {
            bytes.push_back(',');
        }
    }
}

}  // namespace

SPW_CRegistryText::Range SPW_CRegistryText::addRawText(std::u16string_view text) {
    const auto begin = static_cast<std::uint32_t>(m_bytes.size());
    appendUtf8(m_bytes, text);
    return {begin, static_cast<std::uint32_t>(m_bytes.size()) - begin};
}

// Writes the item's line again. The text behind the value, such as a comment, stays.
void SPW_CRegistryText::writeValue(Item& item) {
    Value value;
    value.type = item.type;
    value.data = m_data.data() + item.data.begin;
    value.size = item.data.size;
    std::vector<char> narrow;
    if (isNarrow(item.type)) {
        std::vector<char16_t> wide;
        SPW_CRegistryEncoding::appendUnitsOfBytes(wide, value.data, value.size);
        appendUtf8(narrow, {wide.data(), wide.size()});
        value.data = reinterpret_cast<const std::uint8_t*>(narrow.data());
        value.size = static_cast<std::uint32_t>(narrow.size());
    }

    const std::vector<char> tail(m_bytes.begin() + item.tail.begin, m_bytes.begin() + item.tail.begin + item.tail.size);
    const std::size_t begin = m_bytes.size();
    if (item.name.size == 0) {
        m_bytes.push_back('@');
    } else {
        appendQuoted(m_bytes, units(item.name));
    }
    m_bytes.push_back('=');
    if (isPlainText(value)) {
        appendTextData(m_bytes, value);
    } else if (value.type == kDword && value.size == 4) {
        appendAscii(m_bytes, "dword:");
        appendHex(m_bytes, unitAt(value, 0) | static_cast<std::uint32_t>(unitAt(value, 1)) << 16, 8);
    } else {
        appendHexData(m_bytes, begin, value, m_crLf ? "\r\n" : "\n");
    }
    if (!tail.empty() && tail.front() == ';') {
        m_bytes.push_back(' ');
    }
    item.tail = {static_cast<std::uint32_t>(m_bytes.size()), static_cast<std::uint32_t>(tail.size())};
    m_bytes.insert(m_bytes.end(), tail.begin(), tail.end());
    item.raw = {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_bytes.size() - begin)};
}
