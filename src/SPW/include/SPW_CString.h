#pragma once

#include <cstdint>

#include "SPW_CObject.h"

// The one text type: UTF-16 code units, always NUL-terminated, converted to and from the 8-bit code
// page of the system (the ANSI code page on Windows, UTF-8 on Linux) only at 8-bit interfaces.
//
// Texts shorter than 128 characters live inside the object and cost no heap; longer ones live in a
// block that grows in steps of 128 and never shrinks while the object lives.
//
// Threads: an object belongs to one thread at a time. Different objects are independent.
// No operation fails; indexes and counts are in characters and may be any int unless stated.
class SPW_CString : public SPW_CObject {
public:
    static constexpr int kStringBlock = 128;
    // Longest text that format() makes; what is longer is cut there.
    static constexpr int kFormatLimit = 1001;

    SPW_CString();
    SPW_CString(const char* ansi);
    SPW_CString(const char16_t* text);
    SPW_CString(const SPW_CString& other);
    SPW_CString(const char16_t* text, int maximum);
    SPW_CString(const SPW_CString& other, int maximum);
    explicit SPW_CString(char ansi);
    explicit SPW_CString(char16_t c);
    explicit SPW_CString(int number);
    explicit SPW_CString(long number);
    explicit SPW_CString(unsigned long number);
    explicit SPW_CString(double number);
    ~SPW_CString() override;

    SPW_CString& operator=(const SPW_CString& other);
    SPW_CString& operator=(const char16_t* text);
    SPW_CString& operator=(char16_t c);
    SPW_CString& operator=(int number);
    SPW_CString& operator=(long number);
    SPW_CString& operator=(unsigned long number);
    SPW_CString& operator=(double number);
    void assign(const SPW_CString& other);
    void assign(const SPW_CString& other, int maximum);
    void assign(const char16_t* text);
    void assign(const char16_t* text, int count);
    void fill(char16_t c, int count);

    void append(const SPW_CString& other);
    void append(const char16_t* text);
    void append(char16_t c);
    void append(int number);
    void append(long number);
    void append(unsigned long number);
    void append(double number);
    template <typename T>
    SPW_CString& operator+=(const T& value) {
        append(value);
        return *this;
    }

    void format(const char16_t* formatText, ...);

    int length() const { return m_length; }
    bool isEmpty() const { return m_length == 0; }
    const char16_t* text() const { return m_buffer; }
    char16_t first() const;
    char16_t last() const;
    char16_t at(int index) const;
    int capacity() const { return m_capacity; }

    int find(char16_t c) const;
    int findAny(const char16_t* set) const;
    int findLast(char16_t c) const;
    int findText(const char16_t* text) const;
    int leadingRun(const char16_t* set) const;
    int findAnyFrom(int start, const char16_t* set) const;
    int lastIndexOfAny(const char16_t* set) const;

    int compare(const SPW_CString& other) const;
    int compare(const char16_t* text) const;
    int compare(const char16_t* text, int count) const;
    int compareNoCase(const SPW_CString& other) const;
    int compareNoCase(const char16_t* text) const;
    int compareNoCase(const char16_t* text, int count) const;

    const char* toAnsi() const;
    int copyToAnsi(char* buffer, int size) const;
    void copyTo(char16_t* buffer, int size) const;
    const char16_t* wideCopy();
    int toInt() const;
    long toLong() const;
    double toDouble() const;
    char16_t* getBuffer(int count);

    void clear();
    void truncate(int count);
    void dropRight(int count);
    void removeLeft(int count);
    void trimLeft(const char16_t* set);
    void trimRight(const char16_t* set);
    void trim(const char16_t* set);
    void toLower();
    void toUpper();
    void setAll(char16_t c);
    void setFirst(char16_t c, int count);

    SPW_CString left(int count) const;
    SPW_CString right(int count) const;
    SPW_CString mid(int start, int count) const;
    SPW_CString afterLast(const char16_t* set) const;
    SPW_CString tokenAt(int start, const char16_t* delimiters) const;
    SPW_CString token(const char16_t* delimiters) const;
    SPW_CString nextToken(const char16_t* delimiters);

    static const char16_t kPathSeparators[];
    SPW_CString getDirectory() const;
    SPW_CString getFileName() const;
    SPW_CString getExtension() const;
    SPW_CString getBaseName() const;
    SPW_CString getDrive() const;
    SPW_CString withExtension(const SPW_CString& extension) const;

private:
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
inline bool operator==(const SPW_CString& a, const char16_t* b) { return a.compare(b) == 0; }
inline bool operator!=(const SPW_CString& a, const char16_t* b) { return a.compare(b) != 0; }
inline bool operator<(const SPW_CString& a, const char16_t* b) { return a.compare(b) < 0; }
inline bool operator<=(const SPW_CString& a, const char16_t* b) { return a.compare(b) <= 0; }
inline bool operator>(const SPW_CString& a, const char16_t* b) { return a.compare(b) > 0; }
inline bool operator>=(const SPW_CString& a, const char16_t* b) { return a.compare(b) >= 0; }
inline bool operator==(const SPW_CString& a, const SPW_CString& b) { return a == b.text(); }
inline bool operator!=(const SPW_CString& a, const SPW_CString& b) { return a != b.text(); }
