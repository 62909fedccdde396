// SPDX-License-Identifier: MIT
//
// Key-value observing: an observable object announces that a key is about to change and has changed;
// observers are told, on the announcing thread, before the announcing call returns. Objects are shared;
// an observation ends with its token or with the object.
//
// A key path is compared as a whole with the announced key: an object whose properties are reached
// through a proxy ("values.name") announces the whole path. Announcements may come from any thread;
// those of one thread are paired with one another only.
#ifndef MACOS_FOUNDATION_KEYVALUEOBSERVING_H
#define MACOS_FOUNDATION_KEYVALUEOBSERVING_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "macos/foundation/Token.h"
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
  NSIndexSet indexes;  // of an insertion, removal or replacement
  // Null for nil; only when asked for. Of an indexed change: an array of the values at the indexes, the
  // old ones for a removal or replacement, the new ones for an insertion or replacement.
  std::optional<Value> oldValue;
  std::optional<Value> newValue;
  bool isPrior = false;  // told at will-change
};

using NSKeyValueObserver =
    std::function<void(std::string_view keyPath, const NSKeyValueChangeDictionary& change)>;

// Ends its observation when it is destroyed. Move-only. An observer that another thread is telling just
// then is told to the end.
class [[nodiscard]] ObservationToken : public Token {
 public:
  using Token::Token;
};

class NSObservable {
 public:
  NSObservable();
  virtual ~NSObservable();
  // An observation belongs to one object: a copy would have none or share them.
  NSObservable(const NSObservable&) = delete;
  NSObservable& operator=(const NSObservable&) = delete;

  // With the option Initial the observer is told once before the call returns: kind setting, the new
  // value when it is asked for, never an old one.
  [[nodiscard]] ObservationToken addObserver(std::string_view keyPath, unsigned options,
                                             NSKeyValueObserver observer);

  // Each will-change is answered by a did-change of the same key (kind and indexes) on the same thread;
  // pairs nest, of one key too. Old values are taken at will-change, new ones at did-change. Told are
  // those who observed at will-change and still do at did-change. A did-change without its will-change
  // tells nobody.
  void willChangeValueForKey(std::string_view key);
  void didChangeValueForKey(std::string_view key);
  // Kind setting stands for the replacement of the whole content: no indexes are told, and the values
  // are those of the key.
  void willChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);
  void didChangeValuesAtIndexes(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);

  // What observers that ask for values are given: the key's current value, and for an indexed change an
  // array of the values at the indexes. Null by default. Called only when somebody asks.
  virtual Value valueForKey(std::string_view key) const;
  virtual Value valuesAtIndexes(const NSIndexSet& indexes, std::string_view key) const;

  // Expires with the object.
  std::weak_ptr<const void> lifetime() const;

 private:
  struct Observance;
  struct PendingChange;
  struct State;

  Value currentValue(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key) const;
  void willChange(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);
  void didChange(NSKeyValueChange kind, const NSIndexSet& indexes, std::string_view key);

  const std::shared_ptr<State> state_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_KEYVALUEOBSERVING_H
