#include "SPW_CRegistry.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

#include "OwnRegistry.h"
#include "RegistrySysForwarder.h"
#include "SPW_CSysError.h"
#include "StringPrinting.h"

namespace {

using testing::ElementsAre;

std::string errorOf(SPW_CRegistry& registry) {
    SPW_CString text;
    EXPECT_EQ(registry.getLastError(text), 0u);
    return text.toAnsi();
}

SPW_CString stringAt(SPW_CRegistry& registry, const char16_t* name) {
    SPW_CRegistryData data;
    SPW_CString text;
    EXPECT_EQ(registry.getValue(name, data), 0u) << errorOf(registry);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kString);
    EXPECT_EQ(data.getString(text), 0u);
    return text;
}

std::vector<std::string> listAt(SPW_CRegistry& registry, const char16_t* name) {
    SPW_CRegistryData data;
    SPW_CArray<SPW_CString> list;
    EXPECT_EQ(registry.getValue(name, data), 0u) << errorOf(registry);
    EXPECT_EQ(data.getStringList(list), 0u);
    std::vector<std::string> texts;
    for (int i = 0; i < list.numberOfElements(); ++i) {
        texts.emplace_back(list[i].toAnsi());
    }
    return texts;
}

class RegistryTest : public testing::Test {
protected:
    SPW_Result setString(const SPW_CString& name, const SPW_CString& value) {
        SPW_CRegistryData data;
        EXPECT_EQ(data.setString(value), 0u);
        return m_registry.setValue(name, data);
    }
    void writeHive(const std::string& values) {
        m_own.load("HKEY_CURRENT_USER", "[HKEY_CURRENT_USER\\Software\\K]\n" + values);
    }

    OwnRegistry m_own;
    SPW_CRegistry m_registry{u"HKEY_CURRENT_USER", u"Software\\K"};
};

// --- Construction ---

TEST_F(RegistryTest, ConstructionMakesTheKey) {
    SPW_CRegistry parent(u"HKEY_CURRENT_USER", u"Software");
    SPW_CString name;
    EXPECT_EQ(parent.enumKey(0, name), 0u);
    EXPECT_EQ(name, u"K");
}

TEST_F(RegistryTest, ConstructionOnRequestLeavesAMissingKeyMissing) {
    SPW_CRegistry missing(u"HKEY_CURRENT_USER", u"Software\\Other", SPW_CRegistry::kOnlyIfPresent);
    std::uint32_t count = 0;
    EXPECT_EQ(missing.getNumberOfValues(count), 540u);
    EXPECT_EQ(errorOf(missing), "RegOpenKeyEx failed2");
}

