#include "RegistryDump.h"

#include <gmock/gmock.h>

#include <future>

#include "RecordedLines.h"
#include "RecordingReporter.h"
#include "RegistrySysForwarder.h"
#include "SPW_CRegistry.h"
#include "SPW_CSysError.h"
#include "SPW_CThread.h"
#include "TemporaryRegistry.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr const char16_t* kMaker = u"Software\\Vantiro Networks";
constexpr char kUserHead[] = "recursivly logging HKEY_CURRENT_USER\\Software\\Vantiro Networks";
constexpr char kMachineHead[] = "recursivly logging HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks";

class RegistryDumpTest : public testing::Test {
protected:
    static Lines dump() { return RecordedLines::of(printRegistry); }
    static Lines without(const Lines& lines, std::size_t front, std::size_t back) {
        return Lines(lines.begin() + static_cast<std::ptrdiff_t>(front),
                     lines.end() - static_cast<std::ptrdiff_t>(back));
    }
    // What is between the user's head line and the machine's, when the machine's key is empty.
    static Lines dumpOfUser() { return without(dump(), 2, 2); }
    // The hive as a file, whose keys are below the maker's.
    void writeUser(const std::string& text) const { write("HKEY_CURRENT_USER", text); }
    void writeMachine(const std::string& text) const { write("HKEY_LOCAL_MACHINE", text); }
    static bool exists(const char16_t* hive, const char16_t* key) {
        std::uint32_t count = 0;
        return SPW_CRegistry(hive, key, SPW_CRegistry::kOnlyIfPresent).getNumberOfValues(count) == 0;
    }

    TemporaryRegistry m_registry;
    RecordingReporter m_reporter;

private:
    void write(const std::string& hive, const std::string& text) const { m_registry.load(hive, text); }
};

TEST_F(RegistryDumpTest, EmptyKeysGiveNoLines) {
    EXPECT_THAT(dump(), ElementsAre("**Vantiro Registry Settings**", kUserHead, kMachineHead,
                                    "**End of Vantiro Registry Settings**"));
}

TEST_F(RegistryDumpTest, TheMakersKeyIsLeftInPlaceInBothHives) {
    dump();
    EXPECT_TRUE(exists(u"HKEY_CURRENT_USER", kMaker));
    EXPECT_TRUE(exists(u"HKEY_LOCAL_MACHINE", kMaker));
}

TEST_F(RegistryDumpTest, BothHivesAreWrittenEachUnderItsHead) {
    writeUser("[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\User]\n\"a\"=\"1\"\n");
    writeMachine("[HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks\\Machine]\n\"b\"=\"2\"\n");
    EXPECT_THAT(dump(), ElementsAre("**Vantiro Registry Settings**",                            //
                                    kUserHead,                                                  //
                                    "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\User",      //
                                    " a = 1",                                                   //
                                    kMachineHead,                                               //
                                    "HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks\\Machine",  //
                                    " b = 2",                                                   //
                                    "**End of Vantiro Registry Settings**"));
}

TEST_F(RegistryDumpTest, NothingButTheMakersKeysIsWritten) {
    writeUser(
        "[HKEY_CURRENT_USER\\ControlPanel\\Owner]\n\"Owner\"=\"Ada\"\n"
        "[HKEY_CURRENT_USER\\Software]\n\"x\"=\"1\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks Two]\n\"y\"=\"2\"\n");
    EXPECT_THAT(dumpOfUser(), IsEmpty());
}

TEST_F(RegistryDumpTest, AKeysValuesComeFirstThenEachSubkeyWithAllBelowIt) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"root\"=\"0\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A]\n\"a1\"=\"1\"\n\"a2\"=\"2\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Deep]\n\"deep\"=\"3\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Deep\\Deeper]\n\"deepest\"=\"4\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Next]\n\"next\"=\"5\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\B]\n\"b\"=\"6\"\n");
    EXPECT_THAT(dumpOfUser(), ElementsAre("root = 0",                                                          //
                                          "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A",                  //
                                          " a1 = 1",                                                           //
                                          " a2 = 2",                                                           //
                                          " HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Deep",           //
                                          "  deep = 3",                                                        //
                                          "  HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Deep\\Deeper",  //
                                          "   deepest = 4",                                                    //
                                          " HKEY_CURRENT_USER\\Software\\Vantiro Networks\\A\\Next",           //
                                          "  next = 5",                                                        //
                                          "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\B",                  //
                                          " b = 6"));
}

TEST_F(RegistryDumpTest, OfOtherKindsOnlyTheirNamesAreWritten) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K]\n"
        "\"Bytes\"=hex:01,02\n\"List\"=hex(7):61,00,00,00\n\"None\"=hex(0):\n\"Port\"=dword:00001770\n");
    EXPECT_THAT(without(dumpOfUser(), 1, 0), ElementsAre(" type of Bytes not suported", " type of List not suported",
                                                         " type of None not suported", " type of Port not suported"));
}

