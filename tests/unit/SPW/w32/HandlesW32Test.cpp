// No operation of the Windows halves leaves a handle of the system's behind, whether it succeeds or fails.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "OwnRegistry.h"
#include "Patience.h"
#include "RecordingReporter.h"
#include "SPW_CDir.h"
#include "SPW_CFile.h"
#include "SPW_CIcmp.h"
#include "SPW_CRegistry.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"
#include "SPW_CSystemInfo.h"
#include "SPW_CThread.h"
#include "TemporaryFolder.h"
#include "VTR_CEvent.h"

namespace {

// How many handles this process has. Wine answers 0 to the question for one process, so this looks at the list of all.
DWORD handles() {
    constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);
    std::vector<std::max_align_t> list(1 << 12);
    NTSTATUS status = kTooSmall;
    while (status == kTooSmall) {
        list.resize(2 * list.size());
        status = NtQuerySystemInformation(SystemProcessInformation, list.data(),
                                          static_cast<ULONG>(list.size() * sizeof list[0]), nullptr);
    }
    const char* place = reinterpret_cast<const char*>(list.data());
    for (;;) {
        const auto* const process = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(place);
        if (reinterpret_cast<std::uintptr_t>(process->UniqueProcessId) == GetCurrentProcessId()) {
            return process->HandleCount;
        }
        if (process->NextEntryOffset == 0) {
            ADD_FAILURE() << "the list lacks this process";
            return 0;
        }
        place += process->NextEntryOffset;
    }
}

// The system opens handles of its own at first, and now and then; one that is left behind each time is more.
void expectNothingLeft(const std::function<void()>& operation) {
    constexpr DWORD kRounds = 100;
    for (int i = 0; i < 5; ++i) {
        operation();
    }
    const DWORD before = handles();
    for (DWORD i = 0; i < kRounds; ++i) {
        operation();
    }
    EXPECT_LT(handles(), before + kRounds / 2);
}

class HandlesW32Test : public testing::Test {
protected:
    TemporaryFolder folder;
    RecordingReporter reporter;
};

TEST_F(HandlesW32Test, WhatIsLeftBehindIsSeen) {
    EXPECT_NONFATAL_FAILURE(expectNothingLeft([] { EXPECT_NE(CreateEventW(nullptr, 0, 0, nullptr), nullptr); }),
                            "before");
}

TEST_F(HandlesW32Test, Files) {
    folder.write("a.txt", "abc");
    expectNothingLeft([this] {
        SPW_CFile first;
        EXPECT_EQ(first.openReadWrite(folder.path("a.txt"), true), 0u);
        EXPECT_NE(first.openReadOnly(folder.path("a.txt")), 0u);
        SPW_CFile other;
        EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), true), kSysSharingViolation);
        EXPECT_NE(other.openReadOnly(folder.path("b.txt")), 0u);
        EXPECT_NE(other.openCreateNew(folder.path("missing\\b.txt")), 0u);
        EXPECT_NE(other.openTemp(folder.path("missing")), 0u);
        EXPECT_EQ(other.openTemp(folder.path()), 0u);
        EXPECT_EQ(other.close(), 0u);
        EXPECT_EQ(SPW_CDir::removeFile(other.getName()), 0u);
    });
}

TEST_F(HandlesW32Test, FoldersAndSearches) {
    folder.write("a.txt", "abc");
    folder.makeFolder("full");
    folder.write("full/b.txt", "abc");
    expectNothingLeft([this] {
        SPW_CDirEntry entry;
        EXPECT_EQ(SPW_CDir::getFileInfo(folder.path("a.txt"), entry), 0u);
        EXPECT_EQ(SPW_CDir::setFileAttributes(folder.path("a.txt"), entry), 0u);
        EXPECT_EQ(SPW_CDir::getFileInfo(folder.path("full"), entry), SPW_CDir::kFileNotFound);
        EXPECT_EQ(SPW_CDir::setFileAttributes(folder.path("c.txt"), entry), SPW_CDir::kSetAttributesFailed);
        EXPECT_EQ(SPW_CDir::removeDir(folder.path("full"), false), SPW_CDir::kRemoveDirFailed);
        SPW_CFile open;
        EXPECT_EQ(open.openReadOnly(folder.path("full\\b.txt")), 0u);
        EXPECT_NE(SPW_CDir::removeDir(folder.path("full"), true), 0u);
        EXPECT_EQ(SPW_CDir::wipeFile(folder.path("full\\b.txt")), SPW_CDir::kOpenFailed);
        SPW_CDir search;
        bool found = false;
        EXPECT_EQ(search.findFirst(folder.path("none*"), entry, found), 0u);
        EXPECT_EQ(search.findFirst(folder.path("*"), entry, found), 0u);
        EXPECT_TRUE(found);  // and nobody ends this search
    });
}

