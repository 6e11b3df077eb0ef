#include "SPW_CRegistryText.h"

#include <algorithm>
#include <utility>

#include "SPW_CLetterCase.h"
#include "SPW_CRegistryEncoding.h"
#include "SPW_CRegistryTextParser.h"
#include "SPW_CSysError.h"

namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";

std::u16string_view view(const SPW_CString& text) {
    return {text.text(), static_cast<std::size_t>(text.length())};
}

// The hash of the folded name: spellings that compare equal share a slot.
std::uint32_t hashName(int owner, std::u16string_view name) {
    std::uint32_t hash = 2166136261u ^ static_cast<std::uint32_t>(owner) * 2654435761u;
    for (const char16_t unit : name) {
        hash = (hash ^ SPW_CLetterCase::toUpper(unit)) * 16777619u;
    }
    return hash ^ hash >> 15;
}

bool sameName(std::u16string_view a, std::u16string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char16_t x, char16_t y) {
               return SPW_CLetterCase::toUpper(x) == SPW_CLetterCase::toUpper(y);
           });
}

// Cuts the first part off the path. Skips empty parts at the ends and between two back-slashes.
std::u16string_view takePart(std::u16string_view& path) {
    while (!path.empty() && path.front() == u'\\') {
        path.remove_prefix(1);
    }
    const std::size_t size = std::min(path.find(u'\\'), path.size());
    const std::u16string_view part = path.substr(0, size);
    path.remove_prefix(size);
    return part;
}

bool canBeKeyName(std::u16string_view name) {
    return name.size() <= static_cast<std::size_t>(SPW_CRegistryText::kKeyNameLimit) &&
           name.find_first_of(std::u16string_view(u"]\r\n\0", 4)) == std::u16string_view::npos;
}

// A line break may stand between quotation marks, but not one half of CR LF.
bool canBeQuoted(std::u16string_view name) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == 0 || (name[i] == u'\r' && (i + 1 == name.size() || name[i + 1] != u'\n'))) {
            return false;
        }
    }
    return true;
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

// --- Table of names ---

void SPW_CRegistryText::Table::reset(std::size_t entries) {
    std::size_t size = 16;
    while (size < entries * 2) {
        size *= 2;
    }
    m_slots.assign(size, kNotFound);
}

template <typename Equal>
int SPW_CRegistryText::Table::find(std::uint32_t hash, Equal equal) const {
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t slot = hash & mask; m_slots[slot] != kNotFound; slot = (slot + 1) & mask) {
        if (equal(m_slots[slot])) {
            return m_slots[slot];
        }
    }
    return kNotFound;
}

void SPW_CRegistryText::Table::insert(std::uint32_t hash, int number) {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    while (m_slots[slot] != kNotFound) {
        slot = (slot + 1) & mask;
    }
    m_slots[slot] = number;
}

// --- Reading and writing the whole ---

SPW_CRegistryText::SPW_CRegistryText(const SPW_CString& hive) : m_hive(hive) {
    clear();
}

bool SPW_CRegistryText::parse(const char* bytes, std::size_t size, Problem& problem) {
    clear();
    // Positions in the text have 32 bits. Edits need room as well.
    if (size > INT32_MAX / 4) {
        problem = {0, u"the file is too large"};
        return false;
    }
    m_isUtf16 = std::string_view(bytes, size).substr(0, kUtf16Mark.size()) == kUtf16Mark;
    if (m_isUtf16) {
        std::vector<char16_t> units;
        SPW_CRegistryEncoding::appendUnitsOfBytes(units, bytes + kUtf16Mark.size(), size - kUtf16Mark.size());
        SPW_CRegistryEncoding::appendUtf8(m_bytes, {units.data(), units.size()});
    } else {
        m_bytes.assign(bytes, bytes + size);
    }
    bool good = Parser(*this, std::string_view(m_bytes.data(), m_bytes.size()), problem).run();
    if (good && m_isUtf16 && size % 2 != 0) {
        problem = {static_cast<std::uint32_t>(std::count(m_bytes.begin(), m_bytes.end(), '\n')) + 1,
                   u"the file ends inside a character"};
        good = false;
    }
    if (!good) {
        clear();
        return false;
    }
    buildIndex();
    return true;
}

