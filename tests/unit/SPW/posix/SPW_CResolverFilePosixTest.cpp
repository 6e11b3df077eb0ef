#include "SPW_CResolverFilePosix.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using namespace std::string_view_literals;
using SPW_CResolverFilePosix::namesOnlyResolved;
using SPW_CResolverFilePosix::namesOnlyThisDevice;
using SPW_CResolverFilePosix::parse;

TEST(ResolverFilePosixTest, ServersAreTheNameserverLinesInTheirOrder) {
    EXPECT_THAT(parse("nameserver 10.0.0.53\nnameserver\t10.0.0.54\nnameserver   10.0.0.55  # third\n"
                      "nameserver 10.0.0.56")
                    .servers,
                ElementsAre("10.0.0.53", "10.0.0.54", "10.0.0.55", "10.0.0.56"));
}

TEST(ResolverFilePosixTest, CommentsAndOtherLinesAreLeft) {
    const auto resolver = parse(
        "# nameserver 10.0.0.1\n;nameserver 10.0.0.2\n\noptions edns0\nsortlist 10.0.0.0\n"
        " nameserver 10.0.0.3\nnameservers 10.0.0.4\nnameserver\nNAMESERVER 10.0.0.5\n");
    EXPECT_THAT(resolver.servers, IsEmpty());
    EXPECT_FALSE(resolver.hasOtherServers);
    EXPECT_EQ(resolver.domain, "");
}

TEST(ResolverFilePosixTest, LinesMayEndAsOnOtherSystems) {
    const auto resolver = parse("domain example.test\r\nnameserver 10.0.0.53\r\n");
    EXPECT_THAT(resolver.servers, ElementsAre("10.0.0.53"));
    EXPECT_EQ(resolver.domain, "example.test");
}

TEST(ResolverFilePosixTest, ServersOfTheOtherFamilyAreOnlyNoticed) {
    for (const char* const server : {"fe80::1%eth0", "2001:db8::1", "::1"}) {
        const auto resolver = parse(std::string("nameserver ") + server);
        EXPECT_THAT(resolver.servers, IsEmpty()) << server;
        EXPECT_TRUE(resolver.hasOtherServers) << server;
    }
}

TEST(ResolverFilePosixTest, WhatIsNoAddressIsNoServer) {
    for (const char* const server : {"10.0.0.256", "host", "10.0.0.1.2", "10.0.0.1#53", "2001:db8:::1", "%eth0"}) {
        const auto resolver = parse(std::string("nameserver ") + server);
        EXPECT_THAT(resolver.servers, IsEmpty()) << server;
        EXPECT_FALSE(resolver.hasOtherServers) << server;
    }
}

TEST(ResolverFilePosixTest, AddressesMayHaveAnyFormOfTheCLibrary) {
    EXPECT_THAT(parse("nameserver 127.1\nnameserver 010.0.0.1\nnameserver 0x0A000035\n").servers,
                ElementsAre("127.0.0.1", "8.0.0.1", "10.0.0.53"));
}

TEST(ResolverFilePosixTest, OfDomainAndSearchTheLastLineCountsAndOfSeveralDomainsTheFirst) {
    EXPECT_EQ(parse("domain a.test\n").domain, "a.test");
    EXPECT_EQ(parse("search b.test c.test\n").domain, "b.test");
    EXPECT_EQ(parse("domain a.test\nsearch b.test c.test\n").domain, "b.test");
    EXPECT_EQ(parse("search b.test c.test\ndomain a.test\n").domain, "a.test");
    EXPECT_EQ(parse("domain a.test.\n").domain, "a.test");
}

TEST(ResolverFilePosixTest, TheRootIsNoDomain) {
    EXPECT_EQ(parse("domain a.test\nsearch .\n").domain, "");
}

TEST(ResolverFilePosixTest, ALineWithoutADomainSaysNothing) {
    EXPECT_EQ(parse("domain\n").domain, "");
    EXPECT_EQ(parse("search a.test\ndomain\nsearch  \n").domain, "a.test");
}

TEST(ResolverFilePosixTest, OnlyServersOfThisDeviceAreAStub) {
    EXPECT_TRUE(namesOnlyThisDevice(parse("nameserver 127.0.0.53\n")));
    EXPECT_TRUE(namesOnlyThisDevice(parse("nameserver 127.0.0.1\nnameserver 127.0.0.54\n")));
    EXPECT_FALSE(namesOnlyThisDevice(parse("nameserver 127.0.0.53\nnameserver 10.0.0.1\n")));
    EXPECT_FALSE(namesOnlyThisDevice(parse("nameserver 127.0.0.53\nnameserver 2001:db8::1\n")));
    EXPECT_FALSE(namesOnlyThisDevice(parse("")));
}

TEST(ResolverFilePosixTest, SystemdsStubHasTwoAddresses) {
    EXPECT_TRUE(namesOnlyResolved(parse("nameserver 127.0.0.53\n")));
    EXPECT_TRUE(namesOnlyResolved(parse("nameserver 127.0.0.53\nnameserver 127.0.0.54\n")));
    EXPECT_FALSE(namesOnlyResolved(parse("nameserver 127.0.0.1\n")));
    EXPECT_FALSE(namesOnlyResolved(parse("nameserver 127.0.0.53\nnameserver 127.0.0.1\n")));
    EXPECT_FALSE(namesOnlyResolved(parse("nameserver 127.0.0.53\nnameserver 10.0.0.1\n")));
    EXPECT_FALSE(namesOnlyResolved(parse("")));
}

TEST(ResolverFilePosixTest, JunkIsReadAsNothing) {
    EXPECT_THAT(parse("\0\xFF\xFEnameserver 10.0.0.1\0\n"sv).servers, IsEmpty());
    EXPECT_THAT(parse("nameserver 10.0.0.1\0\n"sv).servers, IsEmpty());
    EXPECT_THAT(parse(std::string(1 << 20, 'x')).servers, IsEmpty());
    EXPECT_THAT(parse("nameserver" + std::string(1 << 20, ' ') + "10.0.0.1").servers, ElementsAre("10.0.0.1"));
}

TEST(ResolverFilePosixTest, ThousandsOfServersAreAllThere) {
    std::string file;
    for (int i = 0; i < 5000; ++i) {
        file += "nameserver 10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250) + "\n";
    }
    EXPECT_EQ(parse(file).servers.size(), 5000u);
}

}  // namespace
