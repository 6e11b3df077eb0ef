#include "SPW_CRegistry.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "SPW_CRegistrySys.h"
#include "SPW_CSysError.h"

static_assert(SPW_CRegistryEdits::kOvertaken == SPW_CRegistrySys::kOvertaken, "what the platform answers");

namespace {

constexpr std::uint32_t kDataSize = 510;         // bytes of a value's data, terminators included
constexpr std::uint32_t kNameSize = 510;         // characters of a name, terminator included
constexpr std::uint32_t kDeletedNameSize = 255;  // the same where a tree is deleted

SPW_CRegistrySys& sys() {
    return *SPW_CRegistrySys::instance;
}

bool hiveOf(const SPW_CString& name, SPW_CRegistrySys::Hive& hive) {
    static constexpr struct {
        const char16_t* name;
        SPW_CRegistrySys::Hive hive;
    } kHives[] = {{u"HKEY_CLASSES_ROOT", SPW_CRegistrySys::kClassesRoot},
                  {u"HKEY_CURRENT_USER", SPW_CRegistrySys::kCurrentUser},
                  {u"HKEY_LOCAL_MACHINE", SPW_CRegistrySys::kLocalMachine}};
    for (const auto& known : kHives) {
        if (name == known.name) {
            hive = known.hive;
            return true;
        }
    }
    return false;
}

SPW_Handle rootOf(const SPW_CString& name) {
    SPW_CRegistrySys::Hive hive;
    return hiveOf(name, hive) ? sys().rootKey(hive) : nullptr;
}

SPW_Handle editedRootOf(const SPW_CString& name) {
    SPW_CRegistrySys::Hive hive;
    return hiveOf(name, hive) ? sys().beginEdits(hive) : nullptr;
}

std::uint32_t bytesWithTerminator(const SPW_CString& text) {
    return (static_cast<std::uint32_t>(text.length()) + 1) * 2;
}

// A value as it comes out of the registry. A terminator stands behind the data of every type.
struct RawValue {
    std::uint32_t type = SPW_CRegistrySys::kNone;
    std::uint32_t size = kDataSize;
    char16_t units[kDataSize / 2 + 1] = {};
};

SPW_Result queryLongText(SPW_Handle key, const SPW_CString& name, std::uint32_t size, SPW_CString& text) {
    const std::uint32_t units = size / 2 + 2;  // half a character is one; and a terminator
    char16_t* const buffer = new (std::nothrow) char16_t[units]();
    if (buffer == nullptr) {
        return kSysNotEnoughMemory;
    }
    std::uint32_t type = SPW_CRegistrySys::kNone;
    const SPW_Result code = sys().queryValue(key, name, type, buffer, size);
    if (code == 0) {
        text = buffer;
    }
    delete[] buffer;
    return code;
}

// A value that has grown between the two calls gives the code 234, like a value beyond the limit.
SPW_Result queryText(SPW_Handle key, const SPW_CString& name, std::uint32_t sizeLimit, SPW_CString& text) {
    RawValue raw;
    const SPW_Result code = sys().queryValue(key, name, raw.type, raw.units, raw.size);
    if (code != 0 && code != kSysMoreData) {
        return code;
    }
    if (raw.size > sizeLimit) {
        return kSysMoreData;
    }
    if (code != 0) {
        return queryLongText(key, name, raw.size, text);
    }
    text = raw.units;
    return 0;
}

void listFromRaw(const char16_t* units, std::uint32_t size, SPW_CArray<SPW_CString>& list) {
    // This class ends a list with the terminator of its last text. Other programs write one terminator more. Such a
    // list deliberately has an empty text as its last element: the reader gets what is stored.
    std::uint32_t consumed = 0;
    while (consumed < size) {
        const SPW_CString text(units + consumed / 2);
        list.append(text);
        consumed += bytesWithTerminator(text);
    }
}

}  // namespace

SPW_CRegistryEdits::SPW_CRegistryEdits(const SPW_CString& hive) : m_hive(hive), m_root(editedRootOf(hive)) {}

