#pragma once

#include <cstdint>

#include "SPW_CObject.h"

// The one text type: UTF-16 code units, always NUL-terminated, converted to and from the 8-bit code
// page of the system (the ANSI code page on Windows, UTF-8 on Linux) only at 8-bit interfaces.
//
// Texts shorter than 128 characters live inside the object and cost no heap; longer ones live in a
// block that grows in steps of 128 and never shrinks while the object lives.
//
// Threads: an object belongs to one thread at a time; even toAnsi(), which is const, changes it.
// Different objects are independent.
//
// No operation fails. Lengths, counts and indexes are in 16-bit characters. A negative count counts
// as 0, and so does a negative start. A null pointer given as text or as a set of characters counts as the
// empty text. A text argument may be part of the string's own text.
class SPW_CString : public SPW_CObject {
public:
    // Capacity comes in multiples of this; one block lives inside the object.
    static constexpr int kStringBlock = 128;
    // Longest text that format() makes; what is longer is cut there.
    static constexpr int kFormatLimit = 1001;

    // --- Construction ---

    SPW_CString();
    // From the system's 8-bit code page. What is invalid there becomes U+FFFD.
    SPW_CString(const char* ansi);
    SPW_CString(const char16_t* text);
    SPW_CString(const SPW_CString& other);
    // The first `maximum` characters, or all if there are fewer.
    SPW_CString(const char16_t* text, int maximum);
    SPW_CString(const SPW_CString& other, int maximum);
    // One character, of the system's 8-bit code page or wide.
    explicit SPW_CString(char ansi);
    explicit SPW_CString(char16_t c);
    // Decimal digits; a double as "%g" of format() gives it.
    explicit SPW_CString(int number);
    explicit SPW_CString(long number);
    explicit SPW_CString(unsigned long number);
    explicit SPW_CString(double number);
    ~SPW_CString() override;

    // --- Assignment: the old content goes ---

    SPW_CString& operator=(const SPW_CString& other);
    SPW_CString& operator=(const char16_t* text);
    SPW_CString& operator=(char16_t c);
    SPW_CString& operator=(int number);
    SPW_CString& operator=(long number);
    SPW_CString& operator=(unsigned long number);
    SPW_CString& operator=(double number);
    // An 8-bit character would be taken for its number.
    SPW_CString& operator=(char) = delete;
    void assign(const SPW_CString& other);
    void assign(const SPW_CString& other, int maximum);
    void assign(const char16_t* text);
    // The first `count` characters, or all if there are fewer.
    void assign(const char16_t* text, int count);
    // `count` copies of c.
    void fill(char16_t c, int count);

    // --- Appending, also as += and + ---

    void append(const SPW_CString& other);
    void append(const char16_t* text);
    void append(char16_t c);
    void append(int number);
    void append(long number);
    void append(unsigned long number);
    void append(double number);
    // An 8-bit character would be taken for its number.
    void append(char) = delete;
    template <typename T>
    SPW_CString& operator+=(const T& value) {
        append(value);
        return *this;
    }

    // Replaces the content by formatText with its conversions filled in, cut at kFormatLimit characters.
    //
    //   %[flags][width][.precision]conversion
    //   flags       - left-aligned, + or blank in front of a number that is not negative, 0 zeros instead of
    //               blanks in front of a number, # "0x" in front of x, zeros kept at the end of g
    //   width       least number of characters, a number or * (int argument; below 0: left-aligned)
    //   precision   least number of digits, for s the greatest number of characters, for g that of
    //               significant digits; a number or * (int argument; below 0: none); a lone point is 0
    //   conversion  s   const char16_t*, on every platform; a null pointer prints "(null)"
    //               c   char16_t
    //               d i int             ld li   long
    //               u   unsigned        lu      unsigned long
    //               x X unsigned, hex   lx lX   unsigned long, hex
    //               p   const void*: all its hex digits, upper case
    //               g   double: the shorter of 1.5 and 1.5e+10, six significant digits; the point is a point
    //               %   the character itself
    //
    // Anything else behind a % is copied as it stands and takes no argument. A character 0 ends the text.
    // The arguments may be texts of this string. A text from outside never is a format: give it to %s.
    void format(const char16_t* formatText, ...);

    // --- Queries ---

    int length() const { return m_length; }
    bool isEmpty() const { return m_length == 0; }
    // The characters and a terminator. Valid until the next change.
    const char16_t* text() const { return m_buffer; }
    // First and last character; 0 when the string is empty.
    char16_t first() const;
    char16_t last() const;
    // 0 where there is no character: at length, beyond it and below 0.
    char16_t at(int index) const;
    // Characters that fit without new storage, terminator included: a multiple of kStringBlock above length.
    int capacity() const { return m_capacity; }

    // --- Searching: an index, -1 when nothing is found ---

    // The terminator can be found too.
    int find(char16_t c) const;
    int findLast(char16_t c) const;
    // The first character that is in the set.
    int findAny(const char16_t* set) const;
    // An empty text is found at 0.
    int findText(const char16_t* text) const;
    // The number of characters at the start that all are in the set.
    int leadingRun(const char16_t* set) const;
    // The first character at or after start that is in the set. Deliberately 0, not -1, when start is below 0 or not
    // below length. tokenAt() relies on it at the end of a text, where it yields an empty token.
    int findAnyFrom(int start, const char16_t* set) const;
    // The last character that is in the set. Deliberately blind to index 0: the path operations build on it.
    int lastIndexOfAny(const char16_t* set) const;

