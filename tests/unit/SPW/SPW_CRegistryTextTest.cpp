#include "SPW_CRegistryText.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "SPW_CSysError.h"
#include "StringPrinting.h"

namespace {

using testing::ElementsAre;

constexpr char kHeader[] = "Windows Registry Editor Version 5.00\n\n";

class RegistryTextTest : public testing::Test {
protected:
    void parse(const std::string& text) {
        SPW_CRegistryText::Problem problem;
        ASSERT_TRUE(m_text.parse(text.data(), text.size(), problem))
            << "line " << problem.line << ": " << SPW_CString(problem.what).toAnsi();
    }
    // "line: what", or "accepted".
    std::string problemOf(const std::string& text) {
        SPW_CRegistryText::Problem problem;
        if (m_text.parse(text.data(), text.size(), problem)) {
            return "accepted";
        }
        return std::to_string(problem.line) + ": " + SPW_CString(problem.what).toAnsi();
    }
    std::string written() const {
        std::vector<char> bytes;
        m_text.serialise(bytes);
        return std::string(bytes.begin(), bytes.end());
    }
    int key(const char16_t* path) const { return m_text.findKey(SPW_CRegistryText::kRoot, path); }
    SPW_CRegistryText::Value value(const char16_t* path, const char16_t* name) const {
        const int found = key(path);
        const int index = found < 0 ? -1 : m_text.findValue(found, name);
        if (index < 0) {
            ADD_FAILURE() << "no value " << SPW_CString(name).toAnsi();
            return {};
        }
        return m_text.value(found, index);
    }
    static std::string text(std::u16string_view units) { return std::filesystem::path(units).u8string(); }
    // The text that REG_SZ data hold, with every terminator as a "|".
    static std::string units(const SPW_CRegistryText::Value& value) {
        SPW_CString units;
        for (std::uint32_t i = 0; i + 1 < value.size; i += 2) {
            const char16_t unit = static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8);
            units += unit == 0 ? u'|' : unit;
        }
        return units.toAnsi();
    }
    static std::vector<int> bytes(const SPW_CRegistryText::Value& value) {
        return {value.data, value.data + value.size};
    }
    std::vector<std::string> subKeys(int parent) const {
        std::vector<std::string> names;
        for (int i = 0; i < m_text.numberOfSubKeys(parent); ++i) {
            names.push_back(text(m_text.keyName(m_text.subKey(parent, i))));
        }
        return names;
    }
    std::vector<std::string> valueNames(int parent) const {
        std::vector<std::string> names;
        for (int i = 0; i < m_text.numberOfValues(parent); ++i) {
            names.push_back(text(m_text.value(parent, i).name));
        }
        return names;
    }
    SPW_Result setText(const char16_t* path, const char16_t* name, const SPW_CString& value) {
        return m_text.setValue(path, name, SPW_CRegistryText::kSz, value.text(),
                               static_cast<std::uint32_t>(value.length() + 1) * 2);
    }

    SPW_CRegistryText m_text{u"HKEY_CURRENT_USER"};
};

// --- What is understood ---

TEST_F(RegistryTextTest, EmptyTextIsAHiveWithoutKeys) {
    parse("");
    EXPECT_EQ(m_text.numberOfSubKeys(SPW_CRegistryText::kRoot), 0);
    EXPECT_EQ(m_text.numberOfValues(SPW_CRegistryText::kRoot), 0);
    EXPECT_EQ(written(), "");
}

