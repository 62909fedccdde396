// SPDX-License-Identifier: MIT
#include "macos/foundation/DistributedNotificationCenter.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::runInChild;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

constexpr std::string_view kChanged = "AppleLanguagePreferencesChangedNotification";

void turnLoop() { NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.01)); }

class DistributedNotices : public testing::Test {
 protected:
  static NSDistributedNotificationCenter& center() {
    return NSDistributedNotificationCenter::defaultCenter();
  }
  auto recorder() {
    return [this](const NSNotification& notice) { received_.emplace_back(notice.name, notice.object); };
  }

  TestHost host_;
  std::vector<std::pair<std::string, std::string>> received_;
};

TEST_F(DistributedNotices, AreDeliveredInTheRunLoopAndNotBefore) {
  const auto token = center().addObserver(kChanged, "", recorder());
  center().postNotificationName(kChanged, "sender");
  EXPECT_TRUE(received_.empty());
  turnLoop();
  ASSERT_EQ(received_.size(), 1U);
  EXPECT_EQ(received_[0], std::pair(std::string(kChanged), std::string("sender")));
}

TEST_F(DistributedNotices, ComeFromOtherProcessesOnTheSameRoot) {
  const auto token = center().addObserver(kChanged, "", recorder());
  const auto result = runInChild([] { center().postNotificationName(kChanged); });
  ASSERT_TRUE(result.succeeded());
  turnLoop();
  EXPECT_EQ(received_.size(), 1U);
}

TEST_F(DistributedNotices, OfAnotherRootAreNotReceived) {
  const auto token = center().addObserver(kChanged, "", recorder());
  {
    const TestHost other;
    center().postNotificationName(kChanged);
  }
  turnLoop();
  EXPECT_TRUE(received_.empty());
}

TEST_F(DistributedNotices, OfAnotherHomeOnTheSameRootAreReceived) {
  const auto token = center().addObserver(kChanged, "", recorder());
  {
    TestHostOptions options;
    options.root = host_.sharedRoot();
    options.home = "/Users/bob";
    const TestHost other(options);
    center().postNotificationName(kChanged);
  }
  turnLoop();
  EXPECT_EQ(received_.size(), 1U);
}

TEST_F(DistributedNotices, AreToldToObserversOfTheirNameAndSender) {
  const auto token = center().addObserver("Mine", "me", recorder());
  center().postNotificationName("Mine", "you");
  center().postNotificationName("Other", "me");
  center().postNotificationName("Mine");
  turnLoop();
  EXPECT_TRUE(received_.empty());
  center().postNotificationName("Mine", "me");
  turnLoop();
  EXPECT_EQ(received_.size(), 1U);
}

TEST_F(DistributedNotices, AnObserverMayEndItselfAndOthersWhileItIsTold) {
  NotificationToken second;
  int told = 0;
  NotificationToken first;
  first = center().addObserver(kChanged, "", [&](const NSNotification&) {
    ++told;
    second.end();
    first.end();
  });
  second = center().addObserver(kChanged, "", recorder());
  center().postNotificationName(kChanged);
  center().postNotificationName(kChanged);
  turnLoop();
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(received_.empty());
  const auto third = center().addObserver(kChanged, "", recorder());
  center().postNotificationName(kChanged);
  turnLoop();
  EXPECT_EQ(received_.size(), 1U);
}

TEST_F(DistributedNotices, ANoticeThatIsTooLongIsDroppedWithALogLine) {
  const auto token = center().addObserver(std::string(20000, 'n'), "", recorder());
  center().postNotificationName(std::string(20000, 'n'));
  turnLoop();
  EXPECT_TRUE(received_.empty());
  EXPECT_TRUE(host_.log().contains("Distributed notice dropped"));
}

TEST_F(DistributedNotices, PostingWithoutAnyObserverIsHarmless) {
  center().postNotificationName(kChanged);
  EXPECT_TRUE(host_.log().lines().empty());
}

TEST_F(DistributedNotices, LeaveNothingInTheRoot) {
  const auto before = host_.root().snapshot("/");
  const auto token = center().addObserver(kChanged, "", recorder());
  center().postNotificationName(kChanged);
  turnLoop();
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

}  // namespace
}  // namespace macos
