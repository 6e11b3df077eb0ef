// The registry's dump from a hive file that somebody has damaged.

#include <gmock/gmock.h>

#include "RecordedLines.h"
#include "RecordingReporter.h"
#include "RegistryDump.h"
#include "TemporaryRegistry.h"

namespace {

TEST(RegistryDumpPosixTest, OfADamagedHiveTheRegistryTellsOnceAndTheDumpNothing) {
    const TemporaryRegistry registry;
    RecordingReporter reporter;
    registry.load("HKEY_LOCAL_MACHINE", "[HKEY_LOCAL_MACHINE\\Software\\Vantiro Networks]\n\"b=2\n");
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(RecordedLines::of(printRegistry), testing::SizeIs(4)) << "the heads alone";
    }
    EXPECT_THAT(reporter.boxes(), testing::SizeIs(1)) << "or its user would wait for the file to be used";
}

}  // namespace
