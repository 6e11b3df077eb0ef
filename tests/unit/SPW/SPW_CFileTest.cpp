#include "SPW_CFile.h"

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <string>

#include "PlatformCodes.h"
#include "RecordingReporter.h"
#include "SPW_CSysError.h"
#include "TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::StartsWith;

class FileTest : public testing::Test {
protected:
    void create(const char* name) { ASSERT_EQ(file.openCreateNew(folder.path(name)), 0u); }

    std::string readString(char endCharacter) {
        SPW_CString text;
        EXPECT_EQ(file.readCString(text, endCharacter), 0u);
        return text.toAnsi();
    }

    std::string readLine() {
        SPW_CString text;
        EXPECT_EQ(file.readLine(text), 0u);
        return text.toAnsi();
    }

    std::uint32_t position() {
        std::uint32_t here = 0;
        EXPECT_EQ(file.getPosition(here), 0u);
        return here;
    }

    TemporaryFolder folder;
    RecordingReporter reporter;
    SPW_CFile file;
};

// --- Opening and closing ---

TEST_F(FileTest, IsClosedWithoutANameAtFirst) {
    EXPECT_FALSE(file.isOpen());
    EXPECT_TRUE(file.getName().isEmpty());
    EXPECT_EQ(file.close(), 0u);
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FileTest, OpenFileHasTheNameItWasOpenedWith) {
    create("a.txt");
    EXPECT_TRUE(file.isOpen());
    EXPECT_TRUE(file.getName() == folder.path("a.txt"));
    EXPECT_EQ(file.close(), 0u);
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, ReadOnlyDemandsThatTheFileExists) {
    EXPECT_EQ(file.openReadOnly(folder.path("a.txt")), 2u);
    EXPECT_FALSE(folder.exists("a.txt"));
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "openReadOnly", 2, "Open file failed")));
    folder.write("a.txt", "abc");
    EXPECT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(readString('\0'), "abc");
}

TEST_F(FileTest, ReadOnlyFileCannotBeWritten) {
    folder.write("a.txt", "abc");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_NE(file.writeText(u"x"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "abc");
}

TEST_F(FileTest, CreateNewTruncatesAnExistingFile) {
    folder.write("a.txt", "old");
    create("a.txt");
    EXPECT_EQ(folder.read("a.txt"), "");
    EXPECT_EQ(file.writeText(u"new"), 0u);
    EXPECT_EQ(file.moveToBegin(), 0u);
    EXPECT_EQ(readString('\0'), "new");
}

TEST_F(FileTest, ReadWriteWithAppendContinuesAnExistingFile) {
    folder.write("a.txt", "old");
    ASSERT_EQ(file.openReadWrite(folder.path("a.txt"), true), 0u);
    EXPECT_EQ(position(), 3u);
    EXPECT_EQ(file.writeText(u"new"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "oldnew");
}

TEST_F(FileTest, ReadWriteWithAppendCreatesAMissingFile) {
    ASSERT_EQ(file.openReadWrite(folder.path("a.txt"), true), 0u);
    EXPECT_TRUE(folder.exists("a.txt"));
}

TEST_F(FileTest, ReadWriteWithoutAppendTruncatesOrCreates) {
    folder.write("a.txt", "old");
    ASSERT_EQ(file.openReadWrite(folder.path("a.txt"), false), 0u);
    EXPECT_EQ(folder.read("a.txt"), "");
    ASSERT_EQ(file.close(), 0u);
    ASSERT_EQ(file.openReadWrite(folder.path("b.txt"), false), 0u);
    EXPECT_TRUE(folder.exists("b.txt"));
}

TEST_F(FileTest, TemporaryFileIsNewAndItsNameStartsWithVtr) {
    ASSERT_EQ(file.openTemp(folder.path()), 0u);
    EXPECT_THAT(file.getName().getFileName().toAnsi(), StartsWith("VTR"));
    EXPECT_TRUE(folder.exists(file.getName().getFileName().toAnsi()));
    SPW_CFile second;
    ASSERT_EQ(second.openTemp(folder.path()), 0u);
    EXPECT_TRUE(second.getName() != file.getName());
    EXPECT_EQ(file.writeText(u"kept"), 0u);
    ASSERT_EQ(file.close(), 0u);
    EXPECT_EQ(folder.read(file.getName().getFileName().toAnsi()), "kept");
}

TEST_F(FileTest, WhileItIsOpenForWritingNobodyElseMayWriteItOrBeginItAnew) {
    folder.write("a.txt", "kept");
    ASSERT_EQ(file.openReadWrite(folder.path("a.txt"), true), 0u);
    SPW_CFile other;
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), true), 32u);
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), false), 32u);
    EXPECT_EQ(other.openToAppend(folder.path("a.txt")), 32u);
    EXPECT_EQ(other.openCreateNew(folder.path("a.txt")), 32u);
    EXPECT_FALSE(other.isOpen());
    EXPECT_EQ(folder.read("a.txt"), "kept");
    ASSERT_EQ(file.close(), 0u);
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), true), 0u);
}

