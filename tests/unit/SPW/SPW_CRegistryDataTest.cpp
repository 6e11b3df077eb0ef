#include <gmock/gmock.h>

#include "SPW_CRegistry.h"
#include "StringPrinting.h"

namespace {

SPW_CArray<SPW_CString> listOf(const char16_t* first, const char16_t* second) {
    SPW_CArray<SPW_CString> list;
    list.append(first);
    list.append(second);
    return list;
}

TEST(RegistryDataTest, StartsWithNothingSet) {
    const SPW_CRegistryData data;
    SPW_CString text(u"old");
    SPW_CArray<SPW_CString> list;
    std::uint32_t number = 7;
    SPW_CArray<std::uint8_t> bytes;
    EXPECT_EQ(data.type(), SPW_CRegistryData::kNotSet);
    EXPECT_EQ(data.getString(text), 562u);
    EXPECT_EQ(data.getStringList(list), 562u);
    EXPECT_EQ(data.getNumber(number), 562u);
    EXPECT_EQ(data.getBytes(bytes), 562u);
    EXPECT_EQ(text, u"old");
    EXPECT_EQ(number, 7u);
}

TEST(RegistryDataTest, GivesBackWhatWasSet) {
    SPW_CRegistryData data;
    SPW_CString text;
    EXPECT_EQ(data.setString(u"text"), 0u);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kString);
    EXPECT_EQ(data.getString(text), 0u);
    EXPECT_EQ(text, u"text");

    SPW_CArray<SPW_CString> list;
    EXPECT_EQ(data.setStringList(listOf(u"a", u"b")), 0u);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kStringList);
    EXPECT_EQ(data.getStringList(list), 0u);
    ASSERT_EQ(list.numberOfElements(), 2);
    EXPECT_EQ(list[1], u"b");

    std::uint32_t number = 0;
    EXPECT_EQ(data.setNumber(4000000000u), 0u);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kNumber);
    EXPECT_EQ(data.getNumber(number), 0u);
    EXPECT_EQ(number, 4000000000u);

    SPW_CArray<std::uint8_t> bytes;
    EXPECT_EQ(data.setBytes("\x01\xFF", 2), 0u);
    EXPECT_EQ(data.type(), SPW_CRegistryData::kBytes);
    EXPECT_EQ(data.getBytes(bytes), 0u);
    ASSERT_EQ(bytes.numberOfElements(), 2);
    EXPECT_EQ(bytes[1], 0xFF);
}

TEST(RegistryDataTest, GetterOfAnotherKindStillGivesItsOldPayload) {
    SPW_CRegistryData data;
    SPW_CString text;
    EXPECT_EQ(data.setString(u"old"), 0u);
    EXPECT_EQ(data.setNumber(1), 0u);
    EXPECT_EQ(data.getString(text), 0u);
    EXPECT_EQ(text, u"old");
    EXPECT_EQ(data.type(), SPW_CRegistryData::kNumber);
}

TEST(RegistryDataTest, SetAgainReplacesThePayload) {
    SPW_CRegistryData data;
    SPW_CArray<std::uint8_t> bytes;
    EXPECT_EQ(data.setBytes("abc", 3), 0u);
    EXPECT_EQ(data.setBytes("d", 1), 0u);
    EXPECT_EQ(data.getBytes(bytes), 0u);
    ASSERT_EQ(bytes.numberOfElements(), 1);
    EXPECT_EQ(bytes[0], 'd');
    EXPECT_EQ(data.setBytes(nullptr, 0), 0u);
    EXPECT_EQ(data.getBytes(bytes), 0u);
    EXPECT_EQ(bytes.numberOfElements(), 0);
}

TEST(RegistryDataTest, EveryKindHasAText) {
    SPW_CRegistryData data;
    SPW_CString text(u"old");
    EXPECT_FALSE(data.toText(text));
    EXPECT_EQ(text, u"old");
    EXPECT_EQ(data.setString(u"as it is"), 0u);
    EXPECT_TRUE(data.toText(text));
    EXPECT_EQ(text, u"as it is");
    EXPECT_EQ(data.setNumber(4294967295u), 0u);
    EXPECT_TRUE(data.toText(text));
    EXPECT_EQ(text, u"4294967295");
    EXPECT_EQ(data.setStringList(listOf(u"one", u"two")), 0u);
    EXPECT_TRUE(data.toText(text));
    EXPECT_EQ(text, u"one two");
    EXPECT_EQ(data.setBytes("10.0.0.1", 8), 0u);
    EXPECT_TRUE(data.toText(text));
    EXPECT_EQ(text, u"10.0.0.1");
    EXPECT_EQ(data.setBytes("10.0.0.2\0xyz", 12), 0u);
    EXPECT_TRUE(data.toText(text));
    EXPECT_EQ(text, u"10.0.0.2");
}

}  // namespace
