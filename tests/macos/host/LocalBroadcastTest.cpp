// SPDX-License-Identifier: MIT
#include "macos/host/LocalBroadcast.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

namespace macos {
namespace {

using vennick::tests::runAsOrdinaryUser;
using vennick::tests::runInChild;

class LocalBroadcasts : public testing::Test {
 protected:
  static std::unique_ptr<LocalBroadcast> join(const std::string& group) {
    auto joined = LocalBroadcast::join(group);
    EXPECT_TRUE(joined.ok());
    return joined.ok() ? std::move(*joined) : nullptr;
  }
  static bool isReadable(const LocalBroadcast& member) {
    pollfd asked{member.descriptor(), POLLIN, 0};
    return poll(&asked, 1, 0) == 1;
  }
  const std::string group_ = "test-" + std::to_string(getpid());
};

TEST_F(LocalBroadcasts, EveryMemberReceivesWhatIsSentTheSenderIncluded) {
  const auto a = join(group_);
  const auto b = join(group_);
  ASSERT_TRUE(LocalBroadcast::send(group_, std::string("a\0b", 3)).ok());
  EXPECT_TRUE(isReadable(*a));
  EXPECT_EQ(a->receive(), std::vector{std::string("a\0b", 3)});
  EXPECT_EQ(b->receive(), std::vector{std::string("a\0b", 3)});
  EXPECT_FALSE(isReadable(*a));
  EXPECT_TRUE(a->receive().empty());
}

TEST_F(LocalBroadcasts, ReachesOtherProcesses) {
  const auto member = join(group_);
  const auto result = runInChild([&] { EXPECT_TRUE(LocalBroadcast::send(group_, "from a child").ok()); });
  ASSERT_TRUE(result.succeeded());
  EXPECT_EQ(member->receive(), std::vector<std::string>{"from a child"});
}

TEST_F(LocalBroadcasts, GroupsAreKeptApartAlsoWhenOneNameBeginsWithTheOther) {
  const auto member = join(group_);
  const auto longer = join(group_ + "0");
  ASSERT_TRUE(LocalBroadcast::send(group_ + "0", "x").ok());
  EXPECT_TRUE(member->receive().empty());
  EXPECT_EQ(longer->receive().size(), 1U);
}

TEST_F(LocalBroadcasts, WhatAnotherUserSendsIsNotReceived) {
  if (geteuid() != 0) GTEST_SKIP() << "needs the superuser, who can become another user";
  // The superuser's messages reach everybody, another user's do not reach the superuser.
  const auto member = join(group_);
  const auto result = runAsOrdinaryUser([&] {
    const auto own = join(group_);
    EXPECT_TRUE(LocalBroadcast::send(group_, "x").ok());
    EXPECT_EQ(own->receive().size(), 1U);
  });
  ASSERT_TRUE(result.succeeded());
  EXPECT_TRUE(member->receive().empty());
}

TEST_F(LocalBroadcasts, AMemberThatDiedIsForgotten) {
  const auto result = runInChild([&] {
    const auto dying = join(group_);
    _exit(0);
  });
  ASSERT_TRUE(result.succeeded());
  const auto member = join(group_);
  EXPECT_TRUE(LocalBroadcast::send(group_, "x").ok());
  EXPECT_EQ(member->receive().size(), 1U);
}

TEST_F(LocalBroadcasts, AMemberThatDoesNotReceiveHoldsNobodyUp) {
  const auto lazy = join(group_);
  for (int i = 0; i < 2000; ++i) ASSERT_TRUE(LocalBroadcast::send(group_, std::string(1000, 'x')).ok());
  const auto member = join(group_);
  ASSERT_TRUE(LocalBroadcast::send(group_, "last").ok());
  EXPECT_EQ(member->receive(), std::vector<std::string>{"last"});
  EXPECT_FALSE(lazy->receive().empty());
}

TEST_F(LocalBroadcasts, RefusesAMessageThatIsTooLong) {
  const auto member = join(group_);
  const std::string longest(LocalBroadcast::kLongestMessage, 'x');
  EXPECT_EQ(LocalBroadcast::send(group_, longest + "x").code(), ErrorCode::InvalidArgument);
  ASSERT_TRUE(LocalBroadcast::send(group_, longest).ok());
  EXPECT_EQ(member->receive(), std::vector{longest});
}

TEST_F(LocalBroadcasts, SendingToNobodyIsNoError) { EXPECT_TRUE(LocalBroadcast::send(group_, "x").ok()); }

}  // namespace
}  // namespace macos
