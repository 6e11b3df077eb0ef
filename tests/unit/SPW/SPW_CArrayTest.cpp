#include "SPW_CArray.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "RecordingReporter.h"
#include "SPW_CString.h"
#include "StringPrinting.h"

namespace {

class ArrayTest : public testing::Test {
protected:
    void expectNoReport() { EXPECT_THAT(m_reporter.takeReports(), testing::IsEmpty()); }
    // Exactly one report since the last call.
    void expectReport(const char* method, int line, const char* condition) {
        const std::vector<RecordedReport> reports = m_reporter.takeReports();
        ASSERT_THAT(reports, testing::ElementsAre(
                                 IsReport("SPW_CArray", method, 0, std::string("assertion failed: ") + condition)));
        EXPECT_TRUE(reports[0].isFatal());
        EXPECT_EQ(reports[0].module, "SPW_CArray");
        EXPECT_EQ(reports[0].line, line);
    }
    void expectElementReport() { expectReport("operator []", 83, "index >= 0 && index < m_numberOfElements"); }
    void expectInsertReport() { expectReport("insertElementAt", 133, "index >= 0 && index <= m_numberOfElements"); }
    void expectRemoveReport() { expectReport("removeElementAt", 153, "index >= 0 && index < m_numberOfElements"); }

    RecordingReporter m_reporter;
};

template <typename T>
std::vector<T> contents(SPW_CArray<T>& array) {
    std::vector<T> elements;
    for (int i = 0; i < array.numberOfElements(); ++i) {
        elements.push_back(array[i]);
    }
    return elements;
}

SPW_CArray<int> countedTo(int count) {
    SPW_CArray<int> array;
    for (int i = 0; i < count; ++i) {
        array.append(i);
    }
    return array;
}

// --- Construction, copying, growth ---

TEST_F(ArrayTest, StartsEmptyWithCapacityEight) {
    const SPW_CArray<SPW_CString> array;
    EXPECT_EQ(array.numberOfElements(), 0);
    EXPECT_EQ(array.capacity(), 8);
}

TEST_F(ArrayTest, CapacityDoublesWhenAFullArrayGetsOneMore) {
    SPW_CArray<int> array;
    for (int count = 1; count <= 33; ++count) {
        array.insertElementAt(array.numberOfElements(), count);
        EXPECT_EQ(array.numberOfElements(), count);
        EXPECT_EQ(array.capacity(), count <= 8 ? 8 : count <= 16 ? 16 : count <= 32 ? 32 : 64) << count;
        EXPECT_EQ(array[0], 1);
        EXPECT_EQ(array[count - 1], count);
    }
    expectNoReport();
}

TEST_F(ArrayTest, GrowthMovesElementsThatPointIntoThemselves) {
    SPW_CArray<SPW_CString> array;
    for (int i = 0; i < 100; ++i) {
        array.append(SPW_CString(i));
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(array[i], SPW_CString(i));
    }
}

TEST_F(ArrayTest, ACopyTakesTheElementsAndNotTheCapacity) {
    SPW_CArray<int> original = countedTo(20);
    while (original.numberOfElements() > 3) {
        original.removeElementAt(3);
    }
    SPW_CArray<int> copy(original);
    EXPECT_EQ(contents(copy), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(copy.capacity(), 8);
    copy[0] = 9;
    EXPECT_EQ(original[0], 0);
}

TEST_F(ArrayTest, AssignmentReplacesTheElements) {
    SPW_CArray<int> array = countedTo(3);
    SPW_CArray<int> other;
    other.append(7);
    array = other;
    EXPECT_EQ(contents(array), (std::vector<int>{7}));
    array = countedTo(9);
    EXPECT_EQ(array.numberOfElements(), 9);
    EXPECT_EQ(array.capacity(), 16);
}

TEST_F(ArrayTest, AssigningAnEmptyArrayKeepsTheCapacity) {
    SPW_CArray<int> array = countedTo(17);
    array = SPW_CArray<int>();
    EXPECT_EQ(array.numberOfElements(), 0);
    EXPECT_EQ(array.capacity(), 32);
}

TEST_F(ArrayTest, AssigningItselfChangesNothing) {
    SPW_CArray<int> array = countedTo(3);
    const SPW_CArray<int>& same = array;
    array = same;
    EXPECT_EQ(contents(array), (std::vector<int>{0, 1, 2}));
}

TEST_F(ArrayTest, EmptyForgetsTheElementsAndKeepsTheStorage) {
    SPW_CArray<int> array = countedTo(9);
    array.clear();
    EXPECT_EQ(array.numberOfElements(), 0);
    EXPECT_EQ(array.capacity(), 16);
    array.append(5);
    EXPECT_EQ(contents(array), (std::vector<int>{5}));
}

// Counts how many of it live.
struct Living {
    Living() { ++s_count; }
    Living(const Living&) { ++s_count; }
    Living& operator=(const Living&) = default;
    ~Living() { --s_count; }
    static int s_count;
};
int Living::s_count = 0;

TEST_F(ArrayTest, AllSlotsHoldLivingElementsUntilTheArrayEnds) {
    {
        SPW_CArray<Living> array;
        const int slots = Living::s_count;
        EXPECT_GE(slots, 8);
        array.append(Living());
        array.removeElementAt(0);
        EXPECT_EQ(Living::s_count, slots);
        for (int i = 0; i < 9; ++i) {
            array.append(Living());
        }
        EXPECT_EQ(Living::s_count, slots + 8);
    }
    EXPECT_EQ(Living::s_count, 0);
}

// There is never memory for an array of it.
struct Unaffordable {
    static void* operator new[](std::size_t, const std::nothrow_t&) noexcept { return nullptr; }
    static void operator delete[](void* memory) { EXPECT_EQ(memory, nullptr); }
};

TEST_F(ArrayTest, AnArrayWithoutMemoryIsEmptyAndCanEnd) {
    const SPW_CArray<Unaffordable> array;
    EXPECT_EQ(array.numberOfElements(), 0);
    expectNoReport();
}

// --- Insertion and removal ---

TEST_F(ArrayTest, InsertingAtTheEndAppends) {
    SPW_CArray<int> array = countedTo(2);
    array.insertElementAt(array.numberOfElements(), 9);
    EXPECT_EQ(contents(array), (std::vector<int>{0, 1, 9}));
}

TEST_F(ArrayTest, InsertingAtTheFrontShiftsAllUp) {
    SPW_CArray<int> array = countedTo(3);
    array.insertElementAt(0, 9);
    EXPECT_EQ(contents(array), (std::vector<int>{9, 0, 1, 2}));
}

TEST_F(ArrayTest, InsertingInTheMiddleShiftsTheRestUp) {
    SPW_CArray<int> array = countedTo(8);
    array.insertElementAt(3, 9);
    EXPECT_EQ(contents(array), (std::vector<int>{0, 1, 2, 9, 3, 4, 5, 6, 7}));
    expectNoReport();
}

TEST_F(ArrayTest, TheElementToInsertMayBeOneOfTheArray) {
    SPW_CArray<SPW_CString> array;
    for (int i = 0; i < 8; ++i) {
        array.append(SPW_CString(i));
    }
    array.insertElementAt(0, array[7]);
    EXPECT_EQ(array[0], u"7");
    EXPECT_EQ(array[8], u"7");
    array.insertElementAt(0, array[2]);
    EXPECT_EQ(array[0], u"1");
    EXPECT_EQ(array[3], u"1");
}

TEST_F(ArrayTest, RemovingTheLastOnlyDecreasesTheCount) {
    SPW_CArray<SPW_CString> array;
    array.append(u"a");
    array.append(u"b");
    const SPW_CString& last = array[1];
    array.removeElementAt(1);
    EXPECT_EQ(array.numberOfElements(), 1);
    EXPECT_EQ(array.capacity(), 8);
    EXPECT_EQ(last, u"b");
}

TEST_F(ArrayTest, RemovingShiftsTheRestDown) {
    SPW_CArray<int> array = countedTo(4);
    array.removeElementAt(1);
    EXPECT_EQ(contents(array), (std::vector<int>{0, 2, 3}));
    array.removeElementAt(0);
    EXPECT_EQ(contents(array), (std::vector<int>{2, 3}));
    expectNoReport();
}

TEST_F(ArrayTest, AConstantArrayCanBeRead) {
    const SPW_CArray<int> array = countedTo(3);
    EXPECT_EQ(array[2], 2);
    (void)array[3];  // for its report
    expectElementReport();
}

// --- Bad indexes, with a reporter that does not end the program ---

TEST_F(ArrayTest, AnIndexOutOfRangeIsAFatalAssertion) {
    SPW_CArray<int> array = countedTo(3);
    (void)array[-1];  // for its report
    expectElementReport();
    (void)array[3];  // for its report
    expectElementReport();
}

TEST_F(ArrayTest, TheSlotBehindTheLastElementIsStillAddressed) {
    SPW_CArray<SPW_CString> array;
    array.append(u"a");
    array.append(u"stale");
    array.removeElementAt(1);
    EXPECT_EQ(array[1], u"stale");
    expectElementReport();
}

TEST_F(ArrayTest, EverySlotThatIsAddressedCanBeWritten) {
    SPW_CArray<SPW_CString> array;
    for (int i = 0; i < 8; ++i) {
        array.append(SPW_CString(i));
    }
    for (const int index : {-1, 8, 9, INT_MAX, INT_MIN}) {
        array[index] = u"spare";
        expectElementReport();
        EXPECT_EQ(array[index], u"spare");
        expectElementReport();
    }
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(array[i], SPW_CString(i));
    }
}

TEST_F(ArrayTest, RemovingBehindTheLastElementOnlyDecreasesTheCount) {
    SPW_CArray<int> array = countedTo(4);
    array.removeElementAt(array.numberOfElements());
    expectRemoveReport();
    EXPECT_EQ(contents(array), (std::vector<int>{0, 1, 2}));
    array.removeElementAt(INT_MAX);
    expectRemoveReport();
    EXPECT_EQ(contents(array), (std::vector<int>{0, 1}));
}

TEST_F(ArrayTest, RemovingBeforeTheFirstElementShiftsAllDown) {
    SPW_CArray<int> array = countedTo(4);
    array.removeElementAt(-1);
    expectRemoveReport();
    EXPECT_EQ(contents(array), (std::vector<int>{1, 2, 3}));
    array.removeElementAt(INT_MIN);
    expectRemoveReport();
    EXPECT_EQ(contents(array), (std::vector<int>{2, 3}));
}

TEST_F(ArrayTest, RemovingFromAnEmptyArrayKeepsTheCountAtZero) {
    SPW_CArray<int> array;
    array.removeElementAt(0);
    expectRemoveReport();
    EXPECT_EQ(array.numberOfElements(), 0);
}

TEST_F(ArrayTest, InsertingAtABadIndexStillIncreasesTheCount) {
    SPW_CArray<int> array = countedTo(2);
    array.insertElementAt(-1, 9);
    expectInsertReport();
    EXPECT_EQ(array.numberOfElements(), 3);
    EXPECT_EQ(array[1], 0);
    EXPECT_EQ(array[2], 1);
    array.insertElementAt(5, 9);
    expectInsertReport();
    EXPECT_EQ(array.numberOfElements(), 4);
    array.insertElementAt(INT_MIN, 9);
    expectInsertReport();
    array.insertElementAt(INT_MAX, 9);
    expectInsertReport();
    EXPECT_EQ(array.numberOfElements(), 6);
}

TEST_F(ArrayTest, InsertingAtABadIndexStillGrows) {
    SPW_CArray<int> array = countedTo(8);
    array.insertElementAt(-1, 9);
    expectInsertReport();
    EXPECT_EQ(array.numberOfElements(), 9);
    EXPECT_EQ(array.capacity(), 16);
    EXPECT_EQ(array[8], 7);
}

// --- With a reporter that does ---

TEST_F(ArrayTest, ABadIndexEndsTheProgramWithExitCodeOne) {
    SPW_CArray<int> array;
    m_reporter.reporter().setNoExit(false);
    EXPECT_EXIT((void)array[0], testing::ExitedWithCode(1), "");
}

// --- Without memory ---

bool isMemoryThere = true;

struct Scarce {
    static void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
        return isMemoryThere ? ::operator new[](size) : nullptr;
    }
    static void operator delete[](void* memory) { ::operator delete[](memory); }
    int value = 0;
};

TEST_F(ArrayTest, AnArrayWithoutMemoryIsEmptyAndCanBeCopied) {
    isMemoryThere = false;
    SPW_CArray<Scarce> array;
    SPW_CArray<Scarce> copy(array);
    copy = array;
    isMemoryThere = true;
    EXPECT_EQ(copy.numberOfElements(), 0);
}

TEST_F(ArrayTest, TheFirstElementWithoutMemoryEndsTheProgramAsExhaustedMemoryDoes) {
    EXPECT_EXIT(
        {
            isMemoryThere = false;
            SPW_CArray<Scarce> array;
            array.append(Scarce());
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "");
}

TEST_F(ArrayTest, AGrowthWithoutMemoryEndsTheProgramAsExhaustedMemoryDoes) {
    EXPECT_EXIT(
        {
            SPW_CArray<Scarce> array;
            isMemoryThere = false;
            for (int i = 0; i < 9; ++i) {
                array.append(Scarce());
            }
        },
        testing::ExitedWithCode(SPW_CMemory::kExhaustedCode), "");
}

}  // namespace
