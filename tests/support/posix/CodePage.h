#pragma once

// Two characters in the system's 8-bit code page, which is UTF-8 here.
namespace CodePage {

constexpr char kUmlaut[] = "\xC3\xA4";    // U+00E4
constexpr char kEuro[] = "\xE2\x82\xAC";  // U+20AC

}  // namespace CodePage