void SPW_CRegistryText::serialise(std::vector<char>& result) const {
    result.clear();
    for (const Item& item : m_items) {
        const std::string_view raw = bytes(item.raw);
        result.insert(result.end(), raw.begin(), raw.end());
    }
    if (m_isUtf16) {
        std::vector<char16_t> units;
        (void)SPW_CRegistryEncoding::appendUnits(units, std::string_view(result.data(), result.size()));  // is UTF-8
        result.assign(kUtf16Mark.begin(), kUtf16Mark.end());
        SPW_CRegistryEncoding::appendBytesOfUnits(result, {units.data(), units.size()});
    }
}

void SPW_CRegistryText::clear() {
    m_bytes.clear();
    m_units.clear();
    m_data.clear();
    m_items.clear();
    m_crLf = false;
    m_isUtf16 = false;
    m_isOldFormat = false;
    m_changed = false;
    buildIndex();
}

// --- The index of keys and values ---

void SPW_CRegistryText::buildIndex() {
    m_nodes.assign(1, Node());
    std::size_t parts = 0;
    std::size_t values = 0;
    for (const Item& item : m_items) {
        if (item.kind == Item::kKey) {
            const std::u16string_view path = units(item.name);
            parts += static_cast<std::size_t>(std::count(path.begin(), path.end(), u'\\')) + 1;
        }
        values += item.kind == Item::kValue ? 1 : 0;
    }
    m_nodeTable.reset(parts);
    m_valueTable.reset(values);
    std::vector<int> slotItems;
    slotItems.reserve(values);
    indexPaths(slotItems);
    sliceChildren();
    sliceValues(slotItems);
}

// Makes the nodes. Makes the list of the values in the order of their first items, each with its last item.
void SPW_CRegistryText::indexPaths(std::vector<int>& slotItems) {
    int current = kRoot;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        Item& item = m_items[i];
        if (item.kind == Item::kOther) {
            continue;
        }
        if (item.kind == Item::kKey) {
            std::u16string_view rest = units(item.name);
            current = kRoot;
            while (!rest.empty()) {
                const std::u16string_view part = takePart(rest);
                const auto begin = static_cast<std::uint32_t>(part.data() - m_units.data());
                current =
                    part.empty() ? current : obtainChild(current, {begin, static_cast<std::uint32_t>(part.size())});
            }
        }
        item.node = current;
        m_nodes[at(current)].lastItem = static_cast<int>(i);
        if (item.kind == Item::kValue) {
            const std::u16string_view name = units(item.name);
            const std::uint32_t hash = hashName(current, name);
            const int slot = m_valueTable.find(hash, [&](int candidate) {
                const Item& other = m_items[at(slotItems[at(candidate)])];
                return other.node == current && sameName(units(other.name), name);
            });
            if (slot == kNotFound) {
                m_valueTable.insert(hash, static_cast<int>(slotItems.size()));
                slotItems.push_back(static_cast<int>(i));
            } else {
                slotItems[at(slot)] = static_cast<int>(i);
            }
        }
    }
}

void SPW_CRegistryText::sliceChildren() {
    for (std::size_t i = 1; i < m_nodes.size(); ++i) {
        ++m_nodes[at(m_nodes[i].parent)].children.count;
    }
    int begin = 0;
    for (Node& node : m_nodes) {
        node.children.begin = begin;
        begin += std::exchange(node.children.count, 0);
    }
    m_children.assign(at(begin), kNotFound);
    for (std::size_t i = 1; i < m_nodes.size(); ++i) {
        Slice& children = m_nodes[at(m_nodes[i].parent)].children;
        m_children[at(children.begin + children.count++)] = static_cast<int>(i);
    }
}

// Groups the values by key. Enters them in the table again, now by their positions in the groups.
void SPW_CRegistryText::sliceValues(const std::vector<int>& slotItems) {
    for (const int item : slotItems) {
        ++m_nodes[at(m_items[at(item)].node)].values.count;
    }
    int begin = 0;
    for (Node& node : m_nodes) {
        node.values.begin = begin;
        begin += std::exchange(node.values.count, 0);
    }
    m_values.assign(slotItems.size(), kNotFound);
    m_valueTable.reset(slotItems.size());
    for (const int item : slotItems) {
        const int key = m_items[at(item)].node;
        Slice& values = m_nodes[at(key)].values;
        const int place = values.begin + values.count++;
        m_values[at(place)] = item;
        m_valueTable.insert(hashName(key, units(m_items[at(item)].name)), place);
    }
}