TEST_F(FileTest, WhatIsOpenToAppendNobodyElseMayWriteOrBeginAnew) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    EXPECT_EQ(file.writeText(u"kept"), 0u);
    SPW_CFile other;
    EXPECT_EQ(other.openToAppend(folder.path("a.txt")), 32u);
    EXPECT_EQ(other.openCreateNew(folder.path("a.txt")), 32u);
    EXPECT_EQ(folder.read("a.txt"), "kept");
}

TEST_F(FileTest, OpenToAppendContinuesAnExistingFileOrCreatesAMissingOne) {
    folder.write("a.txt", "old");
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    EXPECT_EQ(position(), 3u);
    EXPECT_EQ(file.writeText(u"new"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "oldnew");
    ASSERT_EQ(file.close(), 0u);
    ASSERT_EQ(file.openToAppend(folder.path("b.txt")), 0u);
    EXPECT_TRUE(folder.exists("b.txt"));
}

TEST_F(FileTest, TextThatIsWrittenWholeFollowsWhatIsThere) {
    ASSERT_EQ(file.openToAppend(folder.path("a.txt")), 0u);
    bool isTorn = true;
    EXPECT_EQ(file.writeWhole(u"one", isTorn), 0u);
    EXPECT_FALSE(isTorn);
    EXPECT_EQ(file.writeWhole(u"two", isTorn), 0u);
    EXPECT_EQ(folder.read("a.txt"), "onetwo");
}

TEST_F(FileTest, NothingIsWrittenWholeToAClosedFileAndNothingReported) {
    bool isTorn = true;
    EXPECT_EQ(file.writeWhole(u"lost", isTorn), 163u);
    EXPECT_FALSE(isTorn);
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FileTest, OthersMayReadAnOpenFile) {
    create("a.txt");
    EXPECT_EQ(file.writeText(u"seen"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "seen");
    ASSERT_EQ(file.close(), 0u);
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    SPW_CFile reader;
    ASSERT_EQ(reader.openReadOnly(folder.path("a.txt")), 0u);
    SPW_CString text;
    EXPECT_EQ(reader.readCString(text, '\0'), 0u);
    EXPECT_STREQ(text.toAnsi(), "seen");
}

TEST_F(FileTest, OthersMayWriteToAFileThatIsSharedWithAll) {
    folder.write("a.txt", "an earlier run's");
    ASSERT_EQ(file.openCreateShared(folder.path("a.txt")), 0u);
    EXPECT_EQ(folder.read("a.txt"), "");
    EXPECT_EQ(file.writeText(u"seen"), 0u);
    SPW_CFile writer;
    ASSERT_EQ(writer.openCreateShared(folder.path("a.txt")), 0u);
    EXPECT_EQ(writer.writeText(u"new"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "new");
}

TEST_F(FileTest, DestructorClosesTheFile) {
    {
        SPW_CFile other;
        ASSERT_EQ(other.openCreateNew(folder.path("a.txt")), 0u);
        EXPECT_EQ(other.writeText(u"x"), 0u);
    }
    EXPECT_EQ(folder.read("a.txt"), "x");
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

// --- Failed opens ---

TEST_F(FileTest, SecondOpenFailsAndLeavesTheFirstFileOpen) {
    struct Case {
        const char* method;
        std::function<SPW_Result(const SPW_CString&)> open;
    };
    const Case cases[] = {
        {"openCreateNew", [this](const SPW_CString& path) { return file.openCreateNew(path); }},
        {"openReadOnly", [this](const SPW_CString& path) { return file.openReadOnly(path); }},
        {"openReadWrite", [this](const SPW_CString& path) { return file.openReadWrite(path, false); }},
        {"openReadWrite", [this](const SPW_CString& path) { return file.openReadWrite(path, true); }},
    };
    create("first.txt");
    folder.write("second.txt", "untouched");
    const SPW_CString second = folder.path("second.txt");
    for (const Case& open : cases) {
        EXPECT_EQ(open.open(second), SPW_CFile::kAlreadyOpen);
        EXPECT_THAT(reporter.takeReports(),
                    ElementsAre(AllOf(IsReport("SPW_CFile", open.method, SPW_CFile::kAlreadyOpen,
                                               std::string("Attemp to open file ") + second.toAnsi() +
                                                   " but a file is already open."),
                                      Field(&RecordedReport::module, "SPW_CFileW32"))));
    }
    EXPECT_TRUE(file.getName() == folder.path("first.txt"));
    EXPECT_EQ(file.writeText(u"x"), 0u);
    EXPECT_EQ(folder.read("first.txt"), "x");
    EXPECT_EQ(folder.read("second.txt"), "untouched");
}

TEST_F(FileTest, TemporaryFileIsRefusedWhileAFileIsOpen) {
    create("first.txt");
    EXPECT_EQ(file.openTemp(folder.path()), SPW_CFile::kAlreadyOpen);
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "openTemp", SPW_CFile::kAlreadyOpen,
                                     "Attemp to open a unique file, but a file is already open.")));
    EXPECT_EQ(folder.numberOfEntries(), 1);
}

TEST_F(FileTest, FailedOpenReportsOnceAndLeavesTheObjectClosed) {
    EXPECT_EQ(file.openReadWrite(folder.path("missing/a.txt"), true), 3u);
    EXPECT_THAT(reporter.takeReports(), ElementsAre(AllOf(IsReport("SPW_CFile", "openReadWrite", 3, "Open file failed"),
                                                          Field(&RecordedReport::module, "SPW_CFileW32"))));
    EXPECT_EQ(SPW_CSysError::instance->last(), 3u);
    EXPECT_FALSE(file.isOpen());
    EXPECT_TRUE(file.getName().isEmpty());
    EXPECT_EQ(file.openCreateNew(folder.path("missing/a.txt")), 3u);
    EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "openCreateNew", 3, "Open file failed")));
    create("a.txt");
}

