#include "VTR_CEvent.h"

#include <gtest/gtest.h>

namespace {

TEST(EventPosixTest, NamedEventsDoNotExistHereAndAreCode522) {
    VTR_CEvent event;
    EXPECT_EQ(event.create(false, false, u"a name for other processes"), 522u);
}

}  // namespace