TEST_F(RegistryTextTest, ReadsEveryKindOfValue) {
    parse(std::string(kHeader) +
          "[HKEY_CURRENT_USER\\Software\\K]\n"
          "@=\"default\"\n"
          "\"text\"=\"C:\\\\a \\\"b\\\"\"\n"
          "\"number\"=dword:000015ab\n"
          "\"bytes\"=hex:01,ff,\\\n  0a\n"
          "\"expand\"=hex(2):25,00,00,00\n"
          "\"list\"=hex(7):61,00,00,00,62,00,00,00\n"
          "\"other\"=hex(b):01,02\n"
          "\"nothing\"=hex(0):\n");
    EXPECT_EQ(units(value(u"Software\\K", u"")), "default|");
    EXPECT_EQ(units(value(u"Software\\K", u"text")), "C:\\a \"b\"|");
    EXPECT_EQ(value(u"Software\\K", u"text").type, 1u);
    EXPECT_THAT(bytes(value(u"Software\\K", u"number")), ElementsAre(0xab, 0x15, 0, 0));
    EXPECT_EQ(value(u"Software\\K", u"number").type, 4u);
    EXPECT_THAT(bytes(value(u"Software\\K", u"bytes")), ElementsAre(1, 255, 10));
    EXPECT_EQ(value(u"Software\\K", u"bytes").type, 3u);
    EXPECT_EQ(units(value(u"Software\\K", u"expand")), "%|");
    EXPECT_EQ(value(u"Software\\K", u"expand").type, 2u);
    EXPECT_EQ(units(value(u"Software\\K", u"list")), "a|b|");
    EXPECT_EQ(value(u"Software\\K", u"list").type, 7u);
    EXPECT_EQ(value(u"Software\\K", u"other").type, 11u);
    EXPECT_EQ(value(u"Software\\K", u"nothing").type, 0u);
    EXPECT_EQ(value(u"Software\\K", u"nothing").size, 0u);
}

TEST_F(RegistryTextTest, HeaderMayBeMissingOrOfTheOlderKind) {
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a]\n"), "accepted");
    EXPECT_EQ(problemOf("; by hand\n\nREGEDIT4\n[HKEY_CURRENT_USER\\a]\n"), "accepted");
}

TEST_F(RegistryTextTest, AcceptsByteOrderMarkCrLfBlanksAndCommentsBehindStatements) {
    parse(
        "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n"
        "  [hkey_current_user\\a] ; key\r\n\t\"x\" = \"1\" ; value\r\n\"y\"=hex: 01 , 02 ;c\r\n\"z\"=DWORD:F\r\n");
    EXPECT_EQ(units(value(u"a", u"x")), "1|");
    EXPECT_THAT(bytes(value(u"a", u"y")), ElementsAre(1, 2));
    EXPECT_THAT(bytes(value(u"a", u"z")), ElementsAre(15, 0, 0, 0));
}

TEST_F(RegistryTextTest, LastLineNeedsNoLineBreak) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"");
    EXPECT_EQ(units(value(u"a", u"x")), "1|");
}

TEST_F(RegistryTextTest, NamesCompareWithoutCaseAndKeepTheirSpelling) {
    parse("[HKEY_CURRENT_USER\\Straße\\ÄB]\n\"Näme\"=\"1\"\n[HKEY_CURRENT_USER\\STRAßE\\äb\\c]\n");
    EXPECT_EQ(units(value(u"straße\\äB", u"NÄME")), "1|");
    EXPECT_THAT(subKeys(SPW_CRegistryText::kRoot), ElementsAre("Straße"));
    EXPECT_THAT(subKeys(key(u"straße")), ElementsAre("ÄB"));
    EXPECT_THAT(subKeys(key(u"straße\\äb")), ElementsAre("c"));
    EXPECT_THAT(valueNames(key(u"straße\\äb")), ElementsAre("Näme"));
}

TEST_F(RegistryTextTest, PathMakesTheKeysAboveExist) {
    parse("[HKEY_CURRENT_USER\\a\\b\\c]\n");
    EXPECT_NE(key(u"a\\b"), SPW_CRegistryText::kNotFound);
    EXPECT_EQ(key(u"b"), SPW_CRegistryText::kNotFound);
    EXPECT_THAT(subKeys(key(u"a")), ElementsAre("b"));
}

