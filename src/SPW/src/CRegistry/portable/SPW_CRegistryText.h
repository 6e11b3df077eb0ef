#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "SPW_CString.h"
#include "SPW_Types.h"

// One registry hive as a text in the format that registry editors export, in UTF-8 or in UTF-16LE with a byte order
// mark. A text is written in the encoding in which it was read.
//
// The text is kept line by line. serialise() returns comments, blank lines, order and spelling unchanged wherever no
// edit has changed them. docs/hive-files.md describes the format for users.
//
// Keys are numbers, kRoot for the hive itself. They are valid until the next edit. Names of keys and values compare
// without regard to case and keep their spelling. A key that only another key's path mentions exists. A value that
// stands twice in a key has the data of the last one. Parsing and each edit take time linear in the size of the text.
// The time of a look-up does not depend on it.
//
// Threads: an object belongs to one thread at a time. Several threads may read it while none edits it.
class SPW_CRegistryText {
public:
    static constexpr int kRoot = 0;
    static constexpr int kNotFound = -1;
    // The registry's limits, in characters and in levels below the hive.
    static constexpr int kKeyNameLimit = 255;
    static constexpr int kDepthLimit = 512;

    enum ValueType : std::uint32_t { kNone = 0, kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7 };

    // Data in the registry's own form: texts are UTF-16LE with their terminator. The views are valid until the text
    // object is changed.
    struct Value {
        std::u16string_view name;  // empty for the default value
        std::uint32_t type = kNone;
        const std::uint8_t* data = nullptr;
        std::uint32_t size = 0;  // bytes
    };

    // Why a text was refused.
    struct Problem {
        std::uint32_t line = 0;  // 1 is the first
        const char16_t* what = u"";
    };

    // An empty hive of this name ("HKEY_CURRENT_USER").
    explicit SPW_CRegistryText(const SPW_CString& hive);

    // Replaces everything. Returns false when the text is refused; `problem` says why, and the object is as after
    // construction.
    bool parse(const char* bytes, std::size_t size, Problem& problem);
    void serialise(std::vector<char>& bytes) const;
    // Whether an edit has changed the text since it was parsed or made.
    bool isChanged() const { return m_changed; }

    // `path` is below the key, its parts joined by back-slashes. An empty path is the key itself.
    int findKey(int key, const SPW_CString& path) const;
    int numberOfSubKeys(int key) const { return m_nodes[at(key)].children.count; }
    int subKey(int key, int index) const;
    std::u16string_view keyName(int key) const { return units(m_nodes[at(key)].name); }
    int numberOfValues(int key) const { return m_nodes[at(key)].values.count; }
    Value value(int key, int index) const;
    // kNotFound or the index of the value.
    int findValue(int key, const SPW_CString& name) const;

    // Edits. Each returns 0 or a code. An edit that changes nothing leaves the text as it is. Code 87 for a name that
    // the format or the registry cannot hold.
    SPW_Result createKey(const SPW_CString& path);
    // Code 2 for a key that does not exist, 5 for one that has subkeys and for the hive itself.
    SPW_Result deleteKey(const SPW_CString& path);
    // Code 2 for a key that does not exist. Code 87 as above, and for data that the older format ("REGEDIT4") cannot
    // hold.
    SPW_Result setValue(const SPW_CString& path, const SPW_CString& name, std::uint32_t type, const void* data,
                        std::uint32_t size);
    // Code 2 when there is no such key or value.
    SPW_Result deleteValue(const SPW_CString& path, const SPW_CString& name);

private:
    class Parser;
    struct Range {
        std::uint32_t begin = 0;
        std::uint32_t size = 0;
    };
    // One line of the text, or all lines of a hex value.
    struct Item {
        enum Kind { kOther, kKey, kValue } kind = kOther;
        Range raw;   // in m_bytes, line break included
        Range tail;  // in m_bytes, what follows the value: a comment perhaps, and the line break
        Range name;  // in m_units: the key's path below the hive or the value's name
        std::uint32_t type = kNone;
        Range data;  // in m_data
        int node = kRoot;
    };
    struct Slice {
        int begin = 0;
        int count = 0;
    };
    struct Node {
        int parent = kRoot;
        Range name;                // in m_units
        int lastItem = kNotFound;  // where the latest section of the key ends; none for a key without a section
        Slice children;            // in m_children
        Slice values;              // in m_values
    };
    // Numbers of nodes or items by the hash of their name; never full.
    class Table {
    public:
        void reset(std::size_t entries);
        template <typename Equal>
        int find(std::uint32_t hash, Equal equal) const;
        void insert(std::uint32_t hash, int number);

    private:
        std::vector<int> m_slots;
    };

    // Whether hex data of the type are a text of 8-bit characters in this file.
    bool isNarrow(std::uint32_t type) const { return m_isOldFormat && (type == kExpandSz || type == kMultiSz); }
    static std::size_t at(int number) { return static_cast<std::size_t>(number); }
    std::u16string_view units(Range range) const { return {m_units.data() + range.begin, range.size}; }
    std::string_view bytes(Range range) const { return {m_bytes.data() + range.begin, range.size}; }
    Range addUnits(std::u16string_view text);
    Range addData(const void* data, std::uint32_t size);

    void clear();
    void buildIndex();
    void indexPaths(std::vector<int>& slotItems);
    void sliceChildren();
    void sliceValues(const std::vector<int>& slotItems);
    int childOf(int parent, std::u16string_view name) const;
    int obtainChild(int parent, Range name);
    int itemOfValue(int key, std::u16string_view name) const;
    SPW_CString pathOf(int key) const;

    void insertItem(std::size_t place, const Item& item);
    void endLine(Item& item);
    void appendSection(const SPW_CString& path);
    Range addRawText(std::u16string_view text);
    void writeValue(Item& item);
    const char16_t* newLine() const { return m_crLf ? u"\r\n" : u"\n"; }

    SPW_CString m_hive;
    std::vector<char> m_bytes;  // UTF-8
    std::vector<char16_t> m_units;
    std::vector<std::uint8_t> m_data;
    std::vector<Item> m_items;
    bool m_crLf = false;
    bool m_isUtf16 = false;
    bool m_isOldFormat = false;
    bool m_changed = false;

    std::vector<Node> m_nodes;
    std::vector<int> m_children;
    std::vector<int> m_values;  // items
    Table m_nodeTable;
    Table m_valueTable;
};