int SPW_CRegistryText::childOf(int parent, std::u16string_view name) const {
    return m_nodeTable.find(hashName(parent, name), [&](int candidate) {
        return m_nodes[at(candidate)].parent == parent && sameName(units(m_nodes[at(candidate)].name), name);
    });
}

int SPW_CRegistryText::obtainChild(int parent, Range name) {
    int child = childOf(parent, units(name));
    if (child == kNotFound) {
        child = static_cast<int>(m_nodes.size());
        Node node;
        node.parent = parent;
        node.name = name;
        m_nodes.push_back(node);
        m_nodeTable.insert(hashName(parent, units(name)), child);
    }
    return child;
}

SPW_CString SPW_CRegistryText::pathOf(int key) const {
    std::vector<int> keys;
    for (; key != kRoot; key = m_nodes[at(key)].parent) {
        keys.push_back(key);
    }
    SPW_CString path;
    for (auto it = keys.rbegin(); it != keys.rend(); ++it) {
        const std::u16string_view name = keyName(*it);
        if (!path.isEmpty()) {
            path += u'\\';
        }
        path += SPW_CString(name.data(), static_cast<int>(name.size()));
    }
    return path;
}

// --- Look-ups ---

int SPW_CRegistryText::findKey(int key, const SPW_CString& path) const {
    std::u16string_view rest = view(path);
    while (key != kNotFound) {
        const std::u16string_view part = takePart(rest);
        if (part.empty()) {
            return key;
        }
        key = childOf(key, part);
    }
    return kNotFound;
}

int SPW_CRegistryText::subKey(int key, int index) const {
    return m_children[at(m_nodes[at(key)].children.begin + index)];
}

SPW_CRegistryText::Value SPW_CRegistryText::value(int key, int index) const {
    const Item& item = m_items[at(m_values[at(m_nodes[at(key)].values.begin + index)])];
    Value value;
    value.name = units(item.name);
    value.type = item.type;
    value.data = m_data.data() + item.data.begin;
    value.size = item.data.size;
    return value;
}

int SPW_CRegistryText::findValue(int key, const SPW_CString& name) const {
    const std::u16string_view wanted = view(name);
    const int place = m_valueTable.find(hashName(key, wanted), [&](int candidate) {
        const Item& item = m_items[at(m_values[at(candidate)])];
        return item.node == key && sameName(units(item.name), wanted);
    });
    return place == kNotFound ? kNotFound : place - m_nodes[at(key)].values.begin;
}

// --- Edits ---

SPW_Result SPW_CRegistryText::createKey(const SPW_CString& path) {
    if (findKey(kRoot, path) != kNotFound) {
        return kSysOk;
    }
    int depth = 0;
    SPW_CString clean;
    std::u16string_view rest = view(path);
    for (std::u16string_view part = takePart(rest); !part.empty(); part = takePart(rest)) {
        if (!canBeKeyName(part) || ++depth > kDepthLimit) {
            return kSysInvalidParameter;
        }
        if (!clean.isEmpty()) {
            clean += u'\\';
        }
        clean += SPW_CString(part.data(), static_cast<int>(part.size()));
    }
    appendSection(clean);
    return kSysOk;
}

SPW_Result SPW_CRegistryText::deleteKey(const SPW_CString& path) {
    const int key = findKey(kRoot, path);
    if (key == kNotFound) {
        return kSysFileNotFound;
    }
    if (key == kRoot || numberOfSubKeys(key) > 0) {
        return kSysAccessDenied;
    }
    const SPW_CString parent = pathOf(m_nodes[at(key)].parent);
    std::vector<Item> kept;
    kept.reserve(m_items.size());
    bool afterRemoved = false;
    for (const Item& item : m_items) {
        if (item.kind != Item::kOther && item.node == key) {
            afterRemoved = true;
            continue;
        }
        // Removes the blank line before the section too.
        if (!(afterRemoved && isBlank(bytes(item.raw)) && !kept.empty() && isBlank(bytes(kept.back().raw)))) {
            kept.push_back(item);
        }
        afterRemoved = false;
    }
    m_items.swap(kept);
    m_changed = true;
    buildIndex();
    // A parent that only this key's path mentions must stay.
    if (findKey(kRoot, parent) == kNotFound) {
        appendSection(parent);
    }
    return kSysOk;
}

