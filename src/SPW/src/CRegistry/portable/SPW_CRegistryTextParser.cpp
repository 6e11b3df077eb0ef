#include "SPW_CRegistryTextParser.h"

#include "SPW_CLetterCase.h"
#include "SPW_CRegistryEncoding.h"

namespace {

constexpr const char16_t* kNoClosingMark = u"the closing quotation mark is missing";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool equalNoCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (SPW_CLetterCase::toUpper(a[i]) != SPW_CLetterCase::toUpper(b[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool SPW_CRegistryText::Parser::run() {
    if (m_bytes.substr(0, 2) == "\xFE\xFF") {
        return fail(u"the file is UTF-16 with the high byte first; save it as UTF-8");
    }
    const std::size_t firstBreak = m_bytes.find('\n');
    m_text.m_crLf = firstBreak != std::string_view::npos && firstBreak > 0 && m_bytes[firstBreak - 1] == '\r';
    std::size_t begin = 0;
    if (m_bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        m_position = kByteOrderMark.size();
    }
    while (m_position < m_bytes.size() || begin < m_position) {
        if (!parseLine(begin)) {
            return false;
        }
        begin = m_position;
    }
    return true;
}

bool SPW_CRegistryText::Parser::fail(const char16_t* what) {
    m_problem.line = m_line;
    m_problem.what = what;
    if (m_openLine != 0) {
        // A text that goes on in the next lines and is a mistake there has most likely lost its closing quotation mark.
        m_problem.line = m_openLine;
        m_problem.what = kNoClosingMark;
    }
    return false;
}

bool SPW_CRegistryText::Parser::atEndOfLine() const {
    return m_position >= m_bytes.size() || m_bytes[m_position] == '\n' ||
           (m_bytes[m_position] == '\r' && m_position + 1 < m_bytes.size() && m_bytes[m_position + 1] == '\n');
}

void SPW_CRegistryText::Parser::skipBlanks() {
    while (m_position < m_bytes.size() && (m_bytes[m_position] == ' ' || m_bytes[m_position] == '\t')) {
        ++m_position;
    }
}

void SPW_CRegistryText::Parser::skipToNextLine() {
    const std::size_t end = m_bytes.find('\n', m_position);
    m_position = end == std::string_view::npos ? m_bytes.size() : end + 1;
    ++m_line;
}

bool SPW_CRegistryText::Parser::take(char c) {
    if (m_position >= m_bytes.size() || m_bytes[m_position] != c) {
        return false;
    }
    ++m_position;
    return true;
}

// `word` is in lower case. The text may have it in any case.
bool SPW_CRegistryText::Parser::takeWord(std::string_view word) {
    const std::string_view here = m_bytes.substr(m_position, word.size());
    if (here.size() != word.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = here[i] >= 'A' && here[i] <= 'Z' ? static_cast<char>(here[i] | 0x20) : here[i];
        if (c != word[i]) {
            return false;
        }
    }
    m_position += word.size();
    return true;
}

// `begin` is where the raw bytes of the line start. The position can be behind it, after a byte order mark.
bool SPW_CRegistryText::Parser::parseLine(std::size_t begin) {
    Item item;
    m_openLine = 0;
    skipBlanks();
    bool good = true;
    if (!atEndOfStatement()) {
        const char first = m_bytes[m_position];
        if (first == '[') {
            good = parseKey(item);
        } else if (first == '"' || first == '@') {
            good = parseValue(item);
        } else {
            good = parseHeader();
        }
        m_headerAllowed = false;
    }
    if (!good) {
        return false;
    }
    skipBlanks();
    if (!atEndOfStatement()) {
        return fail(u"unexpected text at the end of the line");
    }
    const std::size_t statementEnd = m_position;
    skipToNextLine();
    item.raw = {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_position - begin)};
    item.tail = {static_cast<std::uint32_t>(statementEnd), static_cast<std::uint32_t>(m_position - statementEnd)};
    m_text.m_items.push_back(item);
    return true;
}

bool SPW_CRegistryText::Parser::parseHeader() {
    if (m_headerAllowed && takeWord("windows registry editor version 5.00")) {
        return true;
    }
    if (m_headerAllowed && takeWord("regedit4")) {
        m_text.m_isOldFormat = true;
        return true;
    }
    return fail(u"neither a key, a value nor a comment");
}

bool SPW_CRegistryText::Parser::parseKey(Item& item) {
    (void)take('[');
    if (take('-')) {
        return fail(u"a hive file holds keys, it does not delete them");
    }
    Range path;
    path.begin = static_cast<std::uint32_t>(m_text.m_units.size());
    while (!take(']')) {
        if (atEndOfLine()) {
            return fail(u"the key's closing bracket is missing");
        }
        if (!takeCharacter()) {
            return false;
        }
    }
    skipBlanks();
    if (!atEndOfStatement()) {
        return fail(u"a key's name cannot hold a closing bracket");
    }
    path.size = static_cast<std::uint32_t>(m_text.m_units.size()) - path.begin;

    const std::u16string_view whole = m_text.units(path);
    const std::size_t hiveSize = whole.find(u'\\') == std::u16string_view::npos ? whole.size() : whole.find(u'\\');
    if (!equalNoCase(whole.substr(0, hiveSize), m_text.m_hive.text())) {
        return fail(u"the key is not one of this hive");
    }
    const std::size_t skipped = hiveSize == whole.size() ? hiveSize : hiveSize + 1;
    if (skipped > hiveSize && !checkPath(whole.substr(skipped))) {
        return false;
    }
    item.kind = Item::kKey;
    item.name = {path.begin + static_cast<std::uint32_t>(skipped), path.size - static_cast<std::uint32_t>(skipped)};
    m_insideKey = true;
    return true;
}

bool SPW_CRegistryText::Parser::checkPath(std::u16string_view path) {
    int depth = 1;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= path.size(); ++i) {
        if (i < path.size() && path[i] != u'\\') {
            continue;
        }
        if (i == begin) {
            return fail(u"a part of the key's path is empty");
        }
        if (i - begin > static_cast<std::size_t>(kKeyNameLimit)) {
            return fail(u"a part of the key's path is longer than 255 characters");
        }
        begin = i + 1;
        depth += i < path.size() ? 1 : 0;
    }
    return depth <= kDepthLimit || fail(u"the key lies more than 512 levels deep");
}

bool SPW_CRegistryText::Parser::parseValue(Item& item) {
    if (!m_insideKey) {
        return fail(u"a value before the first key");
    }
    if (!take('@') && !parseQuoted(item.name)) {
        return false;
    }
    skipBlanks();
    if (!take('=')) {
        return fail(u"the value's \"=\" is missing");
    }
    skipBlanks();
    item.kind = Item::kValue;
    return parseData(item);
}

// Reads a text in quotation marks into the units of the document. It can go over several lines.
bool SPW_CRegistryText::Parser::parseQuoted(Range& units) {
    const std::uint32_t firstLine = m_line;
    (void)take('"');
    units.begin = static_cast<std::uint32_t>(m_text.m_units.size());
    while (!take('"')) {
        if (m_position >= m_bytes.size()) {
            m_openLine = m_openLine == 0 ? firstLine : m_openLine;
            return fail(kNoClosingMark);
        }
        if (atEndOfLine()) {
            m_openLine = m_openLine == 0 ? firstLine : m_openLine;
            takeLineBreak();
            continue;
        }
        if (take('\\') &&
            (m_position >= m_bytes.size() || (m_bytes[m_position] != '\\' && m_bytes[m_position] != '"'))) {
            return fail(u"a back-slash in a text must be written twice");
        }
        if (!takeCharacter()) {
            return false;
        }
    }
    units.size = static_cast<std::uint32_t>(m_text.m_units.size()) - units.begin;
    return true;
}

// The text as the file has it.
void SPW_CRegistryText::Parser::takeLineBreak() {
    if (take('\r')) {
        m_text.m_units.push_back(u'\r');
    }
    m_text.m_units.push_back(u'\n');
    skipToNextLine();
}

bool SPW_CRegistryText::Parser::takeCharacter() {
    std::size_t length = 0;
    std::uint32_t character = 0;
    if (!SPW_CRegistryEncoding::takeUtf8(m_bytes.substr(m_position), length, character)) {
        return fail(u"the line is not UTF-8");
    }
    if (character == 0 || character == '\r') {
        return fail(u"a control character inside a name or a text");
    }
    m_position += length;
    SPW_CRegistryEncoding::appendUnits(m_text.m_units, character);
    return true;
}

bool SPW_CRegistryText::Parser::parseData(Item& item) {
    item.data.begin = static_cast<std::uint32_t>(m_text.m_data.size());
    bool good = false;
    if (m_position < m_bytes.size() && m_bytes[m_position] == '"') {
        good = parseString(item);
    } else if (takeWord("dword:")) {
        good = parseDword(item);
    } else if (takeWord("hex")) {
        good = parseHex(item);
    } else if (take('-')) {
        return fail(u"a hive file holds values, it does not delete them");
    } else {
        return fail(u"the value's data are neither a text nor \"dword:\" nor \"hex:\"");
    }
    item.data.size = static_cast<std::uint32_t>(m_text.m_data.size()) - item.data.begin;
    return good;
}

bool SPW_CRegistryText::Parser::parseString(Item& item) {
    Range text;
    if (!parseQuoted(text)) {
        return false;
    }
    item.type = kSz;
    SPW_CRegistryEncoding::appendBytesOfUnits(m_text.m_data, m_text.units(text));
    m_text.m_data.insert(m_text.m_data.end(), 2, 0);
    m_text.m_units.resize(text.begin);  // only the bytes are needed
    return true;
}

bool SPW_CRegistryText::Parser::parseDword(Item& item) {
    std::uint32_t number = 0;
    if (takeHexDigits(8, number) == 0) {
        return fail(u"\"dword:\" wants up to eight hexadecimal digits");
    }
    item.type = kDword;
    for (int shift = 0; shift < 32; shift += 8) {
        m_text.m_data.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    return true;
}

bool SPW_CRegistryText::Parser::parseHex(Item& item) {
    item.type = kBinary;
    if (take('(') && !parseHexType(item.type)) {
        return false;
    }
    if (!take(':')) {
        return fail(u"the colon after \"hex\" is missing");
    }
    return parseHexBytes() && (!m_text.isNarrow(item.type) || widen(item.data.begin));
}

// Takes the data from there on as a text in the encoding of the file.
bool SPW_CRegistryText::Parser::widen(std::size_t begin) {
    std::vector<std::uint8_t>& data = m_text.m_data;
    const auto* const narrow = reinterpret_cast<const char*>(data.data()) + begin;
    std::vector<char16_t> wide;
    if (!SPW_CRegistryEncoding::appendUnits(wide, std::string_view(narrow, data.size() - begin))) {
        return fail(u"under \"REGEDIT4\" the bytes of a text must be UTF-8");
    }
    data.resize(begin);
    SPW_CRegistryEncoding::appendBytesOfUnits(data, {wide.data(), wide.size()});
    return true;
}

bool SPW_CRegistryText::Parser::parseHexType(std::uint32_t& type) {
    return (takeHexDigits(8, type) > 0 && take(')')) || fail(u"the type of a hex value must look like \"hex(7):\"");
}

// Reads pairs of digits and commas. A back-slash at the end of a line goes on in the next line.
bool SPW_CRegistryText::Parser::parseHexBytes() {
    skipBlanks();
    if (atEndOfStatement()) {
        return true;
    }
    do {
        if (!continueLine()) {
            return false;
        }
        std::uint32_t byte = 0;
        if (takeHexDigits(2, byte) == 0) {
            return fail(u"a hex value wants pairs of hexadecimal digits with commas between them");
        }
        m_text.m_data.push_back(static_cast<std::uint8_t>(byte));
        skipBlanks();
    } while (take(','));
    return true;
}

bool SPW_CRegistryText::Parser::continueLine() {
    skipBlanks();
    while (take('\\')) {
        skipBlanks();
        if (!atEndOfLine() || m_position >= m_bytes.size()) {
            return fail(u"a back-slash in a hex value must end its line, and another line must follow");
        }
        skipToNextLine();
        skipBlanks();
    }
    return true;
}

// Returns the number of digits.
int SPW_CRegistryText::Parser::takeHexDigits(int most, std::uint32_t& number) {
    int digits = 0;
    number = 0;
    while (digits < most && m_position < m_bytes.size() && hexDigit(m_bytes[m_position]) >= 0) {
        number = number << 4 | static_cast<std::uint32_t>(hexDigit(m_bytes[m_position]));
        ++m_position;
        ++digits;
    }
    return digits;
}
