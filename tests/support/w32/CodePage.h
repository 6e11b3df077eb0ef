#pragma once

// Two characters in the system's 8-bit code page: the western one (1252), which run-wine gives to the tests.
namespace CodePage {

constexpr char kUmlaut[] = "\xE4";  // U+00E4
constexpr char kEuro[] = "\x80";    // U+20AC

}  // namespace CodePage