SPW_CRegistryEdits::~SPW_CRegistryEdits() {
    (void)end(false);
}

SPW_Result SPW_CRegistryEdits::write() {
    return end(true);
}

SPW_Result SPW_CRegistryEdits::end(bool write) {
    const SPW_Handle root = m_root;
    m_root = nullptr;
    return root != nullptr ? sys().endEdits(root, write) : 0;
}

SPW_CRegistry::SPW_CRegistry(const SPW_CString& hive, const SPW_CString& path, Presence presence)
    : m_path(path), m_hive(hive), m_root(rootOf(hive)), m_subKeyCount(0), m_valueCount(0), m_key(nullptr), m_isOpen(0) {
    if (presence == kCreateKey) {
        makeSure();
    }
}

SPW_CRegistry::SPW_CRegistry(const SPW_CRegistryEdits& edits, const SPW_CString& path)
    : m_path(path),
      m_hive(edits.m_hive),
      m_root(edits.m_root),
      m_subKeyCount(0),
      m_valueCount(0),
      m_key(nullptr),
      m_isOpen(0) {
    makeSure();
}

// A failure is not checked: the first operation on the missing key reports it.
void SPW_CRegistry::makeSure() {
    SPW_Handle key = nullptr;
    if (sys().createKey(m_root, m_path, SPW_CRegistrySys::kAllAccess, key) == 0) {
        (void)sys().closeKey(key);
    }
}

SPW_CRegistry::~SPW_CRegistry() {
    (void)close();
}