TEST_F(FileTest, DirectoryIsRefusedLikeAFileWithoutPermission) {
    EXPECT_EQ(file.openReadOnly(folder.path()), 5u);
    EXPECT_EQ(file.openReadWrite(folder.path(), true), 5u);
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, TemporaryFileNeedsItsDirectory) {
    constexpr SPW_Result kCode = PlatformCodes::kNoFolderForTemporaryFile;
    EXPECT_EQ(file.openTemp(folder.path("missing")), kCode);
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "openTemp", kCode, "Open temp. file failed")));
    EXPECT_FALSE(file.isOpen());
}

// --- Without an open file ---

TEST_F(FileTest, EveryOperationOnAClosedObjectNamesItselfAndAnswers163) {
    struct Case {
        const char* name;
        std::function<SPW_Result()> call;
    };
    char byte = 0;
    std::uint32_t count = 0;
    std::int32_t number = 7;
    SPW_CString text;
    const Case cases[] = {
        {"read", [&] { return file.read(&byte, 1, count); }},
        {"read", [&] { return file.readInt32(number); }},
        {"readCString", [&] { return file.readCString(text, 'x'); }},
        {"readCString", [&] { return file.readLine(text); }},
        {"write", [&] { return file.write(&byte, 1); }},
        {"write", [&] { return file.writeInt32(1); }},
        {"writeText", [&] { return file.writeText(u"x"); }},
        {"writeNewLine", [&] { return file.writeNewLine(); }},
        {"flush", [&] { return file.flush(); }},
        {"getSize", [&] { return file.getSize(count); }},
        {"getPosition", [&] { return file.getPosition(count); }},
        {"setPosition", [&] { return file.setPosition(1); }},
        {"moveRelative", [&] { return file.moveRelative(1); }},
        {"moveToBegin", [&] { return file.moveToBegin(); }},
        {"moveToEnd", [&] { return file.moveToEnd(); }},
    };
    for (const Case& operation : cases) {
        EXPECT_EQ(operation.call(), 163u);
        EXPECT_THAT(reporter.takeReports(),
                    ElementsAre(AllOf(IsReport("SPW_CFile", "errorIfNotOpen", 163,
                                               std::string(operation.name) + "called but no file was open."),
                                      Field(&RecordedReport::module, "SPW_CFile"), Field(&RecordedReport::line, 227))));
    }
    EXPECT_EQ(number, 7);
}

