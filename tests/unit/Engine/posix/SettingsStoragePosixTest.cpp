// Settings from a hive file that somebody has damaged.

#include "SettingsStorage.h"

#include <gtest/gtest.h>

#include "RecordingReporter.h"
#include "StringPrinting.h"
#include "TemporaryRegistry.h"

namespace {

TEST(SettingsStoragePosixTest, AHiveThatCannotBeReadGivesDefaultsKeepsTheNamedPeersAndIsLeftAlone) {
    const TemporaryRegistry registry;
    registry.setNamedPeer(u"printer", u"10.0.0.7");
    registry.setSetting(u"port", u"6000");
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    const RecordingReporter quiet;
    registry.folder().write("HKEY_CURRENT_USER.reg", "[HKEY_CURRENT_USER\\Soft");
    loadSettings(settings, kNoMulticastPortOverride);
    EXPECT_EQ(settings.port, 5009);
    ASSERT_EQ(settings.namedPeerNames.numberOfElements(), 1);
    EXPECT_EQ(settings.namedPeerNames[0], SPW_CString(u"printer"));
    EXPECT_EQ(settings.namedPeerAddresses[0], SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(registry.folder().read("HKEY_CURRENT_USER.reg"), "[HKEY_CURRENT_USER\\Soft");
}

}  // namespace