TEST_F(RegistryTextTest, KeyThatStandsTwiceIsOneAndTheLastOfTwoValuesCounts) {
    parse(
        "[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n\"y\"=\"2\"\n[HKEY_CURRENT_USER\\b]\n[HKEY_CURRENT_USER\\A]\n\"X\"="
        "\"3\"\n");
    EXPECT_THAT(subKeys(SPW_CRegistryText::kRoot), ElementsAre("a", "b"));
    EXPECT_EQ(m_text.numberOfValues(key(u"a")), 2);
    EXPECT_EQ(units(value(u"a", u"x")), "3|");
}

TEST_F(RegistryTextTest, KeyNamesMayHoldOpeningBracketsAndSemicolonsAndEndAtTheFirstClosingBracket) {
    parse("[HKEY_CURRENT_USER\\a[1]\n[HKEY_CURRENT_USER\\b;c]\n[HKEY_CURRENT_USER\\d] ; [e]\n");
    EXPECT_THAT(subKeys(SPW_CRegistryText::kRoot), ElementsAre("a[1", "b;c", "d"));
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a[1]]\n"), "1: a key's name cannot hold a closing bracket");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a]b]\n"), "1: a key's name cannot hold a closing bracket");
}

// As registry editors export: two bytes a character, the low one first, behind a mark.
std::string utf16(std::u16string_view text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

TEST_F(RegistryTextTest, ExportedFileIsReadAndWrittenInItsOwnEncoding) {
    const std::u16string head = u"Windows Registry Editor Version 5.00\r\n\r\n; \xE4\xD83D\xDE00\xDC00\r\n";
    parse(utf16(head + u"[HKEY_CURRENT_USER\\\xE4]\r\n\"\xD800\"=\"\xD83D\xDE00\"\r\n"));
    EXPECT_EQ(written(), utf16(head + u"[HKEY_CURRENT_USER\\\xE4]\r\n\"\xD800\"=\"\xD83D\xDE00\"\r\n"));
    EXPECT_THAT(bytes(m_text.value(key(u"\xE4"), 0)), ElementsAre(0x3D, 0xD8, 0x00, 0xDE, 0, 0));
    EXPECT_EQ(setText(u"\xE4", u"new", u"\x20AC"), 0u);
    EXPECT_EQ(written(),
              utf16(head + u"[HKEY_CURRENT_USER\\\xE4]\r\n\"\xD800\"=\"\xD83D\xDE00\"\r\n\"new\"=\"\x20AC\"\r\n"));
    EXPECT_EQ(problemOf(utf16(u"[HKEY_CURRENT_USER\\a]\r\nx\r\n")), "2: neither a key, a value nor a comment");
}

TEST_F(RegistryTextTest, ExportedFileThatIsCutOffInsideACharacterIsRefused) {
    const std::string whole = utf16(u"[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n");
    EXPECT_EQ(problemOf(whole), "accepted");
    EXPECT_EQ(problemOf(whole.substr(0, whole.size() - 1)), "2: the file ends inside a character");
    EXPECT_EQ(problemOf("\xFF\xFE"), "accepted");
}

TEST_F(RegistryTextTest, TextsOfTheOlderKindAreOfEightBitCharacters) {
    parse("REGEDIT4\n[HKEY_CURRENT_USER\\a]\n\"l\"=hex(7):61,00,c3,a4,00,00\n\"e\"=hex(2):25,00\n\"b\"=hex:61,00\n");
    EXPECT_THAT(bytes(value(u"a", u"l")), ElementsAre(0x61, 0, 0, 0, 0xE4, 0, 0, 0, 0, 0));
    EXPECT_THAT(bytes(value(u"a", u"e")), ElementsAre(0x25, 0, 0, 0));
    EXPECT_THAT(bytes(value(u"a", u"b")), ElementsAre(0x61, 0));
    EXPECT_EQ(m_text.setValue(u"a", u"n", SPW_CRegistryText::kMultiSz, u"\xE4", 4), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"l", SPW_CRegistryText::kMultiSz, u"b", 4), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"b", SPW_CRegistryText::kBinary, u"b", 4), 0u);
    EXPECT_EQ(written(),
              "REGEDIT4\n[HKEY_CURRENT_USER\\a]\n\"l\"=hex(7):62,00\n\"e\"=hex(2):25,00\n\"b\"=hex:62,00,00,00\n"
              "\"n\"=hex(7):c3,a4,00\n");
    EXPECT_EQ(m_text.setValue(u"a", u"n", SPW_CRegistryText::kMultiSz, u"\xE4", 3), 87u);
    parse("Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\a]\n\"l\"=hex(7):61,00,00,00\n");
    EXPECT_EQ(units(value(u"a", u"l")), "a|");
}