TEST_F(FileTest, NumbersOfAClosedObjectAreZero) {
    char byte = 0;
    std::uint32_t count = 99;
    EXPECT_EQ(file.read(&byte, 1, count), 163u);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_EQ(file.getSize(count), 163u);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_EQ(file.getPosition(count), 163u);
    EXPECT_EQ(count, 0u);
}

// --- Bytes and positions ---

TEST_F(FileTest, ReadStopsAtTheEndOfTheFileWithoutFailure) {
    folder.write("a.txt", "abc");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    char buffer[8] = {};
    std::uint32_t count = 99;
    EXPECT_EQ(file.read(buffer, 2, count), 0u);
    EXPECT_EQ(std::string(buffer, count), "ab");
    EXPECT_EQ(file.read(buffer, 8, count), 0u);
    EXPECT_EQ(std::string(buffer, count), "c");
    EXPECT_EQ(file.read(buffer, 8, count), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FileTest, PositionFollowsTheMoves) {
    create("a.txt");
    EXPECT_EQ(file.write("0123456789", 10), 0u);
    EXPECT_EQ(position(), 10u);
    EXPECT_EQ(file.moveToBegin(), 0u);
    EXPECT_EQ(position(), 0u);
    EXPECT_EQ(file.setPosition(6), 0u);
    EXPECT_EQ(file.moveRelative(-2), 0u);
    EXPECT_EQ(position(), 4u);
    EXPECT_EQ(file.moveRelative(3), 0u);
    EXPECT_EQ(position(), 7u);
    EXPECT_EQ(file.moveToEnd(), 0u);
    EXPECT_EQ(position(), 10u);
    EXPECT_EQ(file.flush(), 0u);
    std::uint32_t size = 0;
    EXPECT_EQ(file.getSize(size), 0u);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(position(), 10u);
}

TEST_F(FileTest, MoveBeforeTheBeginFailsAndLeavesThePosition) {
    create("a.txt");
    EXPECT_EQ(file.write("0123", 4), 0u);
    constexpr SPW_Result kCode = PlatformCodes::kMoveBeforeBegin;
    EXPECT_EQ(file.moveRelative(-5), kCode);
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("SPW_CFile", "moveRelative", kCode, "Move file pointer failed")));
    EXPECT_EQ(position(), 4u);
}

