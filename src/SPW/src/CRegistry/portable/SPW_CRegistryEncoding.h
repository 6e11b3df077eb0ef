#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// The encodings of hive files. Every text of the registry must come back unchanged. The registry can hold single halves
// of a surrogate pair; they pass through UTF-8 like any other character. All other bytes that are not UTF-8 are
// refused.
namespace SPW_CRegistryEncoding {

// Takes one character off the text, which must not be empty. Returns false when the text does not begin with a
// character.
bool takeUtf8(std::string_view text, std::size_t& length, std::uint32_t& character);
void appendUnits(std::vector<char16_t>& units, std::uint32_t character);
// Returns false when the text is not UTF-8; a part of it may be appended then.
bool appendUnits(std::vector<char16_t>& units, std::string_view utf8);
void appendUtf8(std::vector<char>& bytes, std::u16string_view text);
// The low byte comes first. Half a unit at the end is left out.
void appendUnitsOfBytes(std::vector<char16_t>& units, const void* bytes, std::size_t size);
template <typename Byte>
void appendBytesOfUnits(std::vector<Byte>& bytes, std::u16string_view units) {
    for (const char16_t unit : units) {
        bytes.push_back(static_cast<Byte>(unit & 0xFF));
        bytes.push_back(static_cast<Byte>(unit >> 8));
    }
}

}  // namespace SPW_CRegistryEncoding
