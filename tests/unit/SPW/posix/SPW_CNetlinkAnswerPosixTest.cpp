#include "SPW_CNetlinkAnswerPosix.h"

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstdint>
#include <string>

namespace {

using SPW_CNetlinkAnswerPosix::Answer;
using SPW_CNetlinkAnswerPosix::examine;
using SPW_CNetlinkAnswerPosix::kComplete;
using SPW_CNetlinkAnswerPosix::kMore;
using SPW_CNetlinkAnswerPosix::kRefused;

std::string number(std::int32_t value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string message(std::uint16_t type, const std::string& body, std::uint16_t flags = NLM_F_MULTI) {
    nlmsghdr head{};
    head.nlmsg_len = static_cast<std::uint32_t>(sizeof head + body.size());
    head.nlmsg_type = type;
    head.nlmsg_flags = flags;
    std::string bytes = std::string(reinterpret_cast<const char*>(&head), sizeof head) + body;
    bytes.resize((bytes.size() + 3) & ~std::size_t{3});
    return bytes;
}

TEST(NetlinkAnswerPosixTest, ATableGoesOnUntilItsEnd) {
    const std::string links = message(RTM_NEWLINK, "12345") + message(RTM_NEWLINK, "");
    EXPECT_EQ(examine(links).progress, kMore);
    EXPECT_EQ(examine("").progress, kMore);
    const Answer last = examine(links + message(NLMSG_DONE, number(0)));
    EXPECT_EQ(last.progress, kComplete);
    EXPECT_EQ(last.error, 0);
    EXPECT_FALSE(last.isOutdated);
    EXPECT_EQ(examine(message(NLMSG_DONE, "")).progress, kComplete);
}

TEST(NetlinkAnswerPosixTest, AnEndWithAnErrorIsNoWholeTable) {
    const Answer answer = examine(message(RTM_NEWLINK, "") + message(NLMSG_DONE, number(-ENOMEM)));
    EXPECT_EQ(answer.progress, kRefused);
    EXPECT_EQ(answer.error, ENOMEM);
}

TEST(NetlinkAnswerPosixTest, ARefusalTellsWhy) {
    const Answer answer = examine(message(NLMSG_ERROR, number(-EPERM) + std::string(16, '\0')));
    EXPECT_EQ(answer.progress, kRefused);
    EXPECT_EQ(answer.error, EPERM);
}

TEST(NetlinkAnswerPosixTest, ARefusalThatDoesNotTellWhyIsOneAllTheSame) {
    for (const std::string& body : {std::string(), std::string(3, '\xFF'), number(0), number(7), number(-4096)}) {
        const Answer answer = examine(message(NLMSG_ERROR, body));
        EXPECT_EQ(answer.progress, kRefused);
        EXPECT_EQ(answer.error, EBADMSG);
    }
}

TEST(NetlinkAnswerPosixTest, AnyMessageCanTellThatTheTableHasChanged) {
    const std::string changed = message(RTM_NEWADDR, "", NLM_F_MULTI | NLM_F_DUMP_INTR);
    EXPECT_TRUE(examine(changed + message(RTM_NEWADDR, "")).isOutdated);
    EXPECT_TRUE(examine(message(NLMSG_DONE, number(0), NLM_F_MULTI | NLM_F_DUMP_INTR)).isOutdated);
}

TEST(NetlinkAnswerPosixTest, WhatStandsBehindACutMessageDoesNotCount) {
    const std::string end = message(NLMSG_DONE, number(0));
    for (std::size_t cut = 0; cut < end.size(); ++cut) {
        EXPECT_EQ(examine(end.substr(0, cut)).progress, kMore) << cut;
    }
    for (const std::int32_t length : {0, 15, 1000, -1}) {
        EXPECT_EQ(examine(message(RTM_NEWLINK, "").replace(0, 4, number(length)) + end).progress, kMore) << length;
    }
}

}  // namespace