TEST_F(RegistryTextTest, TextsMayGoOverSeveralLines) {
    const std::string text = "[HKEY_CURRENT_USER\\a]\r\n\"two\r\nlines\"=\"1\n\r\n2\" ; tail\r\n\"x\"=\"3\"\r\n";
    parse(text);
    EXPECT_EQ(units(value(u"a", u"two\r\nlines")), "1\n\r\n2|");
    EXPECT_EQ(units(value(u"a", u"x")), "3|");
    EXPECT_EQ(written(), text);
    EXPECT_EQ(setText(u"a", u"two\r\nlines", u"4"), 0u);
    EXPECT_EQ(written(), "[HKEY_CURRENT_USER\\a]\r\n\"two\r\nlines\"=\"4\" ; tail\r\n\"x\"=\"3\"\r\n");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\n\n2\"\n?\n"), "5: neither a key, a value nor a comment");
}

TEST_F(RegistryTextTest, TextThatHasLostItsEndIsNamedWhereItBegins) {
    const std::string key = "[HKEY_CURRENT_USER\\a]\n";
    EXPECT_EQ(problemOf(key + "\"x\"=\"1\n\"y\"=\"2\"\n"), "2: the closing quotation mark is missing");
    EXPECT_EQ(problemOf(key + "\"x\"=\"1\"\n\"y\"=\"2\n\n"), "3: the closing quotation mark is missing");
    EXPECT_EQ(problemOf(key + "\"x=\"1\"\n\"y\"=\"2\"\n"), "2: the value's \"=\" is missing");
}

TEST_F(RegistryTextTest, CharactersBeyondTheBasicPlaneSurvive) {
    parse("[HKEY_CURRENT_USER\\a]\n\"\xF0\x9F\x98\x80\"=\"\xF0\x9F\x98\x80\"\n");
    EXPECT_EQ(text(m_text.value(key(u"a"), 0).name), "\xF0\x9F\x98\x80");
    EXPECT_EQ(m_text.value(key(u"a"), 0).size, 6u);
}

// The example that people copy.
TEST_F(RegistryTextTest, ExampleOfTheManualIsUnderstood) {
    std::ifstream file(LINKOMETRY_SOURCE_DIR "/docs/hive-files.md", std::ios::binary);
    const std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::size_t begin = page.find("```\n") + 4;
    ASSERT_GT(begin, 4u);
    parse(page.substr(begin, page.find("```", begin) - begin));
    const char16_t* peers = u"Software\\Vantiro Networks\\Vantiro Diagnostic\\Named-IP-Addresses";
    EXPECT_THAT(valueNames(key(peers)), ElementsAre("Gate 1", "Gate \"north\""));
    EXPECT_EQ(units(value(u"Software\\Vantiro Networks\\Vantiro Diagnostic", u"log data packets")), "yes|");
    EXPECT_THAT(bytes(value(u"Software\\Vantiro Networks\\Vantiro Diagnostic", u"port")),
                ElementsAre(0x70, 0x17, 0, 0));
    EXPECT_EQ(units(value(u"Software\\Vantiro Networks\\Vantiro\\KORV", u"UDPPort")), "7552|");
}

// --- What is refused, and where ---

