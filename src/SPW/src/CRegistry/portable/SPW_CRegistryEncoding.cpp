#include "SPW_CRegistryEncoding.h"

namespace {

// The number of bytes of the UTF-8 sequence that begins with this byte; 0 when none begins with it.
std::size_t sequenceLength(unsigned char lead) {
    return lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
}

void appendCharacter(std::vector<char>& bytes, std::uint32_t character) {
    const auto add = [&bytes](std::uint32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xC0 | character >> 6);
        add(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        add(0xE0 | character >> 12);
        add(0x80 | (character >> 6 & 0x3F));
        add(0x80 | (character & 0x3F));
    } else {
        add(0xF0 | character >> 18);
        add(0x80 | (character >> 12 & 0x3F));
        add(0x80 | (character >> 6 & 0x3F));
        add(0x80 | (character & 0x3F));
    }
}

}  // namespace

bool SPW_CRegistryEncoding::takeUtf8(std::string_view text, std::size_t& length, std::uint32_t& character) {
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    length = sequenceLength(lead);
    if (length == 0 || length > text.size()) {
        return false;
    }
    character = length == 1 ? lead : lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned char next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0u) != 0x80u) {
            return false;
        }
        character = character << 6 | (next & 0x3Fu);
    }
    return (length != 3 || character >= 0x800) && (length != 4 || (character >= 0x10000 && character <= 0x10FFFF));
}

void SPW_CRegistryEncoding::appendUnits(std::vector<char16_t>& units, std::uint32_t character) {
    if (character >= 0x10000) {
        units.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
        character = 0xDC00 + ((character - 0x10000) & 0x3FF);
    }
    units.push_back(static_cast<char16_t>(character));
}

bool SPW_CRegistryEncoding::appendUnits(std::vector<char16_t>& units, std::string_view utf8) {
    while (!utf8.empty()) {
        std::size_t length = 0;
        std::uint32_t character = 0;
        if (!takeUtf8(utf8, length, character)) {
            return false;
        }
        appendUnits(units, character);
        utf8.remove_prefix(length);
    }
    return true;
}

void SPW_CRegistryEncoding::appendUtf8(std::vector<char>& bytes, std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t character = text[i];
        const bool pair = character >= 0xD800 && character < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
                          text[i + 1] < 0xE000;
        if (pair) {
            character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00u);
        }
        appendCharacter(bytes, character);
    }
}

void SPW_CRegistryEncoding::appendUnitsOfBytes(std::vector<char16_t>& units, const void* bytes, std::size_t size) {
    const auto* const from = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        units.push_back(static_cast<char16_t>(from[i] | from[i + 1] << 8));
    }
}
