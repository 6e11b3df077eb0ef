#include <cstring>
#include <vector>

#include "SPW_CHiveFilePosix.h"
#include "SPW_CRegistrySys.h"
#include "SPW_CSysError.h"

namespace {

using Text = std::shared_ptr<const SPW_CRegistryText>;
using Hive = SPW_CRegistrySys::Hive;

// Changes that are written together: the content of the hive at the first look, and its new content.
class Edits {
public:
    explicit Edits(Hive hive) : m_hive(hive) {}

    SPW_Result read(Text& text) {
        const SPW_Result code = m_text != nullptr ? SPW_Result(kSysOk) : SPW_CHiveFilePosix::read(m_hive, m_text);
        m_read = m_read != nullptr ? m_read : m_text;
        text = m_text;
        return code;
    }

    template <typename Change>
    SPW_Result edit(const Change& change) {
        Text text;
        SPW_Result code = read(text);
        if (code == kSysOk) {
            const auto edited = std::make_shared<SPW_CRegistryText>(*text);
            code = change(*edited);
            m_text = code == kSysOk ? edited : text;
        }
        return code;
    }

    SPW_Result write() const {
        if (m_text == nullptr || !m_text->isChanged()) {
            return kSysOk;
        }
        return SPW_CHiveFilePosix::edit(m_hive, [this](SPW_CRegistryText& text) -> SPW_Result {
            std::vector<char> present;
            std::vector<char> read;
            text.serialise(present);
            m_read->serialise(read);
            if (present != read) {
                return SPW_CRegistrySys::kOvertaken;
            }
            text = *m_text;
            return kSysOk;
        });
    }

private:
    const Hive m_hive;
    Text m_read;
    Text m_text;
};

// A handle names a key. Every operation looks the key up in the file again.
struct Key {
    Hive hive;
    SPW_CString path;
    std::uint32_t access;
    Edits* edits;  // what the key is looked up in instead; null for the file
};

const Key* keyOf(SPW_Handle handle) {
    return static_cast<const Key*>(handle);
}

SPW_Result readHive(const Key& key, Text& text) {
    return key.edits != nullptr ? key.edits->read(text) : SPW_CHiveFilePosix::read(key.hive, text);
}

template <typename Change>
SPW_Result editHive(const Key& key, const Change& change) {
    return key.edits != nullptr ? key.edits->edit(change) : SPW_CHiveFilePosix::edit(key.hive, change);
}

SPW_CString pathBelow(const Key& parent, const SPW_CString& path) {
    SPW_CString whole(parent.path);
    whole += u'\\';
    whole += path;
    return whole;
}

bool mayNot(SPW_Handle handle, std::uint32_t access) {
    return (keyOf(handle)->access & access) != access;
}

// The text of the key's hive and the key in it.
SPW_Result findKey(const Key& key, const SPW_CString& path, Text& text, int& number) {
    const SPW_Result code = readHive(key, text);
    if (code != kSysOk) {
        return code;
    }
    number = text->findKey(SPW_CRegistryText::kRoot, path);
    return number == SPW_CRegistryText::kNotFound ? kSysFileNotFound : kSysOk;
}

SPW_Result findReadable(SPW_Handle handle, std::uint32_t access, Text& text, int& number) {
    if (handle == nullptr) {
        return kSysInvalidHandle;
    }
    if (mayNot(handle, access)) {
        return kSysAccessDenied;
    }
    return findKey(*keyOf(handle), keyOf(handle)->path, text, number);
}

SPW_Result copyName(std::u16string_view from, SPW_CString& name, std::uint32_t nameSize) {
    if (from.size() >= nameSize) {
        return kSysMoreData;
    }
    name = SPW_CString(from.data(), static_cast<int>(from.size()));
    return kSysOk;
}

SPW_Result copyData(const SPW_CRegistryText::Value& value, std::uint32_t& type, void* data, std::uint32_t& size) {
    type = value.type;
    const std::uint32_t room = size;
    size = value.size;
    if (value.size > room) {
        return kSysMoreData;
    }
    if (value.size > 0) {
        std::memcpy(data, value.data, value.size);
    }
    return kSysOk;
}

class RegistrySysPosix : public SPW_CRegistrySys {
public:
    SPW_Handle rootKey(Hive hive) override { return &m_roots[hive]; }

    SPW_Handle beginEdits(Hive hive) override { return new Key{hive, SPW_CString(), kAllAccess, new Edits(hive)}; }

    SPW_Result endEdits(SPW_Handle root, bool write) override {
        if (root == nullptr) {
            return kSysInvalidHandle;
        }
        const SPW_Result code = write ? keyOf(root)->edits->write() : SPW_Result(kSysOk);
        delete keyOf(root)->edits;
        delete keyOf(root);
        return code;
    }

    SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        SPW_Result code = openKey(parent, path, access, key);
        if (code != kSysFileNotFound) {
            return code;
        }
        const SPW_CString whole = pathBelow(*keyOf(parent), path);
        code = editHive(*keyOf(parent), [&](SPW_CRegistryText& text) { return text.createKey(whole); });
        return code == kSysOk ? openKey(parent, path, access, key) : code;
    }

    SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        if (parent == nullptr) {
            return kSysInvalidHandle;
        }
        const SPW_CString whole = pathBelow(*keyOf(parent), path);
        Text text;
        int number = 0;
        const SPW_Result code = findKey(*keyOf(parent), whole, text, number);
        if (code == kSysOk) {
            key = new Key{keyOf(parent)->hive, whole, access, keyOf(parent)->edits};
        }
        return code;
    }

    SPW_Result closeKey(SPW_Handle key) override {
        if (key == nullptr) {
            return kSysInvalidHandle;
        }
        if (key != &m_roots[keyOf(key)->hive]) {
            delete keyOf(key);
        }
        return kSysOk;
    }

    SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) override {
        if (parent == nullptr) {
            return kSysInvalidHandle;
        }
        const SPW_CString whole = pathBelow(*keyOf(parent), name);
        return editHive(*keyOf(parent), [&](SPW_CRegistryText& text) { return text.deleteKey(whole); });
    }

    SPW_Result deleteValue(SPW_Handle key, const SPW_CString& name) override {
        Text text;
        int number = 0;
        const SPW_Result code = findReadable(key, kSetValue, text, number);
        if (code != kSysOk) {
            return code;
        }
        return editHive(*keyOf(key),
                        [&](SPW_CRegistryText& edited) { return edited.deleteValue(keyOf(key)->path, name); });
    }

    SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) override {
        Text text;
        int number = 0;
        const SPW_Result code = findReadable(key, kEnumerateSubKeys, text, number);
        if (code != kSysOk) {
            return code;
        }
        if (index >= static_cast<std::uint32_t>(text->numberOfSubKeys(number))) {
            return kSysNoMoreItems;
        }
        return copyName(text->keyName(text->subKey(number, static_cast<int>(index))), name, nameSize);
    }

    SPW_Result enumValue(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize,
                         std::uint32_t& type, void* data, std::uint32_t& size) override {
        Text text;
        int number = 0;
        SPW_Result code = findReadable(key, kQueryValue, text, number);
        if (code != kSysOk) {
            return code;
        }
        if (index >= static_cast<std::uint32_t>(text->numberOfValues(number))) {
            return kSysNoMoreItems;
        }
        const SPW_CRegistryText::Value value = text->value(number, static_cast<int>(index));
        code = copyName(value.name, name, nameSize);
        return code == kSysOk ? copyData(value, type, data, size) : code;
    }

    SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) override {
        Text text;
        int number = 0;
        const SPW_Result code = findReadable(key, kQueryValue, text, number);
        if (code == kSysOk) {
            subKeys = static_cast<std::uint32_t>(text->numberOfSubKeys(number));
            values = static_cast<std::uint32_t>(text->numberOfValues(number));
        }
        return code;
    }

    SPW_Result queryValue(SPW_Handle key, const SPW_CString& name, std::uint32_t& type, void* data,
                          std::uint32_t& size) override {
        Text text;
        int number = 0;
        const SPW_Result code = findReadable(key, kQueryValue, text, number);
        if (code != kSysOk) {
            return code;
        }
        const int index = text->findValue(number, name);
        return index == SPW_CRegistryText::kNotFound ? SPW_Result(kSysFileNotFound)
                                                     : copyData(text->value(number, index), type, data, size);
    }

    SPW_Result setValue(SPW_Handle key, const SPW_CString& name, std::uint32_t type, const void* data,
                        std::uint32_t size) override {
        if (key == nullptr) {
            return kSysInvalidHandle;
        }
        if (mayNot(key, kSetValue)) {
            return kSysAccessDenied;
        }
        return editHive(*keyOf(key), [&](SPW_CRegistryText& text) {
            return text.setValue(keyOf(key)->path, name, type, data, size);
        });
    }

private:
    Key m_roots[3] = {{kClassesRoot, SPW_CString(), kAllAccess, nullptr},
                      {kCurrentUser, SPW_CString(), kAllAccess, nullptr},
                      {kLocalMachine, SPW_CString(), kAllAccess, nullptr}};
};

RegistrySysPosix g_registrySys;

}  // namespace

SPW_CRegistrySys* SPW_CRegistrySys::instance = &g_registrySys;