TEST_F(RegistryTextTest, EveryMistakeIsNamedWithItsLine) {
    const std::string key = "[HKEY_CURRENT_USER\\a]\n";
    EXPECT_EQ(problemOf("\xFE\xFFW"), "1: the file is UTF-16 with the high byte first; save it as UTF-8");
    EXPECT_EQ(problemOf("\n\nhello\n"), "3: neither a key, a value nor a comment");
    EXPECT_EQ(problemOf(key + "REGEDIT4\n"), "2: neither a key, a value nor a comment");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a\n"), "1: the key's closing bracket is missing");
    EXPECT_EQ(problemOf("[-HKEY_CURRENT_USER\\a]\n"), "1: a hive file holds keys, it does not delete them");
    EXPECT_EQ(problemOf("[HKEY_LOCAL_MACHINE\\a]\n"), "1: the key is not one of this hive");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\]\n"), "1: a part of the key's path is empty");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a\\\\b]\n"), "1: a part of the key's path is empty");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\a] b\n"), "1: a key's name cannot hold a closing bracket");
    EXPECT_EQ(problemOf("\"x\"=\"1\"\n"), "1: a value before the first key");
    EXPECT_EQ(problemOf(key + "\"x\n"), "2: the closing quotation mark is missing");
    EXPECT_EQ(problemOf(key + "\"x\" \"1\"\n"), "2: the value's \"=\" is missing");
    EXPECT_EQ(problemOf(key + "\"x\"=-\n"), "2: a hive file holds values, it does not delete them");
    EXPECT_EQ(problemOf(key + "\"x\"=1\n"), "2: the value's data are neither a text nor \"dword:\" nor \"hex:\"");
    EXPECT_EQ(problemOf(key + "\"x\"=\"C:\\temp\"\n"), "2: a back-slash in a text must be written twice");
    EXPECT_EQ(problemOf(key + "\"x\"=\"1\" 2\n"), "2: unexpected text at the end of the line");
    EXPECT_EQ(problemOf(key + "\"x\"=dword:\n"), "2: \"dword:\" wants up to eight hexadecimal digits");
    EXPECT_EQ(problemOf(key + "\"x\"=dword:123456789\n"), "2: unexpected text at the end of the line");
    EXPECT_EQ(problemOf(key + "\"x\"=hex 01\n"), "2: the colon after \"hex\" is missing");
    EXPECT_EQ(problemOf(key + "\"x\"=hex(g):01\n"), "2: the type of a hex value must look like \"hex(7):\"");
    EXPECT_EQ(problemOf(key + "\"x\"=hex:01,\n"),
              "2: a hex value wants pairs of hexadecimal digits with commas between them");
    EXPECT_EQ(problemOf(key + "\"x\"=hex:01,\\ 02\n"),
              "2: a back-slash in a hex value must end its line, and another line must follow");
    EXPECT_EQ(problemOf(key + "\"x\"=hex:01,\\\n02,\\"),
              "3: a back-slash in a hex value must end its line, and another line must follow");
    EXPECT_EQ(problemOf(key + "\"x\xFF\"=\"1\"\n"), "2: the line is not UTF-8");
    EXPECT_EQ(problemOf(key + "\"\xC0\x80\"=\"1\"\n"), "2: the line is not UTF-8");
    EXPECT_EQ(problemOf(key + "\"\xE0\x80\x80\"=\"1\"\n"), "2: the line is not UTF-8");
    EXPECT_EQ(problemOf(key + "\"\xF4\x90\x80\x80\"=\"1\"\n"), "2: the line is not UTF-8");
    EXPECT_EQ(problemOf("REGEDIT4\n" + key + "\"x\"=hex(2):e4\n"),
              "3: under \"REGEDIT4\" the bytes of a text must be UTF-8");
    EXPECT_EQ(problemOf(key + "\"x\r\"=\"1\"\n"), "2: a control character inside a name or a text");
    EXPECT_EQ(problemOf(key + std::string("\"x\0\"=\"1\"\n", 9)), "2: a control character inside a name or a text");
}