    // --- Comparing: below 0, 0, above 0; by code unit, unsigned ---

    int compare(const SPW_CString& other) const;
    int compare(const char16_t* text) const;
    // The first `count` characters of both.
    int compare(const char16_t* text, int count) const;
    // As above, both sides in lower case.
    int compareNoCase(const SPW_CString& other) const;
    int compareNoCase(const char16_t* text) const;
    int compareNoCase(const char16_t* text, int count) const;

    // --- Conversions out ---

    // In the system's 8-bit code page, "" when that fails. The string owns the result; it lives until the next
    // toAnsi() of this string or its end. Its size is what the code page needs (UTF-8: up to 3 bytes for a character):
    // no text is too long.
    const char* toAnsi() const;
    // The same into a buffer of `size` bytes. Returns the bytes written, terminator included. When they do not
    // fit, returns 0 and the buffer holds "". With size 0 writes nothing and returns the bytes needed.
    int copyToAnsi(char* buffer, int size) const;
    // Copies what fits into a buffer of `size` characters, always terminated. Deliberately writes
    // nothing at all, not even a terminator, when size is 0 or 1.
    void copyTo(char16_t* buffer, int size) const;
    // Returns the string's own text. Renews a scratch area of length + 1 characters, which it leaves unfilled.
    const char16_t* wideCopy();
    // The decimal number at the start, blanks and a sign before it allowed; 0 when there is none. What does
    // not fit into 32 bits becomes the nearest number that does, on every platform.
    int toInt() const;
    long toLong() const;
    // The decimal floating number at the start, blanks and a sign before it allowed; 0 when there is none.
    double toDouble() const;
    // Room for `count` characters, to be written by the caller: length becomes count, with a terminator there. The
    // caller then sets the real length by truncate() or assigns. Valid until the next change.
    char16_t* getBuffer(int count);

    // --- Editing in place ---

    // Keeps the capacity.
    void clear();
    // Cuts the text to `count` characters if it is longer. Deliberately does nothing when count is 0
    // or less: getBaseName() keeps a name that is all extension.
    void truncate(int count);
    // truncate(length - count): dropping every character therefore does nothing.
    void dropRight(int count);
    void removeLeft(int count);
    void trimLeft(const char16_t* set);
    // Deliberately keeps the first character, even one of the set.
    void trimRight(const char16_t* set);
    // trimLeft(), then trimRight().
    void trim(const char16_t* set);
    void toLower();
    void toUpper();
    // Every character becomes c; the length stays.
    void setAll(char16_t c);
    // The first `count` characters, or all if there are fewer, become c.
    void setFirst(char16_t c, int count);

    // --- Parts of the text, as new strings ---

    SPW_CString left(int count) const;
    SPW_CString right(int count) const;
    // Empty when start is not below length.
    SPW_CString mid(int start, int count) const;
    // What stands behind lastIndexOfAny(set); empty when that is -1.
    SPW_CString afterLast(const char16_t* set) const;
    // Skips delimiters from start on; the token goes from there to the next delimiter or the end. Empty
    // when nothing but delimiters is left.
    SPW_CString tokenAt(int start, const char16_t* delimiters) const;
    // tokenAt(0, delimiters).
    SPW_CString token(const char16_t* delimiters) const;
    // token(), and removes the text up to the token's end. The delimiter there stays; the next call skips it.
    SPW_CString nextToken(const char16_t* delimiters);

    // --- File paths. A separator or dot at index 0 is not seen (lastIndexOfAny) ---

    // Backslash, slash and colon.
    static const char16_t kPathSeparators[];
    // Before the last separator; empty when there is none.
    SPW_CString getDirectory() const;
    // Behind the last separator; the whole text when there is none.
    SPW_CString getFileName() const;
    // Behind the last dot of the file name; empty when there is none.
    SPW_CString getExtension() const;
    // The file name without its last dot and what follows; a dot at its start stays.
    SPW_CString getBaseName() const;
    // "C:" of a text whose first colon is its second character; else empty.
    SPW_CString getDrive() const;
    // A copy with "." and `extension` instead of its extension, if any.
    SPW_CString withExtension(const SPW_CString& extension) const;

private:
    void grow(int wantedLength);
    void assignUnits(const char16_t* text, int count);
    void appendUnits(const char16_t* text, int count);
    int tokenEnd(int& start, const char16_t* delimiters) const;

    char16_t* m_buffer;
    std::int32_t m_capacity;
    std::int32_t m_length;
    char16_t m_inline[kStringBlock];
    mutable char* m_ansiCopy;
    char16_t* m_wideCopy;
};

template <typename T>
SPW_CString operator+(const SPW_CString& left, const T& right) {
    SPW_CString sum(left);
    sum.append(right);
    return sum;
}
inline bool operator==(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) == 0;
}
inline bool operator!=(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) != 0;
}
inline bool operator<(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) < 0;
}
inline bool operator<=(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) <= 0;
}
inline bool operator>(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) > 0;
}
inline bool operator>=(const SPW_CString& a, const char16_t* b) {
    return a.compare(b) >= 0;
}
inline bool operator==(const SPW_CString& a, const SPW_CString& b) {
    return a == b.text();
}
inline bool operator!=(const SPW_CString& a, const SPW_CString& b) {
    return a != b.text();
}
