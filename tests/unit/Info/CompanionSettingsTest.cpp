#include "CompanionSettings.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"
#include "TemporaryRegistry.h"

namespace {

constexpr const char16_t* kKorv = u"Software\\Vantiro Networks\\Vantiro\\KORV";
constexpr const char16_t* kTlp = u"Software\\Vantiro Networks\\Vantiro\\TLP";
constexpr const char16_t* kOwner = u"ControlPanel\\Owner";

class CompanionSettingsTest : public testing::Test {
protected:
    TemporaryRegistry m_registry;
};

TEST_F(CompanionSettingsTest, WithoutTheKorvKeyThereIsNoOverride) {
    EXPECT_EQ(readKorvUdpPort(), kNoMulticastPortOverride);
    m_registry.setText(kKorv, u"Other", u"1");
    EXPECT_EQ(readKorvUdpPort(), kNoMulticastPortOverride) << "the key is there, the value is not";
}

TEST_F(CompanionSettingsTest, TheKorvPortIsLeadingDigits) {
    m_registry.setText(kKorv, u"UDPPort", u"6000");
    EXPECT_EQ(readKorvUdpPort(), 6000);
    m_registry.setText(kKorv, u"UDPPort", u"7a");
    EXPECT_EQ(readKorvUdpPort(), 7);
    m_registry.setText(kKorv, u"UDPPort", u"none");
    EXPECT_EQ(readKorvUdpPort(), 0);
}

TEST_F(CompanionSettingsTest, TheKorvPortOfBytesIsTheWideTextThatTheySpell) {
    SPW_CRegistryData data;
    (void)data.setBytes("6\0000\0001\0\0\0009\0", 10);
    m_registry.set(kKorv, u"UDPPort", data);
    EXPECT_EQ(readKorvUdpPort(), 601);
}

TEST_F(CompanionSettingsTest, AKorvPortThatIsANumberSpellsNoDigits) {
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", kKorv);
    SPW_CRegistryData data;
    ASSERT_EQ(data.setNumber(7550), 0u);
    ASSERT_EQ(registry.setValue(u"UDPPort", data), 0u);
    EXPECT_EQ(readKorvUdpPort(), 0);
    // Unless its bytes happen to be those of digits.
    ASSERT_EQ(data.setNumber(u'6' | u'1' << 16), 0u);
    ASSERT_EQ(registry.setValue(u"UDPPort", data), 0u);
    EXPECT_EQ(readKorvUdpPort(), 61);
}

TEST_F(CompanionSettingsTest, AKorvPortOfMoreThan257BytesIsNone) {
    SPW_CString text(u"6000");
    for (int i = text.length(); i < 127; ++i) {
        text += u'x';
    }
    m_registry.setText(kKorv, u"UDPPort", text);
    EXPECT_EQ(readKorvUdpPort(), 6000);
    m_registry.setText(kKorv, u"UDPPort", text + u'x');
    EXPECT_EQ(readKorvUdpPort(), kNoMulticastPortOverride);
}

// The value's size decides, not the length of the text in it.
TEST_F(CompanionSettingsTest, AKorvPortWithMuchBehindItsEndIsNone) {
    char bytes[1000] = "6\0\0";
    SPW_CRegistryData data;
    for (const auto& [size, port] : {std::pair(257, 6), {258, -1}, {510, -1}, {511, -1}, {1000, -1}}) {
        (void)data.setBytes(bytes, static_cast<std::uint32_t>(size));
        m_registry.set(kKorv, u"UDPPort", data);
        EXPECT_EQ(readKorvUdpPort(), port) << size;
    }
}

TEST_F(CompanionSettingsTest, OwnerAndFriendlyNameAreEmptyWhereMissing) {
    EXPECT_EQ(readOwnerName(), SPW_CString(u""));
    EXPECT_EQ(readFriendlyName(), SPW_CString(u""));
}

TEST_F(CompanionSettingsTest, OwnerAndFriendlyNameAreTheFirstCharactersOfTheirValues) {
    SPW_CString longName;
    longName.fill(u'x', 200);
    m_registry.setText(kOwner, u"Owner", u"Ada");
    m_registry.setText(kTlp, u"Friendly Name", longName);
    EXPECT_EQ(readOwnerName(), SPW_CString(u"Ada"));
    EXPECT_EQ(readFriendlyName(), longName.left(128));
}

TEST_F(CompanionSettingsTest, HoweverLongTheValueIsItsFirstCharactersAreTheName) {
    for (const int length : {254, 255, 256, 5000}) {
        SPW_CString name(u"Ada ");
        SPW_CString rest;
        rest.fill(u'x', length - name.length());
        m_registry.setText(kOwner, u"Owner", name + rest);
        m_registry.setText(kTlp, u"Friendly Name", name + rest);
        EXPECT_EQ(readOwnerName(), (name + rest).left(128)) << length;
        EXPECT_EQ(readFriendlyName(), (name + rest).left(128)) << length;
    }
}

TEST_F(CompanionSettingsTest, TheOwnerIsReadFromTheFrontOfABlock) {
    SPW_CRegistryData data;
    (void)data.setBytes("A\0d\0a\0\0\0garbage", 15);
    m_registry.set(kOwner, u"Owner", data);
    EXPECT_EQ(readOwnerName(), SPW_CString(u"Ada"));
}

TEST_F(CompanionSettingsTest, ABlockWithoutATerminatorIsReadToItsEnd) {
    SPW_CRegistryData data;
    (void)data.setBytes("\xE4\0\xAC\x20y", 5);
    m_registry.set(kOwner, u"Owner", data);
    EXPECT_EQ(readOwnerName(), SPW_CString(u"\u00E4\u20ACy")) << "half a character is one";
}

// Who reads bytes up to the first null does not ask what they are said to be.
TEST_F(CompanionSettingsTest, OfAListTheFirstTextCounts) {
    SPW_CArray<SPW_CString> list;
    list.append(u"7");
    list.append(u"8");
    SPW_CRegistryData data;
    (void)data.setStringList(list);
    m_registry.set(kKorv, u"UDPPort", data);
    m_registry.set(kTlp, u"Friendly Name", data);
    m_registry.set(kOwner, u"Owner", data);
    EXPECT_EQ(readKorvUdpPort(), 7);
    EXPECT_EQ(readFriendlyName(), SPW_CString(u"7"));
    EXPECT_EQ(readOwnerName(), SPW_CString(u"7"));
}

TEST_F(CompanionSettingsTest, ATypeThatSettingsMayNotHaveIsReadAllTheSame) {
    m_registry.load("HKEY_CURRENT_USER",
                    "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro\\KORV]\n"
                    "\"UDPPort\"=hex(2):36,00,31,00,00,00\n"
                    "[HKEY_CURRENT_USER\\ControlPanel\\Owner]\n\"Owner\"=hex(2):25,00,41,00,25,00,00,00\n");
    EXPECT_EQ(readKorvUdpPort(), 61);
    EXPECT_EQ(readOwnerName(), SPW_CString(u"%A%")) << "and nothing is put in the place of names";
}

TEST_F(CompanionSettingsTest, ReadingWhatOthersKeepPlantsNoKeys) {
    (void)readKorvUdpPort();
    (void)readOwnerName();
    (void)readFriendlyName();
    for (const char16_t* key : {kKorv, kTlp, kOwner}) {
        EXPECT_EQ(m_registry.numberOfValues(key), -1) << SPW_CString(key).toAnsi();
    }
}

}  // namespace