TEST_F(RegistryTextTest, PartsAndDepthOfAPathAreLimited) {
    const std::string longest(255, 'k');
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\" + longest + "]\n"), "accepted");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER\\" + longest + "k]\n"),
              "1: a part of the key's path is longer than 255 characters");
    std::string path;
    for (int i = 0; i < 512; ++i) {
        path += "\\k";
    }
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER" + path + "]\n"), "accepted");
    EXPECT_EQ(problemOf("[HKEY_CURRENT_USER" + path + "\\k]\n"), "1: the key lies more than 512 levels deep");
}

TEST_F(RegistryTextTest, EveryCutThroughAValueIsNoticedOrLeavesWholeLines) {
    const std::string whole = "[HKEY_CURRENT_USER\\a]\n\"x\"=\"12\"\n";
    for (std::size_t size = 23; size < whole.size() - 1; ++size) {
        EXPECT_EQ(problemOf(whole.substr(0, size)).substr(0, 2), "2:") << whole.substr(0, size);
    }
}

TEST_F(RegistryTextTest, RefusedTextLeavesAnEmptyHive) {
    parse("[HKEY_CURRENT_USER\\a]\n");
    EXPECT_NE(problemOf("[HKEY_CURRENT_USER\\b]\n?\n"), "accepted");
    EXPECT_EQ(m_text.numberOfSubKeys(SPW_CRegistryText::kRoot), 0);
    EXPECT_EQ(written(), "");
}

// --- What survives ---

TEST_F(RegistryTextTest, UneditedTextIsWrittenAsItWasRead) {
    const std::string text =
        "\xEF\xBB\xBF; mine\r\n\r\nREGEDIT4\r\n[HKEY_CURRENT_USER\\a]   \r\n  \"x\" = hex:1,\\ \r\n\t2 ;tail\r\n; "
        "\xFF\r\n@=\"\"";
    parse(text);
    EXPECT_EQ(written(), text);
    EXPECT_FALSE(m_text.isChanged());
}

TEST_F(RegistryTextTest, ChangedValueKeepsItsPlaceItsCommentAndEverythingElse) {
    parse("; top\n[HKEY_CURRENT_USER\\a]\n; before\n\"X\"=dword:1 ; mine\n\"y\"=\"2\"\n");
    EXPECT_EQ(setText(u"A", u"x", u"new"), 0u);
    EXPECT_EQ(written(), "; top\n[HKEY_CURRENT_USER\\a]\n; before\n\"X\"=\"new\" ; mine\n\"y\"=\"2\"\n");
    EXPECT_TRUE(m_text.isChanged());
}

TEST_F(RegistryTextTest, EqualValueChangesNothing) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\" = \"1\"\n");
    EXPECT_EQ(setText(u"a", u"X", u"1"), 0u);
    EXPECT_FALSE(m_text.isChanged());
}

TEST_F(RegistryTextTest, EqualBytesOfAnotherTypeAreAnotherValue) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n");
    EXPECT_EQ(m_text.setValue(u"a", u"x", SPW_CRegistryText::kBinary, u"1", 4), 0u);
    EXPECT_TRUE(m_text.isChanged());
    EXPECT_EQ(written(), "[HKEY_CURRENT_USER\\a]\n\"x\"=hex:31,00,00,00\n");
}

TEST_F(RegistryTextTest, NewValueGoesBehindTheLastOfItsKey) {
    parse("[HKEY_CURRENT_USER\\a]\r\n\"x\"=\"1\"\r\n\r\n; next\r\n[HKEY_CURRENT_USER\\b]\r\n");
    EXPECT_EQ(setText(u"a", u"y", u"2"), 0u);
    EXPECT_EQ(written(),
              "[HKEY_CURRENT_USER\\a]\r\n\"x\"=\"1\"\r\n\"y\"=\"2\"\r\n\r\n; next\r\n[HKEY_CURRENT_USER\\b]\r\n");
}