TEST_F(RegistryTest, HivesAreKeptApart) {
    SPW_CRegistry machine(u"HKEY_LOCAL_MACHINE", u"a");
    SPW_CRegistry classes(u"HKEY_CLASSES_ROOT", u"b");
    EXPECT_EQ(machine.createKey(u"x"), 0u);
    std::uint32_t count = 0;
    EXPECT_EQ(machine.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(classes.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(count, 0u);
    for (const char16_t* hive : {u"HKEY_CURRENT_USER", u"HKEY_CLASSES_ROOT"}) {
        SPW_CRegistry missing(hive, u"a", SPW_CRegistry::kOnlyIfPresent);
        EXPECT_EQ(missing.getNumberOfSubKeys(count), 540u) << SPW_CString(hive).toAnsi();
    }
}

TEST_F(RegistryTest, KeyNameIsWhatWasGiven) {
    SPW_CString hive;
    SPW_CString path;
    EXPECT_EQ(m_registry.getKeyName(hive, path), 0u);
    EXPECT_EQ(hive, u"HKEY_CURRENT_USER");
    EXPECT_EQ(path, u"Software\\K");
}

TEST_F(RegistryTest, UnknownHiveFailsEveryOperationWith541) {
    for (const char16_t* hive : {u"HKEY_USERS", u"hkey_current_user"}) {
        SPW_CRegistry registry(hive, u"a");
        const std::string text = std::string("hive ") + SPW_CString(hive).toAnsi() + " not supported";
        EXPECT_EQ(errorOf(registry), "");
        SPW_CString name;
        SPW_CRegistryData data;
        std::uint32_t count = 0;
        EXPECT_EQ(registry.createKey(u"x"), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.deleteKey(u"x"), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.deleteValue(u"x"), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.enumKey(0, name), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.enumValue(0, name, data), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.getNumberOfSubKeys(count), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.getNumberOfValues(count), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.getValue(u"x", data), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.getRawText(u"x", name), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.setValue(u"x", data), 541u);
        EXPECT_EQ(errorOf(registry), text);
        EXPECT_EQ(registry.getKeyName(name, name), 0u);
    }
}

// --- Values ---

TEST_F(RegistryTest, EveryKindOfValueComesBack) {
    SPW_CRegistryData data;
    EXPECT_EQ(setString(u"text", u"wert ä"), 0u);
    EXPECT_EQ(data.setNumber(4000000000u), 0u);
    EXPECT_EQ(m_registry.setValue(u"number", data), 0u);
    EXPECT_EQ(data.setBytes("\x00\xFF", 2), 0u);
    EXPECT_EQ(m_registry.setValue(u"bytes", data), 0u);

    EXPECT_EQ(stringAt(m_registry, u"TEXT"), u"wert ä");
    std::uint32_t number = 0;
    SPW_CRegistryData read;
    EXPECT_EQ(m_registry.getValue(u"number", read), 0u);
    EXPECT_EQ(read.getNumber(number), 0u);
    EXPECT_EQ(number, 4000000000u);
    SPW_CArray<std::uint8_t> bytes;
    EXPECT_EQ(m_registry.getValue(u"bytes", read), 0u);
    EXPECT_EQ(read.type(), SPW_CRegistryData::kBytes);
    EXPECT_EQ(read.getBytes(bytes), 0u);
    ASSERT_EQ(bytes.numberOfElements(), 2);
    EXPECT_EQ(bytes[1], 0xFF);
}

TEST_F(RegistryTest, TheShortestBytesAndTextAndTheDefaultValueComeBack) {
    SPW_CRegistryData data;
    EXPECT_EQ(data.setBytes(nullptr, 0), 0u);
    EXPECT_EQ(m_registry.setValue(u"b", data), 0u);
    EXPECT_EQ(setString(u"", u""), 0u);
    SPW_CRegistryData read;
    SPW_CArray<std::uint8_t> bytes;
    EXPECT_EQ(m_registry.getValue(u"b", read), 0u);
    EXPECT_EQ(read.getBytes(bytes), 0u);
    EXPECT_EQ(bytes.numberOfElements(), 0);
    EXPECT_EQ(stringAt(m_registry, u""), u"");

    EXPECT_EQ(data.setBytes("\x7", 1), 0u);
    EXPECT_EQ(m_registry.setValue(u"b", data), 0u);
    EXPECT_EQ(m_registry.getValue(u"b", read), 0u);
    EXPECT_EQ(read.getBytes(bytes), 0u);
    ASSERT_EQ(bytes.numberOfElements(), 1);
    EXPECT_EQ(bytes[0], 7);
}

TEST_F(RegistryTest, ListOccupiesNoFinalEmptyText) {
    SPW_CArray<SPW_CString> list;
    list.append(u"a");
    list.append(u"b");
    SPW_CRegistryData data;
    EXPECT_EQ(data.setStringList(list), 0u);
    EXPECT_EQ(m_registry.setValue(u"l", data), 0u);
    EXPECT_THAT(listAt(m_registry, u"l"), ElementsAre("a", "b"));
}

TEST_F(RegistryTest, ListWithTheUsualFinalEmptyTextHasItAsAnElement) {
    writeHive("\"l\"=hex(7):61,00,00,00,62,00,00,00,00,00\n");
    EXPECT_THAT(listAt(m_registry, u"l"), ElementsAre("a", "b", ""));
}

TEST_F(RegistryTest, EmptyListWritesNothing) {
    SPW_CRegistryData data;
    EXPECT_EQ(data.setStringList(SPW_CArray<SPW_CString>()), 0u);
    EXPECT_EQ(m_registry.setValue(u"l", data), 544u);
    EXPECT_EQ(errorOf(m_registry), "no strings in multistring data");
    EXPECT_EQ(m_registry.getValue(u"l", data), 540u);
}

TEST_F(RegistryTest, DataWithoutATagAreRefused) {
    const SPW_CRegistryData data;
    EXPECT_EQ(m_registry.setValue(u"x", data), 544u);
    EXPECT_EQ(errorOf(m_registry), "data not set");
}

TEST_F(RegistryTest, MissingValueIsNotFound) {
    SPW_CRegistryData data;
    EXPECT_EQ(m_registry.getValue(u"x", data), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegQueryValueEx failed2");
    EXPECT_EQ(m_registry.deleteValue(u"x"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegDeleteValue failed 2");
}

TEST_F(RegistryTest, DeletedValueIsGone) {
    EXPECT_EQ(setString(u"x", u"1"), 0u);
    EXPECT_EQ(m_registry.deleteValue(u"X"), 0u);
    SPW_CRegistryData data;
    EXPECT_EQ(m_registry.getValue(u"x", data), 540u);
}

TEST_F(RegistryTest, TypesThatAreNotHandledLeaveTheDataAlone) {
    writeHive("\"e\"=hex(2):25,00,00,00\n\"f\"=hex(b):01,02,03,04,05,06,07,08\n\"n\"=hex(0):01\n");
    SPW_CRegistryData data;
    EXPECT_EQ(data.setNumber(5), 0u);
    EXPECT_EQ(m_registry.getValue(u"e", data), 545u);
    EXPECT_EQ(errorOf(m_registry), "Registry type <2> is unsupported");
    SPW_CString name;
    EXPECT_EQ(m_registry.enumValue(1, name, data), 545u);
    EXPECT_EQ(errorOf(m_registry), "Registry type <11> is unsupported");
    EXPECT_EQ(name, u"f");
    EXPECT_EQ(data.type(), SPW_CRegistryData::kNumber);
    EXPECT_EQ(m_registry.getValue(u"n", data), 0u);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kBytes);
}

TEST_F(RegistryTest, DataOfMoreThan510BytesAreTooLong) {
    const std::u16string longest(254, u'x');
    EXPECT_EQ(setString(u"fits", longest.c_str()), 0u);
    EXPECT_EQ(stringAt(m_registry, u"fits"), longest.c_str());
    EXPECT_EQ(setString(u"long", (longest + u"x").c_str()), 0u);
    SPW_CRegistryData data;
    SPW_CString name;
    EXPECT_EQ(m_registry.getValue(u"long", data), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegQueryValueEx failed234");
    EXPECT_EQ(m_registry.enumValue(1, name, data), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegEnumValue failed 234");

    const std::string bytes(511, '\0');
    EXPECT_EQ(data.setBytes(bytes.data(), 510), 0u);
    EXPECT_EQ(m_registry.setValue(u"510", data), 0u);
    EXPECT_EQ(data.setBytes(bytes.data(), 511), 0u);
    EXPECT_EQ(m_registry.setValue(u"511", data), 0u);
    EXPECT_EQ(m_registry.getValue(u"510", data), 0u);
    EXPECT_EQ(m_registry.getValue(u"511", data), 540u);
}

TEST_F(RegistryTest, NamesOfMoreThan509CharactersAreTooLong) {
    EXPECT_EQ(setString(std::u16string(509, u'n').c_str(), u"1"), 0u);
    EXPECT_EQ(setString(std::u16string(510, u'n').c_str(), u"1"), 0u);
    SPW_CString name;
    SPW_CRegistryData data;
    EXPECT_EQ(m_registry.enumValue(0, name, data), 0u);
    EXPECT_EQ(name.length(), 509);
    EXPECT_EQ(m_registry.enumValue(1, name, data), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegEnumValue failed 234");
}

TEST_F(RegistryTest, DataWithoutTerminatorStayInsideTheBuffer) {
    std::string hex;
    for (int i = 0; i < 510; ++i) {
        hex += i == 0 ? "41" : ",41";
    }
    writeHive("\"s\"=hex(1):" + hex + "\n\"l\"=hex(7):" + hex + "\n\"odd\"=hex(7):41,00,41\n\"d\"=hex(4):07\n");
    EXPECT_EQ(stringAt(m_registry, u"s").length(), 255);
    EXPECT_EQ(listAt(m_registry, u"l").size(), 1u);
    EXPECT_EQ(listAt(m_registry, u"odd").size(), 1u);
    SPW_CRegistryData data;
    std::uint32_t number = 0;
    EXPECT_EQ(m_registry.getValue(u"d", data), 0u);
    EXPECT_EQ(data.getNumber(number), 0u);
    EXPECT_EQ(number, 7u);
}

TEST_F(RegistryTest, RawTextIsWhatTheBytesSpellWhateverTheType) {
    writeHive(
        "\"s\"=\"text\"\n\"e\"=hex(2):25,00,41,00,00,00\n\"l\"=hex(7):61,00,00,00,62,00,00,00,00,00\n"
        "\"b\"=hex:41,00,ac,20\n\"odd\"=hex:41,00,42\n\"d\"=dword:00420041\n\"none\"=hex(0):\n");
    const auto rawText = [this](const char16_t* name) {
        SPW_CString text(u"(as before)");
        EXPECT_EQ(m_registry.getRawText(name, text), 0u) << errorOf(m_registry);
        return text;
    };
    EXPECT_EQ(rawText(u"s"), u"text");
    EXPECT_EQ(rawText(u"e"), u"%A");
    EXPECT_EQ(rawText(u"l"), u"a");
    EXPECT_EQ(rawText(u"b"), u"A\u20AC");
    EXPECT_EQ(rawText(u"odd"), u"AB");
    EXPECT_EQ(rawText(u"d"), u"AB");
    EXPECT_EQ(rawText(u"none"), u"");
}

TEST_F(RegistryTest, RawTextMayBeLongerThanOtherData) {
    for (const std::size_t length : {254, 255, 256, 70000}) {
        const std::u16string stored(length, u'x');
        EXPECT_EQ(setString(u"long", stored.c_str()), 0u);
        SPW_CString text;
        EXPECT_EQ(m_registry.getRawText(u"long", text), 0u) << errorOf(m_registry);
        EXPECT_EQ(text, stored.c_str());
        const auto size = static_cast<std::uint32_t>(2 * length + 2);
        EXPECT_EQ(m_registry.getRawText(u"long", text, size), 0u);
        EXPECT_EQ(m_registry.getRawText(u"long", text, size - 1), 540u);
    }
}

TEST_F(RegistryTest, RawTextThatCannotBeReadLeavesTheTextAlone) {
    EXPECT_EQ(setString(u"long", std::u16string(255, u'x').c_str()), 0u);
    SPW_CString text(u"before");
    EXPECT_EQ(m_registry.getRawText(u"missing", text), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegQueryValueEx failed2");
    for (const std::uint32_t limit : {10u, 510u, 511u}) {
        EXPECT_EQ(m_registry.getRawText(u"long", text, limit), 540u);
        EXPECT_EQ(errorOf(m_registry), "RegQueryValueEx failed234");
    }
    SPW_CRegistry elsewhere(u"HKEY_CURRENT_USER", u"Software\\Missing", SPW_CRegistry::kOnlyIfPresent);
    EXPECT_EQ(elsewhere.getRawText(u"x", text), 540u);
    EXPECT_EQ(errorOf(elsewhere), "RegOpenKeyEx failed2");
    EXPECT_EQ(text, u"before");
}

// --- Enumerating and counting ---

TEST_F(RegistryTest, EnumerationEndsWithNoMoreItems) {
    EXPECT_EQ(setString(u"a", u"1"), 0u);
    EXPECT_EQ(m_registry.createKey(u"sub"), 0u);
    SPW_CString name;
    SPW_CRegistryData data;
    EXPECT_EQ(m_registry.enumValue(0, name, data), 0u);
    EXPECT_EQ(name, u"a");
    EXPECT_EQ(m_registry.enumValue(1, name, data), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegEnumValue failed 259");
    EXPECT_EQ(m_registry.enumKey(0, name), 0u);
    EXPECT_EQ(name, u"sub");
    EXPECT_EQ(m_registry.enumKey(1, name), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegEnumKeyEx failed259");
    EXPECT_EQ(name, u"sub");
}

TEST_F(RegistryTest, CountsSubKeysAndValues) {
    EXPECT_EQ(m_registry.createKey(u"s1"), 0u);
    EXPECT_EQ(m_registry.createKey(u"s2\\deeper"), 0u);
    EXPECT_EQ(setString(u"a", u"1"), 0u);
    std::uint32_t count = 0;
    EXPECT_EQ(m_registry.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(m_registry.getNumberOfValues(count), 0u);
    EXPECT_EQ(count, 1u);
}

// --- Deleting keys ---

TEST_F(RegistryTest, DeletesATreeOfAnyDepth) {
    EXPECT_EQ(m_registry.createKey(u"t\\a\\b\\c"), 0u);
    EXPECT_EQ(m_registry.createKey(u"t\\a\\d"), 0u);
    EXPECT_EQ(m_registry.createKey(u"stays"), 0u);
    EXPECT_EQ(m_registry.deleteKey(u"T"), 0u);
    std::uint32_t count = 0;
    EXPECT_EQ(m_registry.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(count, 1u);
}

TEST_F(RegistryTest, DeepestKeysGoFirst) {
    struct Recorder : RegistrySysForwarder {
        SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) override {
            deleted.emplace_back(name.toAnsi());
            return RegistrySysForwarder::deleteKey(parent, name);
        }
        std::vector<std::string> deleted;
    } recorder;
    EXPECT_EQ(m_registry.createKey(u"t\\a\\b"), 0u);
    EXPECT_EQ(m_registry.createKey(u"t\\c"), 0u);
    EXPECT_EQ(m_registry.deleteKey(u"t"), 0u);
    EXPECT_THAT(recorder.deleted, ElementsAre("b", "a", "c", "t"));
}

TEST_F(RegistryTest, DeletingNoNameOrAMissingKeyFails) {
    EXPECT_EQ(m_registry.deleteKey(u""), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegDeleteKey failed 1010");
    EXPECT_EQ(m_registry.deleteKey(u"missing"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegDeleteKey failed 2");
}

// Knows which keys are open, and closes in the end those that a failed deletion has left so.
struct OpenKeys : RegistrySysForwarder {
    ~OpenKeys() override {
        for (const SPW_Handle key : open) {
            EXPECT_EQ(RegistrySysForwarder::closeKey(key), 0u);
        }
    }
    SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        const SPW_Result code = RegistrySysForwarder::openKey(parent, path, access, key);
        if (code == 0) {
            open.insert(key);
        }
        return code;
    }
    SPW_Result closeKey(SPW_Handle key) override {
        open.erase(key);
        return RegistrySysForwarder::closeKey(key);
    }
    std::set<SPW_Handle> open;
};

TEST_F(RegistryTest, SubKeysWithNamesOfMoreThan254CharactersStay) {
    OpenKeys keys;
    const std::u16string longest(254, u'k');
    EXPECT_EQ(m_registry.createKey((u"t\\" + longest).c_str()), 0u);
    EXPECT_EQ(m_registry.createKey((u"u\\" + longest + u"k").c_str()), 0u);
    EXPECT_EQ(m_registry.deleteKey(u"t"), 0u);
    EXPECT_EQ(m_registry.deleteKey(u"u"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegDeleteKey failed 234");
    EXPECT_EQ(keys.open.size(), 1u);
}

TEST_F(RegistryTest, FailureBelowEndsTheDeletionAndKeepsWhatIsAbove) {
    struct Refusing : OpenKeys {
        SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) override {
            return name == u"b" ? 5 : RegistrySysForwarder::deleteKey(parent, name);
        }
    } refusing;
    EXPECT_EQ(m_registry.createKey(u"t\\a\\b"), 0u);
    EXPECT_EQ(m_registry.deleteKey(u"t"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegDeleteKey failed 5");
    EXPECT_EQ(refusing.open.size(), 2u) << "t and a stay open";
    SPW_CRegistry parent(u"HKEY_CURRENT_USER", u"Software\\K\\t", SPW_CRegistry::kOnlyIfPresent);
    SPW_CString name;
    EXPECT_EQ(parent.enumKey(0, name), 0u);
    EXPECT_EQ(name, u"a");
}

// --- What the registry refuses ---

TEST_F(RegistryTest, ErrorTextIsGivenOnceAndSuccessesLeaveIt) {
    SPW_CRegistryData data;
    EXPECT_EQ(m_registry.getValue(u"x", data), 540u);
    EXPECT_EQ(setString(u"a", u"1"), 0u);
    EXPECT_EQ(errorOf(m_registry), "RegQueryValueEx failed2");
    EXPECT_EQ(errorOf(m_registry), "");
}

TEST_F(RegistryTest, RefusedCallsLeaveTheirTextAndCode) {
    struct Refusing : RegistrySysForwarder {
        SPW_Result createKey(SPW_Handle, const SPW_CString&, std::uint32_t, SPW_Handle&) override { return 5; }
        SPW_Result setValue(SPW_Handle, const SPW_CString&, std::uint32_t, const void*, std::uint32_t) override {
            return 112;
        }
        SPW_Result queryCounts(SPW_Handle, std::uint32_t&, std::uint32_t&) override { return 31; }
    } refusing;
    std::uint32_t count = 9;
    EXPECT_EQ(m_registry.createKey(u"x"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegCreateKeyEx failed5");
    EXPECT_EQ(setString(u"x", u"1"), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegSetValueEx failed 112");
    EXPECT_EQ(m_registry.getNumberOfSubKeys(count), 540u);
    EXPECT_EQ(errorOf(m_registry), "RegQueryInfoKey failed 31");
    EXPECT_EQ(m_registry.getNumberOfValues(count), 540u);
    EXPECT_EQ(count, 9u);
}

TEST_F(RegistryTest, KeyThatCannotBeClosedFailsWhateverFollows) {
    struct Refusing : RegistrySysForwarder {
        SPW_Result closeKey(SPW_Handle key) override {
            EXPECT_EQ(RegistrySysForwarder::closeKey(key), 0u);
            return refuse ? 6 : 0;
        }
        bool refuse = true;
    } refusing;
    std::uint32_t count = 0;
    EXPECT_EQ(m_registry.getNumberOfValues(count), 0u);
    EXPECT_EQ(errorOf(m_registry), "RegCloseKey failed 6");
    EXPECT_EQ(m_registry.getNumberOfValues(count), 543u);
    EXPECT_EQ(errorOf(m_registry), "Key was already opened");
    EXPECT_EQ(m_registry.deleteKey(u"x"), 543u);
    // Making a key does not ask, takes the new handle and closes it.
    refusing.refuse = false;
    EXPECT_EQ(m_registry.createKey(u"x"), 0u);
    EXPECT_EQ(m_registry.getNumberOfValues(count), 0u);
}

TEST_F(RegistryTest, WhatCreatesAKeyClosesIt) {
    struct Counter : RegistrySysForwarder {
        SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access,
                             SPW_Handle& key) override {
            const SPW_Result code = RegistrySysForwarder::createKey(parent, path, access, key);
            open += code == 0 ? 1 : 0;
            return code;
        }
        SPW_Result closeKey(SPW_Handle key) override {
            --open;
            return RegistrySysForwarder::closeKey(key);
        }
        int open = 0;
    } counter;
    {
        SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"Software\\L");
        EXPECT_EQ(counter.open, 0);
        EXPECT_EQ(registry.createKey(u"x"), 0u);
        EXPECT_EQ(counter.open, 0);
        EXPECT_EQ(registry.createKey(u"x\\x"), 0u);
    }
    EXPECT_EQ(counter.open, 0) << "destruction closes nothing twice";
}

TEST_F(RegistryTest, KeysAreMadeWithAllAccess) {
    struct Recorder : RegistrySysForwarder {
        SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access,
                             SPW_Handle& key) override {
            accesses.push_back(access);
            return RegistrySysForwarder::createKey(parent, path, access, key);
        }
        std::vector<std::uint32_t> accesses;
    } recorder;
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"Software\\L");
    EXPECT_EQ(registry.createKey(u"x"), 0u);
    const SPW_CRegistryEdits edits(u"HKEY_CURRENT_USER");
    const SPW_CRegistry together(edits, u"Software\\M");
    EXPECT_THAT(recorder.accesses, ElementsAre(0xF003F, 0xF003F, 0xF003F));
}

// --- Edits that belong together ---

TEST_F(RegistryTest, EditsThatBelongTogetherSeeOneAnotherAndAreWritten) {
    SPW_CRegistryData data;
    ASSERT_EQ(data.setString(u"1"), 0u);
    SPW_CRegistryEdits edits(u"HKEY_CURRENT_USER");
    {
        SPW_CRegistry one(edits, u"Software\\L");
        SPW_CRegistry other(edits, u"Software\\L");
        EXPECT_EQ(one.setValue(u"x", data), 0u);
        EXPECT_EQ(stringAt(other, u"x"), u"1");
        EXPECT_EQ(one.createKey(u"below"), 0u);
        EXPECT_EQ(one.deleteKey(u"below"), 0u);
        EXPECT_EQ(one.setValue(u"y", data), 0u);
        EXPECT_EQ(other.deleteValue(u"y"), 0u);
    }
    EXPECT_EQ(edits.write(), 0u);
    SPW_CRegistry after(u"HKEY_CURRENT_USER", u"Software\\L", SPW_CRegistry::kOnlyIfPresent);
    EXPECT_EQ(stringAt(after, u"x"), u"1");
    std::uint32_t count = 0;
    EXPECT_EQ(after.getNumberOfValues(count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(after.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(count, 0u);
}

TEST_F(RegistryTest, EditsOfAnUnknownHiveFailAsItsKeysDo) {
    SPW_CRegistryEdits edits(u"HKEY_USERS");
    SPW_CRegistry registry(edits, u"K");
    EXPECT_EQ(registry.createKey(u"x"), 541u);
    EXPECT_EQ(edits.write(), 0u);
}

TEST_F(RegistryTest, WhatIsMissingIsToldFromWhatCannotBeHad) {
    writeHive("\"expand\"=hex(2):25,00,00,00\n");
    SPW_CRegistryData data;
    EXPECT_NE(m_registry.getValue(u"none", data), 0u);
    EXPECT_TRUE(m_registry.isMissing());
    EXPECT_NE(m_registry.getValue(u"expand", data), 0u);
    EXPECT_FALSE(m_registry.isMissing());
}

TEST_F(RegistryTest, DestructionClosesAKeyThatCouldNotBeClosed) {
    struct Refusing : RegistrySysForwarder {
        SPW_Result closeKey(SPW_Handle key) override {
            ++asked;
            return refuse ? 6 : RegistrySysForwarder::closeKey(key);
        }
        bool refuse = false;
        int asked = 0;
    } refusing;
    {
        SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"Software\\K");
        refusing.refuse = true;
        std::uint32_t count = 0;
        EXPECT_EQ(registry.getNumberOfValues(count), 0u);
        refusing.refuse = false;
        refusing.asked = 0;
    }
    EXPECT_EQ(refusing.asked, 1);
}

TEST_F(RegistryTest, OpensWithTheAccessThatTheOperationNeedsAndClosesAgain) {
    struct Recorder : RegistrySysForwarder {
        SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
            accesses.push_back(access);
            ++open;
            return RegistrySysForwarder::openKey(parent, path, access, key);
        }
        SPW_Result closeKey(SPW_Handle key) override {
            --open;
            return RegistrySysForwarder::closeKey(key);
        }
        std::vector<std::uint32_t> accesses;
        int open = 0;
    } recorder;
    SPW_CString name;
    SPW_CRegistryData data;
    std::uint32_t count = 0;
    EXPECT_EQ(m_registry.deleteKey(u""), 540u);
    EXPECT_EQ(m_registry.deleteValue(u"x"), 540u);
    EXPECT_EQ(m_registry.enumKey(0, name), 540u);
    EXPECT_EQ(m_registry.enumValue(0, name, data), 540u);
    EXPECT_EQ(m_registry.getNumberOfSubKeys(count), 0u);
    EXPECT_EQ(m_registry.getNumberOfValues(count), 0u);
    EXPECT_EQ(m_registry.getValue(u"x", data), 540u);
    EXPECT_EQ(m_registry.getRawText(u"x", name), 540u);
    EXPECT_EQ(m_registry.setValue(u"x", data), 544u);
    EXPECT_THAT(recorder.accesses, ElementsAre(0x10000, 0xF003F, 8, 0x20019, 1, 1, 1, 1, 2));
    EXPECT_EQ(recorder.open, 0);
}

}  // namespace
