#include "OptionalField.h"

#include <gtest/gtest.h>

#include "AdapterInfo.h"
#include "NetworkParams.h"
#include "ScarceMemory.h"
#include "StringPrinting.h"

namespace {

TEST(OptionalFieldTest, AFieldThatWasNeverSetAnswersItsRecordsCode) {
    SPW_CString text(u"before");
    EXPECT_EQ(AdapterInfo().name.get(text), 601u);
    EXPECT_EQ(NetworkParams().hostName.get(text), 606u);
    EXPECT_EQ(text, SPW_CString(u"before"));
}

TEST(OptionalFieldTest, AFieldHoldsWhatWasSetLast) {
    AdapterInfo adapter;
    std::uint32_t type = 0;
    EXPECT_EQ(adapter.type.set(6), 0u);
    EXPECT_EQ(adapter.type.set(71), 0u);
    EXPECT_EQ(adapter.type.get(type), 0u);
    EXPECT_EQ(type, 71u);
}

TEST(OptionalFieldTest, WithoutMemoryTheFieldStaysAbsent) {
    AdapterInfo adapter;
    SPW_CString text;
    {
        const ScarceMemory none(0);
        EXPECT_EQ(adapter.name.set(u"eth0"), 602u);
    }
    EXPECT_EQ(adapter.name.get(text), 601u);
}

TEST(OptionalFieldTest, SettingAgainNeedsNoFurtherMemory) {
    AdapterInfo adapter;
    SPW_CString text;
    ASSERT_EQ(adapter.name.set(u"eth0"), 0u);
    {
        const ScarceMemory none(0);
        EXPECT_EQ(adapter.name.set(u"eth1"), 0u);
    }
    EXPECT_EQ(adapter.name.get(text), 0u);
    EXPECT_EQ(text, SPW_CString(u"eth1"));
}

TEST(OptionalFieldTest, AFreshRecordHasNoneOfTheOldFields) {
    AdapterInfo adapter;
    ASSERT_EQ(adapter.name.set(u"eth0"), 0u);
    adapter = AdapterInfo();
    SPW_CString text;
    EXPECT_EQ(adapter.name.get(text), 601u);
}

}  // namespace