TEST_F(RegistryTextTest, LineWithoutBreakGetsOneWhenSomethingFollows) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\" ; c");
    EXPECT_EQ(setText(u"a", u"y", u"2"), 0u);
    EXPECT_EQ(setText(u"a", u"x", u"3"), 0u);
    EXPECT_EQ(written(), "[HKEY_CURRENT_USER\\a]\n\"x\"=\"3\" ; c\n\"y\"=\"2\"\n");
}

TEST_F(RegistryTextTest, FirstKeyOfAnEmptyHiveBringsTheHeader) {
    EXPECT_EQ(m_text.createKey(u"a\\b"), 0u);
    EXPECT_EQ(setText(u"a", u"x", u"1"), 0u);
    EXPECT_EQ(written(), std::string(kHeader) + "[HKEY_CURRENT_USER\\a\\b]\n\n[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n");
}

TEST_F(RegistryTextTest, KeyThatExistsIsNotMadeAgain) {
    parse("[HKEY_CURRENT_USER\\a\\b]\n");
    EXPECT_EQ(m_text.createKey(u"A"), 0u);
    EXPECT_EQ(m_text.createKey(u"\\a\\B\\"), 0u);
    EXPECT_FALSE(m_text.isChanged());
}

TEST_F(RegistryTextTest, DeletedValueGoesFromAllItsPlaces) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n; c\n\"X\"=\"2\"\n\"y\"=\"3\"\n");
    EXPECT_EQ(m_text.deleteValue(u"a", u"x"), 0u);
    EXPECT_EQ(written(), "[HKEY_CURRENT_USER\\a]\n; c\n\"y\"=\"3\"\n");
    EXPECT_EQ(m_text.deleteValue(u"a", u"x"), 2u);
    EXPECT_EQ(m_text.deleteValue(u"b", u"x"), 2u);
}

TEST_F(RegistryTextTest, DeletedKeyLeavesCommentsAndItsParent) {
    parse("[HKEY_CURRENT_USER\\a\\b]\n; stays\n\"x\"=\"1\"\n");
    EXPECT_EQ(m_text.deleteKey(u"a"), kSysAccessDenied);
    EXPECT_EQ(m_text.deleteKey(u"a\\b"), 0u);
    EXPECT_EQ(written(), "; stays\n\n[HKEY_CURRENT_USER\\a]\n");
    EXPECT_EQ(m_text.deleteKey(u"a\\b"), 2u);
    EXPECT_EQ(m_text.deleteKey(u""), kSysAccessDenied);
}

TEST_F(RegistryTextTest, MakingAndDeletingAKeyOverAndOverDoesNotGrowTheText) {
    parse("[HKEY_CURRENT_USER\\a]\n\"x\"=\"1\"\n\n[HKEY_CURRENT_USER\\b]\n\n");
    const std::string before = written();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(m_text.createKey(u"c"), 0u);
        EXPECT_EQ(m_text.deleteKey(u"c"), 0u);
    }
    EXPECT_EQ(written(), before);
}

// --- How values are written ---

TEST_F(RegistryTextTest, ValuesAreWrittenAsEditorsExportThem) {
    EXPECT_EQ(m_text.createKey(u"a"), 0u);
    const unsigned char number[] = {0xab, 0x15, 0, 0};
    const unsigned char list[] = {'a', 0, 0, 0};
    EXPECT_EQ(setText(u"a", u"", u"default"), 0u);
    EXPECT_EQ(setText(u"a", u"q\"\\", u"C:\\x \"y\" ä"), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"n", 4, number, 4), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"odd", 4, number, 2), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"b", 3, number, 4), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"l", 7, list, 4), 0u);
    EXPECT_EQ(m_text.setValue(u"a", u"e", 0xabc, nullptr, 0), 0u);
    EXPECT_EQ(written(), std::string(kHeader) +
                             "[HKEY_CURRENT_USER\\a]\n"
                             "@=\"default\"\n"
                             "\"q\\\"\\\\\"=\"C:\\\\x \\\"y\\\" ä\"\n"
                             "\"n\"=dword:000015ab\n"
                             "\"odd\"=hex(4):ab,15\n"
                             "\"b\"=hex:ab,15,00,00\n"
                             "\"l\"=hex(7):61,00,00,00\n"
                             "\"e\"=hex(abc):\n");
}