SPW_Result SPW_CRegistry::createKey(const SPW_CString& name) {
    if (m_root == nullptr) {
        return failHive();
    }
    SPW_CString path(m_path);
    path += u'\\';
    path += name;
    SPW_Result status = 0;
    const SPW_Result code = sys().createKey(m_root, path, SPW_CRegistrySys::kAllAccess, m_key);
    if (code == 0) {
        m_isOpen = 1;
    } else {
        status = failCall(u"RegCreateKeyEx failed", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::deleteKey(const SPW_CString& name) {
    SPW_Result status = open(SPW_CRegistrySys::kDelete);
    if (status != 0) {
        return status;
    }
    const SPW_Result code = deleteTree(m_key, name);
    if (code != 0) {
        status = failCall(u"RegDeleteKey failed ", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::deleteValue(const SPW_CString& name) {
    SPW_Result status = open(SPW_CRegistrySys::kAllAccess);
    if (status != 0) {
        return status;
    }
    const SPW_Result code = sys().deleteValue(m_key, name);
    if (code != 0) {
        status = failCall(u"RegDeleteValue failed ", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::enumKey(std::uint32_t index, SPW_CString& name) {
    SPW_Result status = open(SPW_CRegistrySys::kEnumerateSubKeys);
    if (status != 0) {
        return status;
    }
    SPW_CString found;
    const SPW_Result code = sys().enumKey(m_key, index, found, kNameSize);
    if (code == 0) {
        name = found;
    } else {
        status = failCall(u"RegEnumKeyEx failed", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::enumValue(std::uint32_t index, SPW_CString& name, SPW_CRegistryData& data) {
    SPW_Result status = open(SPW_CRegistrySys::kRead);
    if (status != 0) {
        return status;
    }
    RawValue raw;
    SPW_CString found;
    const SPW_Result code = sys().enumValue(m_key, index, found, kNameSize, raw.type, raw.units, raw.size);
    if (code == 0) {
        name = found;
        status = fromRaw(raw.type, raw.units, raw.size, data);
    } else {
        status = failCall(u"RegEnumValue failed ", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::getNumberOfSubKeys(std::uint32_t& count) {
    const SPW_Result status = queryCounts();
    if (status == 0) {
        count = m_subKeyCount;
    }
    return status;
}

SPW_Result SPW_CRegistry::getNumberOfValues(std::uint32_t& count) {
    const SPW_Result status = queryCounts();
    if (status == 0) {
        count = m_valueCount;
    }
    return status;
}

SPW_Result SPW_CRegistry::getValue(const SPW_CString& name, SPW_CRegistryData& data) {
    SPW_Result status = open(SPW_CRegistrySys::kQueryValue);
    if (status != 0) {
        return status;
    }
    RawValue raw;
    const SPW_Result code = sys().queryValue(m_key, name, raw.type, raw.units, raw.size);
    status = code == 0 ? fromRaw(raw.type, raw.units, raw.size, data) : failCall(u"RegQueryValueEx failed", code);
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::getRawText(const SPW_CString& name, SPW_CString& text, std::uint32_t sizeLimit) {
    SPW_Result status = open(SPW_CRegistrySys::kQueryValue);
    if (status != 0) {
        return status;
    }
    const SPW_Result code = queryText(m_key, name, sizeLimit, text);
    if (code != 0) {
        status = failCall(u"RegQueryValueEx failed", code);
    }
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::setValue(const SPW_CString& name, const SPW_CRegistryData& data) {
    SPW_Result status = open(SPW_CRegistrySys::kSetValue);
    if (status != 0) {
        return status;
    }
    status = writeTagged(name, data);
    (void)close();
    return status;
}

SPW_Result SPW_CRegistry::getKeyName(SPW_CString& hive, SPW_CString& path) const {
    hive = m_hive;
    path = m_path;
    return 0;
}

SPW_Result SPW_CRegistry::getLastError(SPW_CString& text) {
    text = m_lastError;
    m_lastError.clear();
    return 0;
}

SPW_Result SPW_CRegistry::fail(SPW_Result status, const SPW_CString& text) {
    m_lastError = text;
    m_isMissing = false;
    return status;
}

// Deliberately some of the texts end in a blank and some do not. The number follows without a further blank.
SPW_Result SPW_CRegistry::failCall(const char16_t* what, SPW_Result code) {
    SPW_CString text(what);
    text += static_cast<unsigned long>(code);
    (void)fail(kCallFailed, text);
    m_isMissing = code == kSysFileNotFound;
    return kCallFailed;
}

SPW_Result SPW_CRegistry::failHive() {
    SPW_CString text(u"hive ");
    text += m_hive;
    text += u" not supported";
    return fail(kHiveNotSupported, text);
}

SPW_Result SPW_CRegistry::open(std::uint32_t access) {
    SPW_Result status = 0;
    if (m_root == nullptr) {
        status = failHive();
    }
    if (m_isOpen == 1) {
        status = fail(kAlreadyOpen, u"Key was already opened");
    }
    if (status != 0) {
        return status;
    }
    const SPW_Result code = sys().openKey(m_root, m_path, access, m_key);
    if (code != 0) {
        return failCall(u"RegOpenKeyEx failed", code);
    }
    m_isOpen = 1;
    return 0;
}

// A key that cannot be closed stays marked as open: every later operation then fails.
SPW_Result SPW_CRegistry::close() {
    if (m_root == nullptr) {
        return failHive();
    }
    if (m_isOpen != 1) {
        return 0;
    }
    const SPW_Result code = sys().closeKey(m_key);
    if (code != 0) {
        return failCall(u"RegCloseKey failed ", code);
    }
    m_isOpen = 0;
    return 0;
}

SPW_Result SPW_CRegistry::queryCounts() {
    SPW_Result status = open(SPW_CRegistrySys::kQueryValue);
    if (status != 0) {
        return status;
    }
    const SPW_Result code = sys().queryCounts(m_key, m_subKeyCount, m_valueCount);
    if (code != 0) {
        status = failCall(u"RegQueryInfoKey failed ", code);
    }
    (void)close();
    return status;
}

// Deliberately a failure inside returns at once and leaves the child open. This class has always done so.
SPW_Result SPW_CRegistry::deleteTree(SPW_Handle parent, const SPW_CString& name) {
    if (name.isEmpty()) {
        return kSysBadKey;
    }
    SPW_Handle child = nullptr;
    SPW_Result code =
        sys().openKey(parent, name, SPW_CRegistrySys::kDelete | SPW_CRegistrySys::kEnumerateSubKeys, child);
    if (code != 0) {
        return code;
    }
    // Always index 0: each pass removes the first subkey.
    SPW_CString subKey;
    while ((code = sys().enumKey(child, 0, subKey, kDeletedNameSize)) == 0) {
        code = deleteTree(child, subKey);
        if (code != 0) {
            return code;
        }
    }
    if (code != kSysNoMoreItems) {
        return code;
    }
    (void)sys().closeKey(child);  // the deletion says what matters
    return sys().deleteKey(parent, name);
}

SPW_Result SPW_CRegistry::fromRaw(std::uint32_t type, const void* bytes, std::uint32_t size, SPW_CRegistryData& data) {
    const char16_t* units = static_cast<const char16_t*>(bytes);
    switch (type) {
        case SPW_CRegistrySys::kNone:
        case SPW_CRegistrySys::kBinary:
            return data.setBytes(bytes, size);
        case SPW_CRegistrySys::kSz:
            return data.setString(units);
        case SPW_CRegistrySys::kDword: {
            std::uint32_t number = 0;
            std::memcpy(&number, bytes, sizeof number);
            return data.setNumber(number);
        }
        case SPW_CRegistrySys::kMultiSz: {
            SPW_CArray<SPW_CString> list;
            listFromRaw(units, size, list);
            return data.setStringList(list);
        }
        default: {
            SPW_CString text(u"Registry type <");
            text += static_cast<unsigned long>(type);
            text += u"> is unsupported";
            return fail(kTypeNotSupported, text);
        }
    }
}

SPW_Result SPW_CRegistry::writeTagged(const SPW_CString& name, const SPW_CRegistryData& data) {
    // The type says that its payload is there. The getters cannot fail here.
    switch (data.type()) {
        case SPW_CRegistryData::kString: {
            SPW_CString text;
            (void)data.getString(text);
            return writeRaw(name, SPW_CRegistrySys::kSz, text.text(), bytesWithTerminator(text));
        }
        case SPW_CRegistryData::kStringList:
            return writeList(name, data);
        case SPW_CRegistryData::kNumber: {
            std::uint32_t number = 0;
            (void)data.getNumber(number);
            return writeRaw(name, SPW_CRegistrySys::kDword, &number, sizeof number);
        }
        case SPW_CRegistryData::kBytes: {
            SPW_CArray<std::uint8_t> bytes;
            (void)data.getBytes(bytes);
            const int size = bytes.numberOfElements();
            return writeRaw(name, SPW_CRegistrySys::kBinary, size > 0 ? &bytes[0] : nullptr,
                            static_cast<std::uint32_t>(size));
        }
        default:
            return fail(kNothingToWrite, u"data not set");
    }
}

// The texts one after the other, each with its terminator. Deliberately no empty text stands at the end.
SPW_Result SPW_CRegistry::writeList(const SPW_CString& name, const SPW_CRegistryData& data) {
    SPW_CArray<SPW_CString> list;
    (void)data.getStringList(list);  // the tag says that it is there
    if (list.numberOfElements() == 0) {
        return fail(kNothingToWrite, u"no strings in multistring data");
    }
    char* block = nullptr;
    std::uint32_t total = 0;
    for (int i = 0; i < list.numberOfElements(); ++i) {
        const std::uint32_t size = bytesWithTerminator(list[i]);
        char* grown = static_cast<char*>(std::realloc(block, total + size));
        if (grown == nullptr) {
            std::free(block);
            return failCall(u"realloc failed", kSysNotEnoughMemory);
        }
        block = grown;
        std::memcpy(block + total, list[i].text(), size);
        total += size;
    }
    const SPW_Result status = writeRaw(name, SPW_CRegistrySys::kMultiSz, block, total);
    std::free(block);
    return status;
}

SPW_Result SPW_CRegistry::writeRaw(const SPW_CString& name, std::uint32_t type, const void* bytes, std::uint32_t size) {
    const SPW_Result code = sys().setValue(m_key, name, type, bytes, size);
    return code == 0 ? 0 : failCall(u"RegSetValueEx failed ", code);
}
