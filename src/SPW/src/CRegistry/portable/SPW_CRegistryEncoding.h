#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// The encodings of hive files, which must give back every text as it was. So halves of a surrogate pair that stand
// alone, as the registry may hold them, pass through UTF-8 like any other character; anything else that is not UTF-8
// does not.
namespace SPW_CRegistryEncoding {

// Takes one character off the text, which is not empty. False when it does not begin with one.
bool takeUtf8(std::string_view text, std::size_t& length, std::uint32_t& character);
void appendUnits(std::vector<char16_t>& units, std::uint32_t character);
// False, and some of the text is appended, when it is not UTF-8.
bool appendUnits(std::vector<char16_t>& units, std::string_view utf8);
void appendUtf8(std::vector<char>& bytes, std::u16string_view text);
// Low byte first; half a unit at the end is left out.
void appendUnitsOfBytes(std::vector<char16_t>& units, const void* bytes, std::size_t size);
template <typename Byte>
void appendBytesOfUnits(std::vector<Byte>& bytes, std::u16string_view units) {
    for (const char16_t unit : units) {
        bytes.push_back(static_cast<Byte>(unit & 0xFF));
        bytes.push_back(static_cast<Byte>(unit >> 8));
    }
}

}  // namespace SPW_CRegistryEncoding
