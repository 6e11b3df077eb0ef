#include "SPW_CMessage.h"

#include <algorithm>
#include <cstring>

#include "SPW_CError.h"

namespace {

const char kModule[] = "src\\SPW\\src\\CMessage\\portable\\SPW_CMessage";
const char kClass[] = "SPW_CMessage";

constexpr std::uint8_t kEscape = 27;
constexpr std::uint8_t kFormatVersion = 1;
constexpr std::uint8_t kNarrow = 1;
constexpr std::uint8_t kWide = 2;

void report(SPW_Result code, int line, const char* method, const SPW_CString& text) {
    SPW_CError::instance->report(kModule, line, kClass, method, code, 0, text, SPW_CError::kOrdinary);
}

SPW_CString typeText(char typeId) {
    return SPW_CString(static_cast<char16_t>(static_cast<unsigned char>(typeId)));
}

}  // namespace

SPW_CMessage::SPW_CMessage()
    : m_error(0), m_expectedLength(kStartNotCalled), m_headerCount(0), m_header{}, m_packetErrors(0) {}

void SPW_CMessage::pushChar(char value) {
    pushTyped(static_cast<unsigned char>(value), 1, 'c');
}

void SPW_CMessage::pushWide(char16_t value) {
    pushTyped(value, 2, 'w');
}

void SPW_CMessage::pushInt(std::int32_t value) {
    pushTyped(static_cast<std::uint32_t>(value), 4, 'i');
}

void SPW_CMessage::pushLong(std::int32_t value) {
    pushTyped(static_cast<std::uint32_t>(value), 4, 'l');
}

void SPW_CMessage::pushUnsigned(std::uint32_t value) {
    pushTyped(value, 4, 'u');
}

void SPW_CMessage::pushValue(std::uint32_t value) {
    pushTyped(value, 4, 'v');
}

void SPW_CMessage::pushBlock(const void* bytes, std::uint32_t count) {
    pushBytes(bytes, count);
    pushUnsigned(count);
    m_body.push_back('d');
}

void SPW_CMessage::pushString(const SPW_CString& value) {
    const std::size_t count = static_cast<std::size_t>(value.length());
    const std::size_t begin = m_body.size();
    m_body.reserve(begin + 2 * count + 7);
    m_body.resize(begin + 2 * count);
    // Every line of the log passes here: bytes in place are much faster than bytes pushed one by one.
    const char16_t* const text = value.text();
    std::uint8_t* const bytes = m_body.data() + begin;
    for (std::size_t i = 0; i < count; ++i) {
        bytes[2 * i] = static_cast<std::uint8_t>(text[i]);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(text[i] >> 8);
    }
    pushUnsigned(static_cast<std::uint32_t>(count));
    m_body.push_back(kWide);
    m_body.push_back('s');
}

bool SPW_CMessage::popChar(char& value) {
    std::uint32_t number = 0;
    if (!popTyped(number, 1, 'c')) {
        return false;
    }
    value = static_cast<char>(number);
    return true;
}

bool SPW_CMessage::popWide(char16_t& value) {
    std::uint32_t number = 0;
    if (!popTyped(number, 2, 'w')) {
        return false;
    }
    value = static_cast<char16_t>(number);
    return true;
}

bool SPW_CMessage::popInt(std::int32_t& value) {
    std::uint32_t number = 0;
    if (!popTyped(number, 4, 'i')) {
        return false;
    }
    value = static_cast<std::int32_t>(number);
    return true;
}

bool SPW_CMessage::popLong(std::int32_t& value) {
    std::uint32_t number = 0;
    if (!popTyped(number, 4, 'l')) {
        return false;
    }
    value = static_cast<std::int32_t>(number);
    return true;
}

bool SPW_CMessage::popUnsigned(std::uint32_t& value) {
    return popTyped(value, 4, 'u');
}

bool SPW_CMessage::popValue(std::uint32_t& value) {
    return popTyped(value, 4, 'v');
}

bool SPW_CMessage::popBlock(void* buffer, std::uint32_t size, std::uint32_t& count) {
    std::uint64_t bytes;
    if (!popTypeCheck('d') || !popSize(1, bytes)) {
        return false;
    }
    if (bytes > size) {
        return fail(kNoRoom, __LINE__, "popBlock", u"No room for the block");
    }
    const std::size_t rest = m_body.size() - static_cast<std::size_t>(bytes);
    if (bytes > 0) {
        std::memcpy(buffer, m_body.data() + rest, static_cast<std::size_t>(bytes));
    }
    m_body.resize(rest);
    count = static_cast<std::uint32_t>(bytes);
    return true;
}

bool SPW_CMessage::popString(SPW_CString& value) {
    std::uint32_t width;
    std::uint64_t bytes;
    if (!popTypeCheck('s') || !popNumber(width, 1)) {
        return false;
    }
    if (width != kWide && width != kNarrow) {
        return fail(kWrongType, __LINE__, "popString", u"Unknown character width");
    }
    if (!popSize(width, bytes)) {
        return false;
    }
    const std::size_t rest = m_body.size() - static_cast<std::size_t>(bytes);
    if (width == kNarrow) {
        m_body.push_back(0);
        value = SPW_CString(reinterpret_cast<const char*>(m_body.data() + rest));
    } else {
        const std::size_t count = static_cast<std::size_t>(bytes) / 2;
        const std::uint8_t* const from = m_body.data() + rest;
        char16_t* const text = value.getBuffer(static_cast<int>(count));
        for (std::size_t i = 0; i < count; ++i) {
            text[i] = static_cast<char16_t>(from[2 * i] | from[2 * i + 1] << 8);
        }
        value.assign(text);  // a character 0 ends the text
    }
    m_body.resize(rest);
    return true;
}