TEST_F(RegistryDumpTest, ValuesThatTheRegistryDoesNotHandOutHaveNoLine) {
    writeUser("[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"expanded\"=hex(2):25,00,00,00\n\"long\"=\"" +
              std::string(255, 'x') + "\"\n\"odd\"=hex(b):01,02,03,04,05,06,07,08\n\"last\"=\"1\"\n");
    EXPECT_THAT(dumpOfUser(), ElementsAre("last = 1"));
}

TEST_F(RegistryDumpTest, TheDefaultValueHasAnEmptyName) {
    writeUser("[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n@=\"x\"\n\"empty\"=\"\"\n");
    EXPECT_THAT(dumpOfUser(), ElementsAre(" = x", "empty = "));
}

TEST_F(RegistryDumpTest, LongTextsAreWrittenWholeAndAreNeverFormats) {
    const std::string name(250, 'n');
    const std::string text = "%s%n%d" + std::string(248, 't');
    writeUser("[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"" + name + "\"=\"" + text + "\"\n");
    EXPECT_THAT(dumpOfUser(), ElementsAre(name + " = " + text));
}

TEST_F(RegistryDumpTest, ThousandsOfKeysAndValuesAreWritten) {
    std::string hive;
    for (int key = 0; key < 1000; ++key) {
        hive += "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\" + std::to_string(key) + "]\n";
        for (int value = 0; value < 3; ++value) {
            hive += "\"" + std::to_string(value) + "\"=\"" + std::to_string(key) + "\"\n";
        }
    }
    writeUser(hive);
    const Lines lines = dumpOfUser();
    ASSERT_EQ(lines.size(), 4000u);
    EXPECT_EQ(lines[3996], "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\999");
    EXPECT_EQ(lines[3999], " 2 = 999");
}

// What changes meanwhile.

TEST_F(RegistryDumpTest, WhatIsAddedWhileAKeyIsWrittenIsNotSeenThere) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"a\"=\"1\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K]\n");
    RecordedLines lines;
    lines.onLine = [&](const std::string& line) {
        if (line == "a = 1") {
            m_registry.setText(kMaker, u"late", u"2");
        } else if (line == "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K") {
            m_registry.setText(u"Software\\Vantiro Networks\\Late", u"x", u"3");
        }
    };
    printRegistry(lines);
    EXPECT_THAT(without(lines.lines, 2, 2), ElementsAre("a = 1", "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K"));
}

TEST_F(RegistryDumpTest, WhatIsRemovedMeanwhileIsLeftOutInSilence) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"a\"=\"1\"\n\"b\"=\"2\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K]\n\"k\"=\"3\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\L]\n\"l\"=\"4\"\n");
    RecordedLines lines;
    lines.onLine = [&](const std::string& line) {
        if (line == "a = 1") {
            m_registry.remove(kMaker, u"b");
        } else if (line == " k = 3") {
            EXPECT_EQ(SPW_CRegistry(u"HKEY_CURRENT_USER", kMaker).deleteKey(u"L"), 0u);
        }
    };
    printRegistry(lines);
    EXPECT_THAT(without(lines.lines, 2, 2),
                ElementsAre("a = 1", "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K", " k = 3"));
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

TEST_F(RegistryDumpTest, AKeyThatIsRemovedWhileItIsWrittenStaysRemoved) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K\\First]\n\"x\"=\"1\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K\\Second]\n\"y\"=\"2\"\n");
    RecordedLines lines;
    lines.onLine = [](const std::string& line) {
        if (line == "  x = 1") {
            EXPECT_EQ(SPW_CRegistry(u"HKEY_CURRENT_USER", kMaker).deleteKey(u"K"), 0u);
        }
    };
    printRegistry(lines);
    EXPECT_THAT(without(lines.lines, 2, 2),
                ElementsAre("HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K",
                            " HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K\\First", "  x = 1"));
    EXPECT_FALSE(exists(u"HKEY_CURRENT_USER", u"Software\\Vantiro Networks\\K"));
}

// What may not be done.

class MachineWithoutRights : public RegistrySysForwarder {
public:
    SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        return parent == rootKey(kLocalMachine) ? SPW_Result(kSysAccessDenied)
                                                : RegistrySysForwarder::createKey(parent, path, access, key);
    }
};

