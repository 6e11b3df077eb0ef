// The registry as files, and on a machine that has no memory left.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "RegistryFolder.h"
#include "SPW_CRegistry.h"

namespace {

thread_local bool memoryIsUsedUp = false;

}  // namespace

// The linker sends the program's calls of realloc here (--wrap).
extern "C" void* __real_realloc(void*, std::size_t);
extern "C" void* __wrap_realloc(void* block, std::size_t size) {
    return memoryIsUsedUp ? nullptr : __real_realloc(block, size);
}

namespace {

TEST(RegistryPosixTest, EachHiveIsAFileOfItsOwn) {
    RegistryFolder folder;
    SPW_CRegistry machine(u"HKEY_LOCAL_MACHINE", u"a");
    SPW_CRegistry classes(u"HKEY_CLASSES_ROOT", u"b");
    EXPECT_TRUE(folder.exists("HKEY_LOCAL_MACHINE.reg"));
    EXPECT_TRUE(folder.exists("HKEY_CLASSES_ROOT.reg"));
    EXPECT_EQ(folder.read("HKEY_CLASSES_ROOT.reg"), "Windows Registry Editor Version 5.00\n\n[HKEY_CLASSES_ROOT\\b]\n");
}

TEST(RegistryPosixTest, UnknownHiveMakesNoFile) {
    RegistryFolder folder;
    SPW_CRegistry registry(u"HKEY_USERS", u"a");
    EXPECT_EQ(registry.createKey(u"x"), 541u);
    EXPECT_EQ(folder.numberOfEntries(), 0);
}

TEST(RegistryPosixTest, ValuesStandInTheFileAsRegistryEditorsExportThem) {
    RegistryFolder folder;
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"k");
    SPW_CRegistryData data;
    ASSERT_EQ(data.setNumber(4000000000u), 0u);
    EXPECT_EQ(registry.setValue(u"number", data), 0u);
    ASSERT_EQ(data.setBytes("\x00\xFF", 2), 0u);
    EXPECT_EQ(registry.setValue(u"bytes", data), 0u);
    SPW_CArray<SPW_CString> list;
    list.append(u"a");
    list.append(u"b");
    ASSERT_EQ(data.setStringList(list), 0u);
    EXPECT_EQ(registry.setValue(u"l", data), 0u);
    EXPECT_NE(folder.read("HKEY_CURRENT_USER.reg")
                  .find("\"number\"=dword:ee6b2800\n\"bytes\"=hex:00,ff\n\"l\"=hex(7):61,00,00,00,62,00,00,00\n"),
              std::string::npos);
}

TEST(RegistryPosixTest, EditsThatBelongTogetherReachTheFileAtTheEndOrNotAtAll) {
    RegistryFolder folder;
    SPW_CRegistryData data;
    ASSERT_EQ(data.setString(u"1"), 0u);
    {
        const SPW_CRegistryEdits dropped(u"HKEY_CURRENT_USER");
        SPW_CRegistry registry(dropped, u"k");
        EXPECT_EQ(registry.setValue(u"x", data), 0u);
    }
    EXPECT_EQ(folder.numberOfEntries(), 0);
    SPW_CRegistryEdits edits(u"HKEY_CURRENT_USER");
    SPW_CRegistry registry(edits, u"k");
    EXPECT_EQ(registry.setValue(u"x", data), 0u);
    EXPECT_EQ(folder.numberOfEntries(), 0);
    EXPECT_EQ(edits.write(), 0u);
    EXPECT_EQ(folder.read("HKEY_CURRENT_USER.reg"),
              "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
}

TEST(RegistryPosixTest, EditsOfAHiveThatSomebodyHasChangedMeanwhileAreNotWritten) {
    RegistryFolder folder;
    const std::string byHand = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"mine\"\n";
    folder.write("HKEY_CURRENT_USER.reg", "[HKEY_CURRENT_USER\\k]\n");
    SPW_CRegistryData data;
    ASSERT_EQ(data.setString(u"1"), 0u);
    SPW_CRegistryEdits edits(u"HKEY_CURRENT_USER");
    SPW_CRegistry registry(edits, u"k");
    EXPECT_NE(registry.getValue(u"x", data), 0u);
    folder.write("HKEY_CURRENT_USER.reg", byHand);
    EXPECT_EQ(registry.setValue(u"x", data), 0u);
    EXPECT_EQ(edits.write(), SPW_CRegistryEdits::kOvertaken);
    EXPECT_EQ(folder.read("HKEY_CURRENT_USER.reg"), byHand);
}

TEST(RegistryPosixTest, ListThatFindsNoMemoryWritesNothing) {
    RegistryFolder folder;
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"k");
    SPW_CArray<SPW_CString> list;
    list.append(u"a");
    SPW_CRegistryData data;
    ASSERT_EQ(data.setStringList(list), 0u);
    memoryIsUsedUp = true;
    EXPECT_EQ(registry.setValue(u"l", data), 540u);
    memoryIsUsedUp = false;
    SPW_CString text;
    EXPECT_EQ(registry.getLastError(text), 0u);
    EXPECT_STREQ(text.toAnsi(), "realloc failed8");
    EXPECT_EQ(registry.getValue(u"l", data), 540u);
}

}  // namespace