TEST_F(FileTest, SizeBeyondFourGibibytesIsShownAsTheLargestNumber) {
    folder.write("a.txt", "");
    std::filesystem::resize_file(folder.native() / "a.txt", (std::uintmax_t{1} << 32) + 5);
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    std::uint32_t size = 0;
    EXPECT_EQ(file.getSize(size), 0u);
    EXPECT_EQ(size, 0xFFFFFFFFu);
    EXPECT_EQ(file.moveToEnd(), 0u);
    EXPECT_EQ(position(), 0xFFFFFFFFu);
}

// --- Typed values ---

TEST_F(FileTest, TypedValuesComeBackAsTheyWereWritten) {
    create("a.bin");
    EXPECT_EQ(file.writeBool(true), 0u);
    EXPECT_EQ(file.writeInt8(-5), 0u);
    EXPECT_EQ(file.writeUInt8(250), 0u);
    EXPECT_EQ(file.writeInt32(-70000), 0u);
    EXPECT_EQ(file.writeUInt32(4000000000u), 0u);
    EXPECT_EQ(file.writeCodePoint(U'\x1F600'), 0u);
    EXPECT_EQ(file.writeFloat(1.5f), 0u);
    EXPECT_EQ(file.writeDouble(-2.25), 0u);
    EXPECT_EQ(position(), 3u + 4 * 4u + 8u);
    EXPECT_EQ(file.moveToBegin(), 0u);

    bool flag = false;
    std::int8_t small = 0;
    std::uint8_t byte = 0;
    std::int32_t number = 0;
    std::uint32_t count = 0;
    char32_t character = 0;
    float single = 0;
    double real = 0;
    EXPECT_EQ(file.readBool(flag), 0u);
    EXPECT_EQ(file.readInt8(small), 0u);
    EXPECT_EQ(file.readUInt8(byte), 0u);
    EXPECT_EQ(file.readInt32(number), 0u);
    EXPECT_EQ(file.readUInt32(count), 0u);
    EXPECT_EQ(file.readCodePoint(character), 0u);
    EXPECT_EQ(file.readFloat(single), 0u);
    EXPECT_EQ(file.readDouble(real), 0u);
    EXPECT_TRUE(flag);
    EXPECT_EQ(small, -5);
    EXPECT_EQ(byte, 250);
    EXPECT_EQ(number, -70000);
    EXPECT_EQ(count, 4000000000u);
    EXPECT_TRUE(character == U'\x1F600');
    EXPECT_EQ(single, 1.5f);
    EXPECT_EQ(real, -2.25);
}

TEST_F(FileTest, EveryByteButZeroIsTrue) {
    folder.write("a.bin", std::string("\x02\x00\xFF", 3));
    ASSERT_EQ(file.openReadOnly(folder.path("a.bin")), 0u);
    for (const bool expected : {true, false, true}) {
        bool flag = !expected;
        EXPECT_EQ(file.readBool(flag), 0u);
        EXPECT_EQ(flag, expected);
    }
}

