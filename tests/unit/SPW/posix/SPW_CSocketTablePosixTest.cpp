#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "SPW_CSocketTable.h"

// The handles behind the platform's sockets. The table does not care what a descriptor is.

namespace {

// Lives as long as the process, as a table has to.
SPW_CSocketTable table;

class SocketTableTest : public testing::Test {
protected:
    static int openDescriptor() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }
    static bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) != -1; }
    static std::uint32_t indexOf(SPW_Socket handle) { return static_cast<std::uint32_t>(handle); }
    SPW_Socket add() { return table.add(openDescriptor(), false); }
    bool isKnown(SPW_Socket handle) {
        SPW_CSocketTable::Slot* slot = table.acquire(handle);
        if (slot != nullptr) {
            table.release(slot);
        }
        return slot != nullptr;
    }
    bool close(SPW_Socket handle) {
        SPW_CSocketTable::Slot* slot = table.acquireToClose(handle);
        if (slot != nullptr) {
            table.release(slot);
        }
        return slot != nullptr;
    }
};

}  // namespace

TEST_F(SocketTableTest, AHandleIsNeitherZeroNorInvalid) {
    EXPECT_FALSE(isKnown(0));
    EXPECT_FALSE(isKnown(kInvalidSocket));
    const SPW_Socket handle = add();
    EXPECT_NE(handle, 0u);
    EXPECT_NE(handle, kInvalidSocket);
    EXPECT_TRUE(isKnown(handle));
    EXPECT_TRUE(close(handle));
}

TEST_F(SocketTableTest, AClosedHandleIsUnknownThoughItsSlotIsUsedAgain) {
    const SPW_Socket first = add();
    EXPECT_TRUE(close(first));
    EXPECT_FALSE(close(first));
    const SPW_Socket second = add();
    EXPECT_EQ(indexOf(second), indexOf(first));
    EXPECT_NE(second, first);
    EXPECT_FALSE(isKnown(first));
    EXPECT_TRUE(close(second));
}

TEST_F(SocketTableTest, TheDescriptorLivesAsLongAsItsLastUser) {
    const SPW_Socket handle = add();
    SPW_CSocketTable::Slot* user = table.acquire(handle);
    ASSERT_NE(user, nullptr);
    const int descriptor = user->descriptor;
    SPW_CSocketTable::Slot* closing = table.acquireToClose(handle);
    ASSERT_NE(closing, nullptr);
    EXPECT_TRUE(SPW_CSocketTable::hasOtherUses(*closing));
    table.release(closing);
    EXPECT_TRUE(SPW_CSocketTable::isClosed(*user));
    EXPECT_TRUE(isOpen(descriptor));
    EXPECT_FALSE(isKnown(handle));
    table.release(user);
    EXPECT_FALSE(isOpen(descriptor));
}

TEST_F(SocketTableTest, ASlotWhoseGenerationsAreUsedUpIsNeverUsedAgain) {
    const SPW_Socket first = add();
    SPW_CSocketTable::Slot* slot = table.acquire(first);
    ASSERT_NE(slot, nullptr);
    table.release(slot);
    // Four thousand million sockets later.
    constexpr SPW_Socket kLastGeneration = SPW_Socket{0xFFFFFFFF} << 32;
    slot->word.store(kLastGeneration);
    const SPW_Socket last = kLastGeneration | indexOf(first);
    EXPECT_TRUE(isKnown(last));
    EXPECT_TRUE(close(last));
    EXPECT_FALSE(isKnown(last));
    EXPECT_FALSE(isKnown(indexOf(first)));
    const SPW_Socket next = add();
    EXPECT_NE(indexOf(next), indexOf(first));
    EXPECT_TRUE(close(next));
}
