// SPDX-License-Identifier: MIT
//
// ReactiveObjC as far as it is called: signals of typed values, subscriptions, the main-thread scheduler.
// A signal is a value; copies are the same signal. Main thread only. Signals here neither fail nor
// complete: they deliver until the subscription or their source ends.
#ifndef MACOS_FRAMEWORKS_REACTIVEOBJC_H
#define MACOS_FRAMEWORKS_REACTIVEOBJC_H

#include <algorithm>
#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "macos/foundation/KeyValueObserving.h"
#include "macos/foundation/Token.h"
#include "macos/foundation/Value.h"

namespace macos {

// Ends its subscription when it is destroyed; detach() leaves the subscription standing as long as its
// source. Move-only.
class [[nodiscard]] RACDisposable : public Token {
 public:
  using Token::Token;
  explicit RACDisposable(Token&& token) : Token(std::move(token)) {}
};

class RACScheduler {
 public:
  static RACScheduler& mainThreadScheduler();

  // Runs the block in the main run loop at the date and at every multiple of the interval after it, as
  // NSRunLoop::addTimer does.
  RACDisposable after(NSDate date, double repeatingEvery, double withLeeway, std::function<void()> schedule);
};

template <typename T>
class RACSignal {
 public:
  using Subscriber = std::function<void(const T&)>;

  // Each subscription calls the block with its subscriber; what the block returns ends with it.
  static RACSignal createSignal(std::function<RACDisposable(Subscriber)> didSubscribe) {
    return RACSignal(
        std::make_shared<const std::function<RACDisposable(Subscriber)>>(std::move(didSubscribe)));
  }

  // Delivers the time of each tick; the first comes one interval after the subscription. Ticks go by
  // wall-clock deadlines: those missed in sleep or a stall become one late tick, and the next one comes at
  // the next multiple of the interval. Seconds.
  static RACSignal interval(double interval, RACScheduler& onScheduler,
                            double withLeeway) requires std::same_as<T, NSDate> {
    return createSignal([interval, &onScheduler, withLeeway](Subscriber next) {
      return onScheduler.after(NSDate::dateWithTimeIntervalSinceNow(interval), interval, withLeeway,
                               [next = std::move(next)] { next(NSDate::date()); });
    });
  }

  RACDisposable subscribeNext(Subscriber next) const { return (*didSubscribe_)(std::move(next)); }

 private:
  explicit RACSignal(std::shared_ptr<const std::function<RACDisposable(Subscriber)>> didSubscribe)
      : didSubscribe_(std::move(didSubscribe)) {}

  std::shared_ptr<const std::function<RACDisposable(Subscriber)>> didSubscribe_;
};

// A property's value: delivered at once at the subscription and then whenever the target announced a
// change of the key. The target is not kept alive; after its end the signal delivers nothing. The value
// block is called only while the target lives and may use it.
template <typename T>
RACSignal<T> RACObserve(NSObservable& target, std::string_view key, std::function<T()> value) {
  return RACSignal<T>::createSignal([object = &target, lifetime = target.lifetime(), key = std::string(key),
                                     value = std::move(value)](typename RACSignal<T>::Subscriber next) {
    if (lifetime.expired()) return RACDisposable();
    return RACDisposable(
        object->addObserver(key, NSKeyValueObservingOptionInitial,
                            [value, next = std::move(next)](
                                std::string_view, const NSKeyValueChangeDictionary&) { next(value()); }));
  });
}

// A signal that delivers what it is sent. A reference: copies are the same subject.
template <typename T>
class RACSubject {
 public:
  RACSignal<T> signal() const {
    return RACSignal<T>::createSignal([subscribers = subscribers_](typename RACSignal<T>::Subscriber next) {
      auto subscriber = std::make_shared<typename RACSignal<T>::Subscriber>(std::move(next));
      subscribers->push_back(subscriber);
      return RACDisposable([weak = std::weak_ptr<Subscribers>(subscribers), subscriber] {
        if (const auto alive = weak.lock()) std::erase(*alive, subscriber);
      });
    });
  }

  // To every present subscriber, in the order of subscription.
  void sendNext(const T& value) const {
    const Subscribers present = *subscribers_;
    for (const auto& subscriber : present) {
      const bool stillThere =
          std::find(subscribers_->begin(), subscribers_->end(), subscriber) != subscribers_->end();
      if (stillThere) (*subscriber)(value);
    }
  }

 private:
  using Subscribers = std::vector<std::shared_ptr<typename RACSignal<T>::Subscriber>>;
  std::shared_ptr<Subscribers> subscribers_ = std::make_shared<Subscribers>();
};

}  // namespace macos

#endif  // MACOS_FRAMEWORKS_REACTIVEOBJC_H
