// SPDX-License-Identifier: MIT
//
// Key-value observing: an observable object announces that a key is about to change and has changed;
// observers are told, on the announcing thread. Objects are shared; an observation ends with its token.
#ifndef MACOS_FOUNDATION_KEYVALUEOBSERVING_H
#define MACOS_FOUNDATION_KEYVALUEOBSERVING_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Value.h"

namespace macos {

enum NSKeyValueObservingOptions : unsigned {
  NSKeyValueObservingOptionNew = 1,
  NSKeyValueObservingOptionOld = 2,
  NSKeyValueObservingOptionInitial = 4,
  NSKeyValueObservingOptionPrior = 8,
};
enum class NSKeyValueChange : std::uint8_t { Setting = 1, Insertion = 2, Removal = 3, Replacement = 4 };

using NSIndexSet = std::vector<std::size_t>;  // ascending, without repeats

struct NSKeyValueChangeDictionary {
  NSKeyValueChange kind = NSKeyValueChange::Setting;
  NSIndexSet indexes;              // of an indexed change
  std::optional<Value> oldValue;   // null for nil; only when asked for
  std::optional<Value> newValue;
  bool isPrior = false;
};

using NSKeyValueObserver =
    std::function<void(std::string_view keyPath, const NSKeyValueChangeDictionary& change)>;

// Ends its observation when it is destroyed. Move-only.
class ObservationToken;

class NSObservable {
 public:
  virtual ~NSObservable();

  [[nodiscard]] ObservationToken addObserver(std::string_view keyPath, unsigned options, NSKeyValueObserver observer);

  void willChangeValueForKey(std::string_view key);
  void didChangeValueForKey(std::string_view key);
  void willChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);
  void didChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);

  // What observers that ask for values are given: the key's current value, and for an indexed change the
  // values at the indexes. Null by default.
  virtual Value valueForKey(std::string_view key) const;
  virtual Value valuesAtIndexes(const NSIndexSet& indexes, std::string_view key) const;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_KEYVALUEOBSERVING_H
