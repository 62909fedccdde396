// SPDX-License-Identifier: MIT
//
// NSUserDefaults: a search list of preference domains ended by registered defaults, and
// NSUserDefaultsController over one such object. Writes go to the object's own domain through
// Preferences.h; setting a value equal to the one the domain itself holds writes nothing. Changes reach
// the disk on synchronize(), at the run loop's next idle, and when the process ends in good order.
#ifndef MACOS_FOUNDATION_USERDEFAULTS_H
#define MACOS_FOUNDATION_USERDEFAULTS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/KeyValueObserving.h"
#include "macos/foundation/Value.h"

namespace macos {

class NSUserDefaults : public NSObservable {
 public:
  // The domain named by the main bundle's identifier.
  static std::shared_ptr<NSUserDefaults> standardUserDefaults();
  // Another domain as the primary one.
  static std::shared_ptr<NSUserDefaults> initWithSuiteName(std::string_view suiteName);

  const std::string& suiteName() const;
  // Through the whole search list.
  std::optional<Value> objectForKey(std::string_view key) const;
  // With the platform's conversions (the text "YES" is true).
  bool boolForKey(std::string_view key) const;
  std::int64_t integerForKey(std::string_view key) const;
  std::optional<std::string> stringForKey(std::string_view key) const;
  std::optional<Array> arrayForKey(std::string_view key) const;
  std::optional<Dictionary> dictionaryForKey(std::string_view key) const;

  void setObject(Value value, std::string_view forKey);
  void setBool(bool value, std::string_view forKey);
  void setInteger(std::int64_t value, std::string_view forKey);
  void removeObjectForKey(std::string_view key);
  // Adds to the values that end every search; never saved.
  void registerDefaults(const Dictionary& defaults);
  bool synchronize();
};

class NSUserDefaultsController : public NSObservable {
 public:
  static std::shared_ptr<NSUserDefaultsController> sharedUserDefaultsController();
  static std::shared_ptr<NSUserDefaultsController> initWithDefaults(std::shared_ptr<NSUserDefaults> defaults,
                                                                   const Dictionary& initialValues);

  const std::shared_ptr<NSUserDefaults>& defaults() const;
  bool appliesImmediately() const;
  void setAppliesImmediately(bool applies);
  // Observed under "values.<key>"; setValue writes the defaults when changes apply immediately.
  std::optional<Value> valueForKeyPath(std::string_view keyPath) const;
  void setValue(Value value, std::string_view forKeyPath);
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_USERDEFAULTS_H
