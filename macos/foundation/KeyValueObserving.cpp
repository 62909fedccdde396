// SPDX-License-Identifier: MIT
#include "macos/foundation/KeyValueObserving.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace macos {

struct NSObservable::Observance {
  std::string keyPath;
  unsigned options = 0;
  NSKeyValueObserver observer;
  std::atomic<bool> ended{false};

  bool wants(NSKeyValueObservingOptions option) const { return (options & option) != 0; }
};

// A change between its will-change and its did-change.
struct NSObservable::PendingChange {
  std::thread::id thread;
  std::string key;
  NSKeyValueChange kind = NSKeyValueChange::Setting;
  NSIndexSet indexes;
  std::vector<std::shared_ptr<Observance>> observances;
  Value oldValue;
};

struct NSObservable::State {
  std::mutex mutex;
  std::vector<std::shared_ptr<Observance>> observances;
  std::vector<PendingChange> pending;

  std::vector<std::shared_ptr<Observance>> observancesOf(std::string_view key) {
    std::vector<std::shared_ptr<Observance>> found;
    const std::lock_guard lock(mutex);
    std::copy_if(observances.begin(), observances.end(), std::back_inserter(found),
                 [key](const auto& observance) { return observance->keyPath == key; });
    return found;
  }

  void end(const std::shared_ptr<Observance>& observance) {
    observance->ended = true;
    const std::lock_guard lock(mutex);
    std::erase(observances, observance);
  }

  std::optional<PendingChange> takePending(NSKeyValueChange kind, const NSIndexSet& indexes,
                                           std::string_view key) {
    const std::lock_guard lock(mutex);
    const auto thread = std::this_thread::get_id();
    const auto found = std::find_if(pending.rbegin(), pending.rend(), [&](const PendingChange& change) {
      return change.thread == thread && change.kind == kind && change.key == key && change.indexes == indexes;
    });
    if (found == pending.rend()) return std::nullopt;
    std::optional<PendingChange> change(std::move(*found));
    pending.erase(std::next(found).base());
    return change;
  }
};

namespace {

bool hasOldValue(NSKeyValueChange kind) { return kind != NSKeyValueChange::Insertion; }
bool hasNewValue(NSKeyValueChange kind) { return kind != NSKeyValueChange::Removal; }

template <typename Observances>
bool anyWants(const Observances& observances, NSKeyValueObservingOptions option) {
  return std::any_of(observances.begin(), observances.end(),
                     [option](const auto& o) { return o->wants(option); });
}

}  // namespace

NSObservable::NSObservable() : state_(std::make_shared<State>()) {}
NSObservable::~NSObservable() = default;

Value NSObservable::valueForKey(std::string_view) const { return {}; }
Value NSObservable::valuesAtIndexes(const NSIndexSet&, std::string_view) const { return {}; }
std::weak_ptr<const void> NSObservable::lifetime() const { return state_; }

ObservationToken NSObservable::addObserver(std::string_view keyPath, unsigned options,
                                           NSKeyValueObserver observer) {
  auto observance = std::make_shared<Observance>();
  observance->keyPath = keyPath;
  observance->options = options;
  observance->observer = std::move(observer);
  {
    const std::lock_guard lock(state_->mutex);
    state_->observances.push_back(observance);
  }
  ObservationToken token([state = std::weak_ptr(state_), observance] {
    if (const auto alive = state.lock()) alive->end(observance);
  });
  if (observance->wants(NSKeyValueObservingOptionInitial)) {
    NSKeyValueChangeDictionary change;
    if (observance->wants(NSKeyValueObservingOptionNew)) change.newValue = valueForKey(keyPath);
    observance->observer(observance->keyPath, change);
  }
  return token;
}

void NSObservable::willChangeValueForKey(std::string_view key) {
  willChange(NSKeyValueChange::Setting, {}, key);
}
void NSObservable::didChangeValueForKey(std::string_view key) {
  didChange(NSKeyValueChange::Setting, {}, key);
}

void NSObservable::willChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes,
                                             std::string_view key) {
  willChange(kind, indexes, key);
}

void NSObservable::didChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes,
                                            std::string_view key) {
  didChange(kind, indexes, key);
}

Value NSObservable::currentValue(NSKeyValueChange kind, const NSIndexSet& indexes,
                                 std::string_view key) const {
  return kind == NSKeyValueChange::Setting ? valueForKey(key) : valuesAtIndexes(indexes, key);
}

void NSObservable::willChange(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key) {
  auto observances = state_->observancesOf(key);
  if (observances.empty()) return;

  NSKeyValueChangeDictionary prior;
  prior.kind = kind;
  prior.isPrior = true;
  if (kind != NSKeyValueChange::Setting) prior.indexes = indexes;
  Value oldValue;
  if (hasOldValue(kind) && anyWants(observances, NSKeyValueObservingOptionOld)) {
    oldValue = currentValue(kind, indexes, key);
  }
  const std::string keyPath(key);
  {
    const std::lock_guard lock(state_->mutex);
    state_->pending.push_back({std::this_thread::get_id(), keyPath, kind, indexes, observances, oldValue});
  }
  // From here on an observer may do anything, the release of this object included.
  for (const auto& observance : observances) {
    if (!observance->wants(NSKeyValueObservingOptionPrior) || observance->ended) continue;
    prior.oldValue.reset();
    if (hasOldValue(kind) && observance->wants(NSKeyValueObservingOptionOld)) prior.oldValue = oldValue;
    observance->observer(keyPath, prior);
  }
}

void NSObservable::didChange(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key) {
  const auto pending = state_->takePending(kind, indexes, key);
  if (!pending) return;

  NSKeyValueChangeDictionary change;
  change.kind = kind;
  if (kind != NSKeyValueChange::Setting) change.indexes = indexes;
  Value newValue;
  if (hasNewValue(kind) && anyWants(pending->observances, NSKeyValueObservingOptionNew)) {
    newValue = currentValue(kind, indexes, key);
  }
  for (const auto& observance : pending->observances) {
    if (observance->ended) continue;
    change.oldValue.reset();
    change.newValue.reset();
    if (hasOldValue(kind) && observance->wants(NSKeyValueObservingOptionOld)) {
      change.oldValue = pending->oldValue;
    }
    if (hasNewValue(kind) && observance->wants(NSKeyValueObservingOptionNew)) change.newValue = newValue;
    observance->observer(pending->key, change);
  }
}

}  // namespace macos
