#include "VTR_CEvent.h"

#include <gmock/gmock.h>

#include "RecordingReporter.h"

namespace {

TEST(EventPosixTest, NamedEventsDoNotExistHereAndAreCode522) {
    RecordingReporter reporter;
    VTR_CEvent event;
    EXPECT_EQ(event.create(false, false, u"a name for other processes"), 522u);
    EXPECT_THAT(reporter.takeReports(),
                testing::ElementsAre(IsReport("VTR_CEvent", "create", 522, "failed to create event")));
}

}  // namespace