TEST_F(HandlesW32Test, RegistryKeys) {
    const OwnRegistry registry;
    expectNothingLeft([] {
        SPW_CRegistry key(u"HKEY_CURRENT_USER", u"Software\\Test");
        SPW_CRegistryData data;
        SPW_CString name;
        EXPECT_NE(key.getValue(u"missing", data), 0u);
        EXPECT_NE(key.deleteValue(u"missing"), 0u);
        EXPECT_NE(key.enumKey(0, name), 0u);
        EXPECT_NE(key.enumValue(0, name, data), 0u);
        EXPECT_NE(key.deleteKey(u"missing"), 0u);
        EXPECT_NE(key.setValue(u"nothing", SPW_CRegistryData()), 0u);
        EXPECT_EQ(key.createKey(u"a\\b\\c"), 0u);
        EXPECT_EQ(key.deleteKey(u"a"), 0u);
        EXPECT_EQ(SPW_CSystemInfo::instance->productType(), u"");
    });
}

TEST_F(HandlesW32Test, EventsAndThreads) {
    class Ended : public SPW_CThread {
    public:
        void step() override { requestStop(); }
        void finish() override { (void)m_ended.set(); }
        VTR_CEvent m_ended;
    };
    expectNothingLeft([] {
        Ended thread;
        ASSERT_EQ(thread.m_ended.create(false, false, nullptr), 0u);
        EXPECT_EQ(thread.m_ended.wait(0), VTR_CEvent::kTimedOut);
        ASSERT_EQ(thread.start(), 0u);
        EXPECT_EQ(thread.m_ended.wait(static_cast<std::uint32_t>(kPatience.count())), 0u);
    });
}

TEST_F(HandlesW32Test, Sockets) {
    SPW_CSocket& s = *SPW_CSocket::instance;
    const SPW_CIpAddress loopback(127, 0, 0, 1);
    expectNothingLeft([&s, loopback] {
        ASSERT_EQ(s.startup(), 0u);
        const SPW_Socket listening = s.openTcp();
        ASSERT_EQ(s.bind(listening, 0), 0);
        ASSERT_EQ(s.listen(listening, 5), 0);
        const auto port = static_cast<std::uint16_t>(s.localPort(listening));
        const SPW_Socket second = s.openTcp();
        EXPECT_EQ(s.bind(second, port), -1);
        EXPECT_EQ(s.close(second), 0);
        const SPW_Socket client = s.openTcp();
        ASSERT_EQ(s.connect(client, loopback, port), 0);
        SPW_CIpAddress peer;
        const SPW_Socket accepted = s.accept(listening, peer);
        EXPECT_EQ(s.close(client), 0);
        EXPECT_EQ(s.close(accepted), 0);
        EXPECT_EQ(s.close(listening), 0);
        EXPECT_EQ(s.accept(listening, peer), kInvalidSocket);
        const SPW_Socket refused = s.openTcp();
        EXPECT_EQ(s.connect(refused, SPW_CIpAddress::none(), port), -1);
        EXPECT_EQ(s.close(refused), 0);
        const SPW_Socket datagrams = s.openUdpShared();
        EXPECT_EQ(s.joinGroup(datagrams, loopback, loopback), -1);
        EXPECT_EQ(s.close(datagrams), 0);
        s.cleanup();
    });
}

TEST_F(HandlesW32Test, EchoServices) {
    SPW_CIcmp& icmp = *SPW_CIcmp::instance;
    expectNothingLeft([&icmp] {
        const SPW_Handle service = icmp.open();
        ASSERT_NE(service, nullptr);
        SPW_EchoReply noRoom;
        icmp.echo(service, SPW_EchoRequest(), noRoom);
        EXPECT_EQ(noRoom.count, 0u);
        icmp.close(service);
    });
}

}  // namespace
