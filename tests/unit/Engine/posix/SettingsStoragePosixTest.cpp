// Settings from a hive file that somebody has damaged, or is changing.

#include "SettingsStorage.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "OtherThreads.h"
#include "RecordingReporter.h"
#include "RegistrySysForwarder.h"
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

constexpr char kByHand[] = "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic]\n\"port\"=\"6000\"\n";

TEST(SettingsStoragePosixTest, AllThatIsMissingIsWrittenInOneEdit) {
    const TemporaryRegistry registry;
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, registry.folder().native().c_str(), IN_MOVED_TO), 0);
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    loadSettings(settings, kNoMulticastPortOverride);
    alignas(inotify_event) char events[4096];
    const ssize_t size = read(watch, events, sizeof events);
    close(watch);
    ASSERT_GT(size, 0);
    EXPECT_EQ(size, static_cast<ssize_t>(sizeof(inotify_event) + reinterpret_cast<inotify_event*>(events)->len))
        << "one file put in place";
    EXPECT_EQ(registry.setting(u"udp selected"), SPW_CString(u"yes"));
}

TEST(SettingsStoragePosixTest, WhatSomebodySetsDuringALoadIsUsedAndKept) {
    struct Editor : RegistrySysForwarder {
        SPW_Result endEdits(SPW_Handle root, bool write) override {
            if (!hasEdited) {
                hasEdited = true;
                registry.folder().write("HKEY_CURRENT_USER.reg", kByHand);
            }
            return RegistrySysForwarder::endEdits(root, write);
        }
        TemporaryRegistry registry;
        bool hasEdited = false;
    } editor;
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    EXPECT_EQ(settings.port, 6000);
    EXPECT_EQ(editor.registry.setting(u"port"), SPW_CString(u"6000"));
    EXPECT_EQ(editor.registry.setting(u"udp selected"), SPW_CString(u"yes")) << "what is missing is still created";
}

TEST(SettingsStoragePosixTest, SettingsThatArriveSlowlyAreWaitedFor) {
    const TemporaryRegistry registry;
    const RecordingReporter quiet;
    registry.folder().writeNow("HKEY_CURRENT_USER.reg", "");
    std::thread copier([&] {
        awaitOthersAsleep();
        registry.folder().write("HKEY_CURRENT_USER.reg", kByHand);
    });
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    copier.join();
    EXPECT_EQ(settings.port, 6000);
    EXPECT_EQ(registry.setting(u"port"), SPW_CString(u"6000"));
}

}  // namespace