bool SPW_CMessage::popTypeCheck(char expected) {
    if (m_error != 0) {
        return false;
    }
    if (m_body.empty()) {
        return fail(kEmpty, 476, "popTypeCheck",
                    SPW_CString(u"Expecting typeid ") + typeText(expected) + u", but the message is empty");
    }
    const char found = static_cast<char>(m_body.back());
    if (found != expected) {
        // No blank before the expected id: people search logs for this text as it is.
        return fail(kWrongType, 482, "popTypeCheck",
                    SPW_CString(u"Expecting type-id") + typeText(expected) + u", but got type-id " + typeText(found));
    }
    m_body.pop_back();
    return true;
}

void SPW_CMessage::clear() {
    m_body.clear();
    m_error = 0;
}

SPW_CString SPW_CMessage::dump() const {
    SPW_CString text;
    SPW_CString one;
    for (const std::uint8_t byte : m_body) {
        one.format(u"[0x%x]", static_cast<unsigned>(byte));
        text.append(one);
    }
    return text;
}

bool SPW_CMessage::toPacket(std::vector<std::uint8_t>& packet) const {
    packet.clear();
    if (m_body.size() > kMaximumPacketBody) {
        report(kNoRoom, __LINE__, "toPacket", u"The message is too long for a packet");
        return false;
    }
    packet.reserve(kHeaderBytes + m_body.size());
    packet.push_back(kEscape);
    packet.push_back(kFormatVersion);
    packet.push_back(static_cast<std::uint8_t>(m_body.size() >> 8));
    packet.push_back(static_cast<std::uint8_t>(m_body.size()));
    packet.insert(packet.end(), m_body.begin(), m_body.end());
    return true;
}

void SPW_CMessage::start() {
    clear();
    m_expectedLength = 0;
    m_headerCount = 0;
}

SPW_Result SPW_CMessage::feed(const std::uint8_t* bytes, std::uint32_t count, std::uint32_t& consumed,
                              bool& completed) {
    consumed = 0;
    completed = false;
    if (m_expectedLength == kStartNotCalled) {
        m_error = m_error == 0 ? kNotStarted : m_error;
        SPW_CError::instance->userInfo(kModule, __LINE__, kClass, "feed", u"Start wasn't called");
        return kNotStarted;
    }
    while (m_headerCount < kHeaderBytes && consumed < count) {
        takeHeaderByte(bytes[consumed++]);
    }
    if (m_headerCount < kHeaderBytes) {
        return 0;
    }
    const std::uint32_t missing =
        static_cast<std::uint32_t>(m_expectedLength) - static_cast<std::uint32_t>(m_body.size());
    const std::uint32_t taken = std::min(missing, count - consumed);
    m_body.insert(m_body.end(), bytes + consumed, bytes + consumed + taken);
    consumed += taken;
    completed = taken == missing;
    if (completed) {
        m_expectedLength = kStartNotCalled;
    }
    return 0;
}

void SPW_CMessage::takeHeaderByte(std::uint8_t byte) {
    if (m_headerCount == 0 && byte != kEscape) {
        return;
    }
    m_header[m_headerCount++] = byte;
    if (m_headerCount < kHeaderBytes) {
        return;
    }
    if (m_header[1] == kFormatVersion) {
        m_expectedLength = m_header[2] * 256 + m_header[3];
        return;
    }
    ++m_packetErrors;
    start();
    SPW_CError::instance->userInfo(kModule, 562, kClass, "feed", u"Packet error");
}

void SPW_CMessage::pushBytes(const void* bytes, std::size_t count) {
    const std::uint8_t* const first = static_cast<const std::uint8_t*>(bytes);
    m_body.insert(m_body.end(), first, first + count);
}

void SPW_CMessage::pushNumber(std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        m_body.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    }
}

void SPW_CMessage::pushTyped(std::uint32_t value, int bytes, char typeId) {
    pushNumber(value, bytes);
    m_body.push_back(static_cast<std::uint8_t>(typeId));
}

bool SPW_CMessage::popNumber(std::uint32_t& value, int bytes) {
    if (m_body.size() < static_cast<std::size_t>(bytes)) {
        return fail(kEmpty, __LINE__, "popNumber", u"The message ends inside a value");
    }
    value = 0;
    for (int i = 0; i < bytes; ++i) {
        value = value << 8 | m_body.back();
        m_body.pop_back();
    }
    return true;
}

bool SPW_CMessage::popTyped(std::uint32_t& value, int bytes, char typeId) {
    std::uint32_t number = 0;
    if (!popTypeCheck(typeId) || !popNumber(number, bytes)) {
        return false;
    }
    value = number;
    return true;
}

// Pops the count of a block or string; `bytes` becomes the size of what it counts, which the body holds for sure.
bool SPW_CMessage::popSize(std::uint64_t unit, std::uint64_t& bytes) {
    std::uint32_t count = 0;
    if (!popTyped(count, 4, 'u')) {
        return false;
    }
    bytes = count * unit;
    return bytes <= m_body.size() || fail(kEmpty, __LINE__, "popSize", u"The message ends inside a value");
}

bool SPW_CMessage::fail(SPW_Result code, int line, const char* method, const SPW_CString& text) {
    m_error = code;
    report(code, line, method, text);
    return false;
}
