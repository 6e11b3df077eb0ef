#include <new>
#include <vector>

#include "SPW_CRegistry.h"

namespace {

template <typename T>
bool allocate(T*& payload) {
    if (payload == nullptr) {
        payload = new (std::nothrow) T();
    }
    return payload != nullptr;
}

template <typename T>
SPW_Result copyOut(const T* payload, T& value) {
    if (payload == nullptr) {
        return SPW_CRegistryData::kPayloadNotSet;
    }
    value = *payload;
    return 0;
}

SPW_CString joinedByBlanks(const SPW_CArray<SPW_CString>& list) {
    SPW_CString text;
    for (int i = 0; i < list.numberOfElements(); ++i) {
        if (i > 0) {
            text += u' ';
        }
        text += list[i];
    }
    return text;
}

SPW_CString spelledBy(const SPW_CArray<std::uint8_t>& bytes) {
    std::vector<char> text;
    text.reserve(static_cast<std::size_t>(bytes.numberOfElements()) + 1);
    for (int i = 0; i < bytes.numberOfElements(); ++i) {
        text.push_back(static_cast<char>(bytes[i]));
    }
    text.push_back(0);
    return SPW_CString(text.data());
}

}  // namespace

SPW_CRegistryData::SPW_CRegistryData()
    : m_type(kNotSet), m_string(nullptr), m_stringList(nullptr), m_number(nullptr), m_bytes(nullptr) {}

SPW_CRegistryData::~SPW_CRegistryData() {
    delete m_string;
    delete m_stringList;
    delete m_number;
    delete m_bytes;
}

SPW_Result SPW_CRegistryData::setString(const SPW_CString& value) {
    if (!allocate(m_string)) {
        return kAllocationFailed;
    }
    *m_string = value;
    m_type = kString;
    return 0;
}

SPW_Result SPW_CRegistryData::setStringList(const SPW_CArray<SPW_CString>& value) {
    if (!allocate(m_stringList)) {
        return kAllocationFailed;
    }
    *m_stringList = value;
    m_type = kStringList;
    return 0;
}

SPW_Result SPW_CRegistryData::setNumber(std::uint32_t value) {
    if (!allocate(m_number)) {
        return kAllocationFailed;
    }
    *m_number = value;
    m_type = kNumber;
    return 0;
}

SPW_Result SPW_CRegistryData::setBytes(const void* bytes, std::uint32_t size) {
    if (!allocate(m_bytes)) {
        return kAllocationFailed;
    }
    m_bytes->clear();
    for (std::uint32_t i = 0; i < size; ++i) {
        m_bytes->append(static_cast<const std::uint8_t*>(bytes)[i]);
    }
    m_type = kBytes;
    return 0;
}

SPW_Result SPW_CRegistryData::getString(SPW_CString& value) const {
    return copyOut(m_string, value);
}

SPW_Result SPW_CRegistryData::getStringList(SPW_CArray<SPW_CString>& value) const {
    return copyOut(m_stringList, value);
}

SPW_Result SPW_CRegistryData::getNumber(std::uint32_t& value) const {
    return copyOut(m_number, value);
}

SPW_Result SPW_CRegistryData::getBytes(SPW_CArray<std::uint8_t>& value) const {
    return copyOut(m_bytes, value);
}

bool SPW_CRegistryData::toText(SPW_CString& text) const {
    switch (m_type) {
        case kString:
            text = *m_string;
            return true;
        case kStringList:
            text = joinedByBlanks(*m_stringList);
            return true;
        case kNumber:
            text = static_cast<unsigned long>(*m_number);
            return true;
        case kBytes:
            text = spelledBy(*m_bytes);
            return true;
        case kNotSet:
            break;
    }
    return false;
}
