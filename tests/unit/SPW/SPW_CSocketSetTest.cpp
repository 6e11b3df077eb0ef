#include <gtest/gtest.h>

#include "SPW_CSocket.h"

namespace {

TEST(SocketSetTest, ANewSetIsEmpty) {
    const SPW_CSocketSet set;
    EXPECT_EQ(set.size(), 0);
    EXPECT_FALSE(set.isReady(SPW_Socket{0}));
    EXPECT_FALSE(set.isReady(kInvalidSocket));
}

TEST(SocketSetTest, SocketsKeepTheOrderOfAdding) {
    SPW_CSocketSet set;
    EXPECT_TRUE(set.add(SPW_Socket{30}));
    EXPECT_TRUE(set.add(SPW_Socket{10}));
    EXPECT_TRUE(set.add(SPW_Socket{20}));
    ASSERT_EQ(set.size(), 3);
    EXPECT_EQ(set.at(0), SPW_Socket{30});
    EXPECT_EQ(set.at(1), SPW_Socket{10});
    EXPECT_EQ(set.at(2), SPW_Socket{20});
}

TEST(SocketSetTest, ASocketThatIsPresentIsIgnored) {
    SPW_CSocketSet set;
    EXPECT_TRUE(set.add(SPW_Socket{1}));
    set.setReady(0, true);
    EXPECT_FALSE(set.add(SPW_Socket{1}));
    EXPECT_EQ(set.size(), 1);
    EXPECT_TRUE(set.isReady(SPW_Socket{1}));
}

TEST(SocketSetTest, TheSixtyFifthSocketFindsNoRoom) {
    SPW_CSocketSet set;
    for (SPW_Socket socket = 1; socket <= 64; ++socket) {
        EXPECT_TRUE(set.add(socket));
    }
    EXPECT_FALSE(set.add(SPW_Socket{65}));
    EXPECT_EQ(set.size(), 64);
    EXPECT_EQ(set.at(63), SPW_Socket{64});
    EXPECT_FALSE(set.isReady(SPW_Socket{65}));
}

TEST(SocketSetTest, ReadinessBelongsToOneSocket) {
    SPW_CSocketSet set;
    set.add(SPW_Socket{5});
    set.add(SPW_Socket{6});
    set.setReady(1, true);
    EXPECT_FALSE(set.isReady(SPW_Socket{5}));
    EXPECT_TRUE(set.isReady(SPW_Socket{6}));
    EXPECT_FALSE(set.isReady(SPW_Socket{7}));
    set.setReady(1, false);
    EXPECT_FALSE(set.isReady(SPW_Socket{6}));
}

TEST(SocketSetTest, ASocketIsTakenOutAndTheOthersKeepTheirOrderAndReadiness) {
    SPW_CSocketSet set;
    for (SPW_Socket socket = 1; socket <= 64; ++socket) {
        set.add(socket);
    }
    set.markReady(SPW_Socket{1});
    set.markReady(SPW_Socket{40});
    EXPECT_TRUE(set.remove(SPW_Socket{10}));
    EXPECT_FALSE(set.remove(SPW_Socket{10}));
    ASSERT_EQ(set.size(), 63);
    EXPECT_FALSE(set.contains(SPW_Socket{10}));
    EXPECT_EQ(set.at(8), SPW_Socket{9});
    EXPECT_EQ(set.at(9), SPW_Socket{11});
    EXPECT_EQ(set.at(62), SPW_Socket{64});
    EXPECT_TRUE(set.isReadyAt(0));
    EXPECT_TRUE(set.isReady(SPW_Socket{40}));
    EXPECT_FALSE(set.isReady(SPW_Socket{41}));
    EXPECT_TRUE(set.add(SPW_Socket{10}));
    EXPECT_EQ(set.at(63), SPW_Socket{10});
    EXPECT_FALSE(set.isReadyAt(63));
}

TEST(SocketSetTest, ASetIsClearedOfAllReadiness) {
    SPW_CSocketSet set;
    set.add(SPW_Socket{5});
    set.add(SPW_Socket{6});
    set.markReady(SPW_Socket{5});
    set.markReady(SPW_Socket{6});
    set.markReady(SPW_Socket{7});
    EXPECT_FALSE(set.isReady(SPW_Socket{7}));
    set.clearReady();
    EXPECT_FALSE(set.isReadyAt(0));
    EXPECT_FALSE(set.isReadyAt(1));
}

}  // namespace
