// The registry on a machine that has no memory left.

#include <gtest/gtest.h>

#include <cstdlib>

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
