// SPDX-License-Identifier: MIT
#include "macos/frameworks/ReactiveObjC.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;
using namespace std::chrono_literals;
using List = std::shared_ptr<std::vector<int>>;

class Owner : public NSObservable {
 public:
  void setList(List list) {
    willChangeValueForKey("list");
    list_ = std::move(list);
    didChangeValueForKey("list");
  }
  RACSignal<List> listSignal() {
    return RACObserve<List>(*this, "list", [this] { return list_; });
  }

 private:
  List list_;
};

List makeList(int value) { return std::make_shared<std::vector<int>>(1, value); }

TEST(PropertySignal, DeliversTheCurrentValueAtOnceAndThenEachSetValue) {
  Owner owner;
  const List first = makeList(1);
  const List second = makeList(2);
  owner.setList(first);
  std::vector<List> received;
  const auto subscription =
      owner.listSignal().subscribeNext([&](const List& list) { received.push_back(list); });
  ASSERT_EQ(received.size(), 1U);
  owner.setList(nullptr);
  owner.setList(second);
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[0], first);
  EXPECT_EQ(received[1], nullptr);
  EXPECT_EQ(received[2], second);
}

TEST(PropertySignal, DeliversTheSameListAndNoCopy) {
  Owner owner;
  owner.setList(makeList(1));
  List received;
  const auto subscription = owner.listSignal().subscribeNext([&](const List& list) { received = list; });
  received->push_back(2);
  List again;
  const auto other = owner.listSignal().subscribeNext([&](const List& list) { again = list; });
  EXPECT_EQ(again->size(), 2U);
}

TEST(PropertySignal, ASubscriptionEndsWithItsDisposable) {
  Owner owner;
  int received = 0;
  {
    const auto subscription = owner.listSignal().subscribeNext([&](const List&) { ++received; });
  }
  owner.setList(makeList(1));
  EXPECT_EQ(received, 1);
}

TEST(PropertySignal, ADetachedSubscriptionLivesAsLongAsItsSource) {
  auto owner = std::make_unique<Owner>();
  int received = 0;
  const auto held = std::make_shared<int>(0);
  owner->listSignal().subscribeNext([&received, held](const List&) { ++received; }).detach();
  owner->setList(makeList(1));
  EXPECT_EQ(received, 2);
  owner.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(PropertySignal, DeliversNothingAfterTheEndOfItsTarget) {
  auto owner = std::make_unique<Owner>();
  const auto signal = owner->listSignal();
  owner.reset();
  int received = 0;
  const auto subscription = signal.subscribeNext([&](const List&) { ++received; });
  EXPECT_EQ(received, 0);
}

TEST(Subject, DeliversWhatItIsSentToThoseWhoAreThere) {
  const RACSubject<int> subject;
  std::vector<int> a;
  std::vector<int> b;
  const auto first = subject.signal().subscribeNext([&](int value) { a.push_back(value); });
  subject.sendNext(1);
  {
    const auto second = subject.signal().subscribeNext([&](int value) { b.push_back(value); });
    subject.sendNext(2);
  }
  subject.sendNext(3);
  EXPECT_EQ(a, (std::vector{1, 2, 3}));
  EXPECT_EQ(b, (std::vector{2}));
}

TEST(Subject, ASubscriberMayEndTheNextOne) {
  const RACSubject<int> subject;
  int received = 0;
  RACDisposable second;
  const auto first = subject.signal().subscribeNext([&](int) { second.end(); });
  second = subject.signal().subscribeNext([&](int) { ++received; });
  subject.sendNext(1);
  EXPECT_EQ(received, 0);
}

class Interval : public testing::Test {
 protected:
  TestHost host_;
  std::vector<double> ticks_;
  const UnixNanoseconds start_ = host_.clock().now();
  RACDisposable subscription_ =
      RACSignal<NSDate>::interval(300, RACScheduler::mainThreadScheduler(), 10)
          .subscribeNext([this](NSDate date) {
            ticks_.push_back(date.secondsSinceReferenceDate + kReferenceDateSince1970 -
                             static_cast<double>(start_) / 1e9);
          });
  static void turnLoop(double seconds) {
    NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(seconds));
  }
};

TEST_F(Interval, TicksWithTheTimeAfterEachPeriod) {
  turnLoop(900);
  ASSERT_EQ(ticks_.size(), 3U);
  EXPECT_NEAR(ticks_[0], 300, 1e-5);
  EXPECT_NEAR(ticks_[1], 600, 1e-5);
  EXPECT_NEAR(ticks_[2], 900, 1e-5);
}

TEST_F(Interval, TicksAfterTheClockWasMovedOnWithoutWaiting) {
  host_.clock().advance(300s);
  turnLoop(0);
  EXPECT_EQ(ticks_.size(), 1U);
}

TEST_F(Interval, TicksMissedInAStallBecomeOneLateTickAndTheNextComesAtTheNextMultiple) {
  host_.clock().advance(1000s);
  turnLoop(300);
  ASSERT_EQ(ticks_.size(), 2U);
  EXPECT_NEAR(ticks_[0], 1000, 1e-5);
  EXPECT_NEAR(ticks_[1], 1200, 1e-5);
}

TEST_F(Interval, EndsWithItsDisposable) {
  subscription_.end();
  turnLoop(900);
  EXPECT_TRUE(ticks_.empty());
}

}  // namespace
}  // namespace macos