TEST_F(RegistryTextTest, TextThatDoesNotFitOnALineIsWrittenAsBytesAndKeepsItsType) {
    EXPECT_EQ(m_text.createKey(u"a"), 0u);
    EXPECT_EQ(setText(u"a", u"x", u"1\n2"), 0u);
    EXPECT_NE(written().find("\"x\"=hex(1):31,00,0a,00,32,00,00,00\n"), std::string::npos);
    parse(written());
    EXPECT_EQ(units(value(u"a", u"x")), "1\n2|");
    EXPECT_EQ(value(u"a", u"x").type, 1u);
}

TEST_F(RegistryTextTest, LongBytesAreBrokenAt80Columns) {
    EXPECT_EQ(m_text.createKey(u"a"), 0u);
    const std::string bytes(200, 'x');
    EXPECT_EQ(m_text.setValue(u"a", u"x", 3, bytes.data(), 200), 0u);
    const std::string text = written();
    std::size_t begin = 0;
    int lines = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        EXPECT_LE(end - begin, 80u);
        begin = end + 1;
        ++lines;
    }
    EXPECT_GT(lines, 8);
    parse(text);
    EXPECT_EQ(this->bytes(value(u"a", u"x")), std::vector<int>(200, 'x'));
}

TEST_F(RegistryTextTest, HalfOfASurrogatePairSurvives) {
    EXPECT_EQ(m_text.createKey(u"a"), 0u);
    const char16_t half[] = {0xD83D, 0};
    EXPECT_EQ(m_text.setValue(u"a", u"x", 1, half, 4), 0u);
    parse(written());
    EXPECT_THAT(bytes(value(u"a", u"x")), ElementsAre(0x3D, 0xD8, 0, 0));
}

TEST_F(RegistryTextTest, NamesThatTheFormatCannotHoldAreRefused) {
    EXPECT_EQ(m_text.createKey(u"a\nb"), kSysInvalidParameter);
    EXPECT_EQ(m_text.createKey(u"a]b"), kSysInvalidParameter);
    EXPECT_EQ(m_text.createKey(SPW_CString(std::u16string(256, u'k').c_str())), kSysInvalidParameter);
    EXPECT_EQ(m_text.createKey(u"a"), 0u);
    EXPECT_EQ(setText(u"a", u"x\ry", u"1"), kSysInvalidParameter);
    EXPECT_EQ(setText(u"a", u"x\r", u"1"), kSysInvalidParameter);
    EXPECT_EQ(setText(u"b", u"x", u"1"), kSysFileNotFound);
    EXPECT_EQ(written(), std::string(kHeader) + "[HKEY_CURRENT_USER\\a]\n");
}

TEST_F(RegistryTextTest, TensOfThousandsOfEntriesAreReadInOneGo) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += "[HKEY_CURRENT_USER\\keys\\k" + std::to_string(i) + "]\n\"v" + std::to_string(i) + "\"=\"1\"\n";
    }
    text += "[HKEY_CURRENT_USER\\one]\n";
    for (int i = 0; i < 20000; ++i) {
        text += "\"v" + std::to_string(i) + "\"=dword:" + std::to_string(i) + "\n";
    }
    text += "; " + std::string(1000000, 'x') + "\n\"long\"=\"" + std::string(1000000, 'y') + "\"\n";
    parse(text);
    EXPECT_EQ(m_text.numberOfSubKeys(key(u"keys")), 20000);
    EXPECT_EQ(m_text.numberOfValues(key(u"one")), 20001);
    EXPECT_EQ(units(value(u"keys\\K19999", u"V19999")), "1|");
    EXPECT_EQ(value(u"one", u"long").size, 2000002u);
    EXPECT_EQ(written(), text);
}

}  // namespace