TEST_F(FileTest, ValueThatTheFileDoesNotHoldWhollyIsTheEndOfTheFile) {
    folder.write("a.bin", "abc");
    ASSERT_EQ(file.openReadOnly(folder.path("a.bin")), 0u);
    std::int32_t number = 7;
    EXPECT_EQ(file.readInt32(number), static_cast<SPW_Result>(kSysEndOfFile));
    EXPECT_EQ(number, 7);
    bool flag = true;
    EXPECT_EQ(file.readBool(flag), static_cast<SPW_Result>(kSysEndOfFile));
    EXPECT_TRUE(flag);
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

// --- Text in ---

TEST_F(FileTest, StringEndsBeforeItsEndCharacterAndTheNextOneStartsBehindIt) {
    folder.write("a.txt", "one;two;three");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(readString(';'), "one");
    EXPECT_EQ(position(), 4u);
    EXPECT_EQ(readString(';'), "two");
    EXPECT_EQ(readString(';'), "three");
    SPW_CString text(u"old");
    EXPECT_EQ(file.readCString(text, ';'), static_cast<SPW_Result>(kSysEndOfFile));
    EXPECT_TRUE(text.isEmpty());
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FileTest, EmptyStringsAreStringsToo) {
    folder.write("a.txt", ";;");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(readString(';'), "");
    EXPECT_EQ(readString(';'), "");
    SPW_CString text;
    EXPECT_EQ(file.readCString(text, ';'), static_cast<SPW_Result>(kSysEndOfFile));
}

// Pieces are 256 bytes: the end character stands before, on and behind each border in turn.
TEST_F(FileTest, StringOfAnyLengthIsRead) {
    for (const std::size_t length : {254u, 255u, 256u, 257u, 511u, 512u, 513u, 2000u}) {
        const std::string first(length, 'a');
        folder.write("a.txt", first + ";rest");
        ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
        EXPECT_EQ(readString(';'), first);
        EXPECT_EQ(readString(';'), "rest");
        ASSERT_EQ(file.close(), 0u);
    }
}

TEST_F(FileTest, CharacterOfSeveralBytesMayStandAcrossTheBorderOfTwoPieces) {
    const std::string text = std::string(255, 'a') + "\xC3\xA4\xE2\x82\xAC";
    folder.write("a.txt", text + ";");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(readString(';'), text);
}

TEST_F(FileTest, LinesEndWithCarriageReturnAndLineFeed) {
    folder.write("a.txt", "first\r\n\r\nlast");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(readLine(), "first");
    EXPECT_EQ(readLine(), "");
    EXPECT_EQ(readLine(), "last");
    SPW_CString text;
    EXPECT_EQ(file.readLine(text), static_cast<SPW_Result>(kSysEndOfFile));
    EXPECT_THAT(reporter.reports(), IsEmpty());
}

TEST_F(FileTest, WrittenStringComesBack) {
    create("a.txt");
    EXPECT_EQ(file.writeCString(u"eins", '\0'), 0u);
    EXPECT_EQ(file.writeCString(u"zwei", '\0'), 0u);
    EXPECT_EQ(folder.read("a.txt"), std::string("eins\0zwei\0", 10));
    EXPECT_EQ(file.moveToBegin(), 0u);
    EXPECT_EQ(readString('\0'), "eins");
    EXPECT_EQ(readString('\0'), "zwei");
}

// --- Text out ---

TEST_F(FileTest, EmptyTextWritesNothing) {
    create("a.txt");
    EXPECT_EQ(file.writeText(u""), 0u);
    EXPECT_EQ(folder.read("a.txt"), "");
}

TEST_F(FileTest, NewLineIsExactlyTwoBytes) {
    create("a.txt");
    EXPECT_EQ(file.writeNewLine(), 0u);
    EXPECT_EQ(folder.read("a.txt"), "\r\n");
}

TEST_F(FileTest, TextIsWrittenWithoutATerminator) {
    create("a.txt");
    EXPECT_EQ(file.writeText(u"ab"), 0u);
    EXPECT_EQ(file.writeText(u"cd"), 0u);
    EXPECT_EQ(folder.read("a.txt"), "abcd");
}

TEST_F(FileTest, LongTextIsWrittenWhole) {
    for (const int length : {1022, 1023, 1024, 1025, 5000}) {
        create("a.txt");
        SPW_CString text;
        text.fill(u'x', length);
        EXPECT_EQ(file.writeText(text), 0u);
        EXPECT_EQ(folder.read("a.txt"), std::string(static_cast<std::size_t>(length), 'x'));
        ASSERT_EQ(file.close(), 0u);
    }
}

}  // namespace