SPW_Result SPW_CRegistryText::setValue(const SPW_CString& path, const SPW_CString& name, std::uint32_t type,
                                       const void* data, std::uint32_t size) {
    int key = findKey(kRoot, path);
    if (key == kNotFound) {
        return kSysFileNotFound;
    }
    if (!canBeQuoted(view(name)) || (isNarrow(type) && size % 2 != 0)) {
        return kSysInvalidParameter;
    }
    const int index = findValue(key, name);
    if (index != kNotFound) {
        const Value old = value(key, index);
        const auto* fresh = static_cast<const std::uint8_t*>(data);
        if (old.type == type && old.size == size && std::equal(fresh, fresh + size, old.data)) {
            return kSysOk;
        }
        Item& item = m_items[at(m_values[at(m_nodes[at(key)].values.begin + index)])];
        item.type = type;
        item.data = addData(data, size);
        writeValue(item);
    } else {
        if (m_nodes[at(key)].lastItem == kNotFound) {
            appendSection(pathOf(key));
            key = findKey(kRoot, path);
        }
        Item item;
        item.kind = Item::kValue;
        item.name = addUnits(view(name));
        item.type = type;
        item.data = addData(data, size);
        item.tail = addRawText(newLine());
        writeValue(item);
        const std::size_t last = at(m_nodes[at(key)].lastItem);
        endLine(m_items[last]);
        insertItem(last + 1, item);
    }
    m_changed = true;
    return kSysOk;
}

SPW_Result SPW_CRegistryText::deleteValue(const SPW_CString& path, const SPW_CString& name) {
    const int key = findKey(kRoot, path);
    if (key == kNotFound || findValue(key, name) == kNotFound) {
        return kSysFileNotFound;
    }
    // Removes every item of the value. An earlier item would count again otherwise.
    const auto isValue = [&](const Item& item) {
        return item.kind == Item::kValue && item.node == key && sameName(units(item.name), view(name));
    };
    m_items.erase(std::remove_if(m_items.begin(), m_items.end(), isValue), m_items.end());
    m_changed = true;
    buildIndex();
    return kSysOk;
}

SPW_CRegistryText::Range SPW_CRegistryText::addUnits(std::u16string_view text) {
    const Range range{static_cast<std::uint32_t>(m_units.size()), static_cast<std::uint32_t>(text.size())};
    m_units.insert(m_units.end(), text.begin(), text.end());
    return range;
}

SPW_CRegistryText::Range SPW_CRegistryText::addData(const void* data, std::uint32_t size) {
    const Range range{static_cast<std::uint32_t>(m_data.size()), size};
    const auto* first = static_cast<const std::uint8_t*>(data);
    m_data.insert(m_data.end(), first, first + size);
    return range;
}

void SPW_CRegistryText::insertItem(std::size_t place, const Item& item) {
    m_items.insert(m_items.begin() + static_cast<std::ptrdiff_t>(place), item);
    buildIndex();
}

// The last line of a file can lack its line break. It needs one before another line follows.
void SPW_CRegistryText::endLine(Item& item) {
    const std::string_view raw = bytes(item.raw);
    if (raw.empty() || raw.back() == '\n') {
        return;
    }
    const std::vector<char> line(raw.begin(), raw.end());
    const std::vector<char> tail(m_bytes.begin() + item.tail.begin, m_bytes.begin() + item.tail.begin + item.tail.size);
    item.raw = {static_cast<std::uint32_t>(m_bytes.size()), 0};
    m_bytes.insert(m_bytes.end(), line.begin(), line.end());
    const Range lineBreak = addRawText(newLine());
    item.raw.size = static_cast<std::uint32_t>(line.size()) + lineBreak.size;
    item.tail = {item.raw.begin + static_cast<std::uint32_t>(line.size() - tail.size()),
                 static_cast<std::uint32_t>(tail.size()) + lineBreak.size};
}

void SPW_CRegistryText::appendSection(const SPW_CString& path) {
    Item blank;
    blank.raw = addRawText(newLine());
    if (m_items.empty()) {
        Item header;
        header.raw = addRawText(u"Windows Registry Editor Version 5.00\n");
        m_items.push_back(header);
    }
    endLine(m_items.back());
    if (!isBlank(bytes(m_items.back().raw))) {
        m_items.push_back(blank);
    }
    SPW_CString line(u"[");
    line += m_hive;
    if (!path.isEmpty()) {
        line += u'\\';
        line += path;
    }
    line += u"]";
    line += newLine();
    Item key;
    key.kind = Item::kKey;
    key.name = addUnits(view(path));
    key.raw = addRawText(view(line));
    m_changed = true;
    insertItem(m_items.size(), key);
}