TEST_F(RegistryDumpTest, AHiveThatMayOnlyBeReadIsWrittenAllTheSame) {
    writeMachine("[HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks\\Machine]\n\"b\"=\"2\"\n");
    const MachineWithoutRights rights;
    EXPECT_THAT(without(dump(), 3, 1),
                ElementsAre("HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks\\Machine", " b = 2"));
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

TEST_F(RegistryDumpTest, AKeyThatMayNotBeMadeIsLeftOutInSilence) {
    const MachineWithoutRights rights;
    EXPECT_THAT(dump(), ElementsAre("**Vantiro Registry Settings**", kUserHead, kMachineHead,
                                    "**End of Vantiro Registry Settings**"));
    EXPECT_FALSE(exists(u"HKEY_LOCAL_MACHINE", kMaker));
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

class UnreachableKeys : public RegistrySysForwarder {
public:
    SPW_Result createKey(SPW_Handle, const SPW_CString&, std::uint32_t, SPW_Handle&) override {
        return kSysPathNotFound;
    }
    SPW_Result openKey(SPW_Handle, const SPW_CString&, std::uint32_t, SPW_Handle&) override { return kSysPathNotFound; }
};

TEST_F(RegistryDumpTest, HivesThatCannotBeReachedAtAllAreLeftOutInSilence) {
    const UnreachableKeys unreachable;
    EXPECT_THAT(dump(), ElementsAre("**Vantiro Registry Settings**", kUserHead, kMachineHead,
                                    "**End of Vantiro Registry Settings**"));
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

class NamelessKeys : public RegistrySysForwarder {
public:
    SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) override {
        return index == 1 ? SPW_Result(kSysAccessDenied) : RegistrySysForwarder::enumKey(key, index, name, nameSize);
    }
};

TEST_F(RegistryDumpTest, AKeyWhoseNameCannotBeHadIsSkippedAndTheNextWritten) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\First]\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Hidden]\n\"h\"=\"1\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Last]\n\"l\"=\"2\"\n");
    const NamelessKeys nameless;
    EXPECT_THAT(dumpOfUser(), ElementsAre("HKEY_CURRENT_USER\\Software\\Vantiro Networks\\First",
                                          "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Last", " l = 2"));
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

class UncountableKeys : public RegistrySysForwarder {
public:
    SPW_Result queryCounts(SPW_Handle, std::uint32_t&, std::uint32_t&) override { return kSysAccessDenied; }
};

TEST_F(RegistryDumpTest, ValuesAndKeysThatCannotBeCountedAreLeftOutInSilence) {
    writeUser(
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n\"root\"=\"0\"\n"
        "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\K]\n\"k\"=\"3\"\n");
    const UncountableKeys uncountable;
    EXPECT_THAT(dumpOfUser(), IsEmpty());
    EXPECT_THAT(m_reporter.boxes(), IsEmpty());
}

// How deep.

// Writes the registry on a thread of the program, with its small stack.
class DumpingThread : public SPW_CThread {
public:
    ~DumpingThread() override { m_done.wait(); }
    void step() override {
        m_lines = RecordedLines::of(printRegistry);
        requestStop();
    }
    void finish() override { m_finished.set_value(); }
    Lines lines() {
        EXPECT_EQ(start(), 0u);
        m_done.wait();
        return m_lines;
    }

private:
    Lines m_lines;
    std::promise<void> m_finished;
    std::shared_future<void> m_done{m_finished.get_future()};
};

TEST_F(RegistryDumpTest, TheDeepestTreeIsWrittenOnASmallStack) {
    constexpr int kBelowTheMakers = 510;
    std::string path = "HKEY_CURRENT_USER\\Software\\Vantiro Networks";
    for (int i = 0; i < kBelowTheMakers; ++i) {
        path += "\\key";
    }
    writeUser("[" + path + "]\n\"bottom\"=\"1\"\n");
    const Lines lines = without(DumpingThread().lines(), 2, 2);
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kBelowTheMakers) + 1);
    EXPECT_EQ(lines[kBelowTheMakers - 1], std::string(kBelowTheMakers - 1, ' ') + path);
    EXPECT_EQ(lines[kBelowTheMakers], std::string(kBelowTheMakers, ' ') + "bottom = 1");
}

// Every key of the user has the same subkey, which is itself.
class CircularKeys : public RegistrySysForwarder {
public:
    SPW_Handle rootKey(Hive hive) override { return hive == kCurrentUser ? this : RegistrySysForwarder::rootKey(hive); }
    SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        return parent == this ? openKey(parent, path, access, key)
                              : RegistrySysForwarder::createKey(parent, path, access, key);
    }
    SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        if (parent != this) {
            return RegistrySysForwarder::openKey(parent, path, access, key);
        }
        key = this;
        return kSysOk;
    }
    SPW_Result closeKey(SPW_Handle key) override {
        return key == this ? SPW_Result(kSysOk) : RegistrySysForwarder::closeKey(key);
    }
    SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) override {
        if (key != this) {
            return RegistrySysForwarder::queryCounts(key, subKeys, values);
        }
        subKeys = 1;
        values = 0;
        return kSysOk;
    }
    SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) override {
        if (key != this) {
            return RegistrySysForwarder::enumKey(key, index, name, nameSize);
        }
        name = u"Again";
        return kSysOk;
    }
};

TEST_F(RegistryDumpTest, ATreeThatLeadsRoundInACircleEnds) {
    CircularKeys circular;
    EXPECT_EQ(without(dump(), 2, 2).size(), 513u) << "as deep as the registry can be, and no deeper";
}

}  // namespace
