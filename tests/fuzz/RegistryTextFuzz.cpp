#include <cstdint>
#include <vector>

#include "Require.h"
#include "SPW_CRegistryText.h"

namespace {

constexpr char16_t kHive[] = u"HKEY_CURRENT_USER";

SPW_CString textOf(std::u16string_view name) {
    return SPW_CString(name.data(), static_cast<int>(name.size()));
}

bool sameValue(const SPW_CRegistryText::Value& a, const SPW_CRegistryText::Value& b) {
    return a.name == b.name && a.type == b.type &&
           std::vector<std::uint8_t>(a.data, a.data + a.size) == std::vector<std::uint8_t>(b.data, b.data + b.size);
}

void requireSameKey(const SPW_CRegistryText& a, int keyA, const SPW_CRegistryText& b, int keyB) {
    require(a.numberOfValues(keyA) == b.numberOfValues(keyB), "as many values");
    for (int i = 0; i < a.numberOfValues(keyA); ++i) {
        require(sameValue(a.value(keyA, i), b.value(keyB, i)), "the same value");
        require(b.findValue(keyB, textOf(a.value(keyA, i).name)) == i, "a value is found by its name");
    }
    require(a.numberOfSubKeys(keyA) == b.numberOfSubKeys(keyB), "as many subkeys");
    for (int i = 0; i < a.numberOfSubKeys(keyA); ++i) {
        const SPW_CString name = textOf(a.keyName(a.subKey(keyA, i)));
        require(b.findKey(keyB, name) == b.subKey(keyB, i), "a subkey is found by its name");
        requireSameKey(a, a.subKey(keyA, i), b, b.subKey(keyB, i));
    }
}

void requireSame(const SPW_CRegistryText& a, const SPW_CRegistryText& b) {
    requireSameKey(a, SPW_CRegistryText::kRoot, b, SPW_CRegistryText::kRoot);
}

std::vector<char> serialised(const SPW_CRegistryText& text) {
    std::vector<char> bytes;
    text.serialise(bytes);
    return bytes;
}

bool isUtf16(const std::vector<char>& bytes) {
    return bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE';
}

bool sameEncoding(const std::vector<char>& a, const std::vector<char>& b) {
    return isUtf16(a) == isUtf16(b);
}

void requireReadBackSame(const SPW_CRegistryText& text) {
    const std::vector<char> bytes = serialised(text);
    SPW_CRegistryText again(kHive);
    SPW_CRegistryText::Problem problem;
    require(again.parse(bytes.data(), bytes.size(), problem), "what is written can be read");
    requireSame(text, again);
    require(serialised(again) == bytes, "what is read is written as it was");
}

// Enters everything below a key of one text into another, so that every line of that one is freshly made.
void rebuild(const SPW_CRegistryText& from, int key, const SPW_CString& path, SPW_CRegistryText& to) {
    require(to.createKey(path) == 0, "a key can be made");
    for (int i = 0; i < from.numberOfValues(key); ++i) {
        const SPW_CRegistryText::Value value = from.value(key, i);
        require(to.setValue(path, textOf(value.name), value.type, value.data, value.size) == 0, "a value can be set");
    }
    for (int i = 0; i < from.numberOfSubKeys(key); ++i) {
        const int child = from.subKey(key, i);
        SPW_CString below(path);
        if (!path.isEmpty()) {
            below += u'\\';
        }
        below += textOf(from.keyName(child));
        rebuild(from, child, below, to);
    }
}

void removeBelow(SPW_CRegistryText& text, const SPW_CString& path) {
    for (int key = text.findKey(0, path); text.numberOfSubKeys(key) > 0; key = text.findKey(0, path)) {
        SPW_CString child(path);
        if (!path.isEmpty()) {
            child += u'\\';
        }
        child += textOf(text.keyName(text.subKey(key, 0)));
        removeBelow(text, child);
        require(text.deleteKey(child) == 0, "a key can be deleted");
    }
    for (int key = text.findKey(0, path); text.numberOfValues(key) > 0;) {
        require(text.deleteValue(path, textOf(text.value(key, 0).name)) == 0, "a value can be deleted");
        key = text.findKey(0, path);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<char> bytes(data, data + size);
    SPW_CRegistryText text(kHive);
    SPW_CRegistryText::Problem problem;
    if (!text.parse(bytes.data(), bytes.size(), problem)) {
        require(problem.line >= 1, "a problem has a line");
        require(serialised(text).empty(), "a text that is refused leaves nothing");
        return 0;
    }
    require(serialised(text) == bytes, "what is not edited is written as it was");
    requireReadBackSame(text);
    if (size < 4096) {  // every edit looks at the whole text
        SPW_CRegistryText fresh(kHive);
        rebuild(text, SPW_CRegistryText::kRoot, SPW_CString(), fresh);
        requireSame(text, fresh);
        requireReadBackSame(fresh);
        // And the same edits on the text as it came, comments and all.
        SPW_CRegistryText edited(text);
        require(edited.createKey(u"new] key") != 0, "no key's name holds what ends it");
        require(edited.createKey(u"new [key\\below") == 0, "a key can be added");
        require(edited.setValue(u"new [key", u"v", SPW_CRegistryText::kSz, u"x", 4) == 0, "a value can be added");
        require(edited.setValue(u"new [key", u"two\r\nlines", SPW_CRegistryText::kSz, u"x", 4) == 0,
                "a name may go over two lines");
        for (const std::uint32_t type : {SPW_CRegistryText::kExpandSz, SPW_CRegistryText::kMultiSz}) {
            // In a file of the older kind these are of 8-bit characters, whatever the text.
            require(edited.setValue(u"new [key", SPW_CString(static_cast<int>(type)), type, u"\xE4\xD83D\xDE00\xD800\0",
                                    10) == 0,
                    "a text of 16-bit characters can be added");
        }
        requireReadBackSame(edited);
        require(sameEncoding(serialised(edited), bytes), "a text stays in its encoding");
        removeBelow(edited, SPW_CString());
        requireReadBackSame(edited);
    }
    return 0;
}
