#pragma once

#include "SPW_CRegistryText.h"

// Reads the bytes of a hive file into an empty SPW_CRegistryText. Stops at the first line that it does not understand:
// a guess could lose what a user has written by hand.
class SPW_CRegistryText::Parser {
public:
    Parser(SPW_CRegistryText& text, std::string_view bytes, Problem& problem)
        : m_text(text), m_bytes(bytes), m_problem(problem) {}
    bool run();

private:
    bool fail(const char16_t* what);
    bool atEndOfLine() const;
    bool atEndOfStatement() const { return atEndOfLine() || m_bytes[m_position] == ';'; }
    void skipBlanks();
    void skipToNextLine();
    bool take(char c);
    bool takeWord(std::string_view word);

    bool parseLine(std::size_t begin);
    bool parseHeader();
    bool parseKey(Item& item);
    bool checkPath(std::u16string_view path);
    bool parseValue(Item& item);
    bool parseQuoted(Range& units);
    void takeLineBreak();
    bool parseData(Item& item);
    bool parseString(Item& item);
    bool parseDword(Item& item);
    bool parseHex(Item& item);
    bool parseHexType(std::uint32_t& type);
    bool parseHexBytes();
    bool widen(std::size_t begin);
    bool continueLine();
    int takeHexDigits(int most, std::uint32_t& number);
    bool takeCharacter();

    SPW_CRegistryText& m_text;
    std::string_view m_bytes;
    Problem& m_problem;
    std::size_t m_position = 0;
    std::uint32_t m_line = 1;
    std::uint32_t m_openLine = 0;  // where a text of the present statement began that goes over several lines
    bool m_headerAllowed = true;
    bool m_insideKey = false;
};
