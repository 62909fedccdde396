// SPDX-License-Identifier: MIT
//
// NSUserDefaults: its own preference domain, the global domain below it, and registered defaults at the
// end. Two objects over one domain see each other's writes at once. Changes reach the disk on
// synchronize(), at the run loop's next idle, and when the process ends in good order. Any thread;
// observers are told on the thread that changes.
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

// Observed under the key of a default. A change in the object's own or in the global domain is announced,
// whoever in this process makes it; one that changes nothing is not, and neither is a registration.
class NSUserDefaults : public NSObservable {
 public:
  // The domain named by the main bundle's identifier, or by the program when it has none. One object.
  static std::shared_ptr<NSUserDefaults> standardUserDefaults();
  // A new object over another domain. Null for a name that no domain may have and for the global domain.
  // The main bundle's own identifier is logged, and gives the domain of standardUserDefaults().
  static std::shared_ptr<NSUserDefaults> initWithSuiteName(std::string_view suiteName);

  ~NSUserDefaults() override;

  const std::string& suiteName() const;

  // Through the whole search list.
  std::optional<Value> objectForKey(std::string_view key) const;
  // Numbers and booleans by value (not 0 is true), strings by -boolValue ("YES", "true", "1" are true);
  // anything else, and nothing, is false.
  bool boolForKey(std::string_view key) const;
  // Numbers (reals cut towards 0, beyond the range the nearest; integers of 2^63 and more by their low 64
  // bits), booleans as 1 and 0, strings by -integerValue; anything else is 0.
  std::int64_t integerForKey(std::string_view key) const;
  // A string, or the decimal text of a number or boolean.
  std::optional<std::string> stringForKey(std::string_view key) const;
  // Of exactly that kind only.
  std::optional<Array> arrayForKey(std::string_view key) const;
  std::optional<Dictionary> dictionaryForKey(std::string_view key) const;
  // What the object's own domain holds under the key, without the global domain and registered defaults.
  std::optional<Value> persistentObjectForKey(std::string_view key) const;

  // Into the object's own domain. A value equal to the one that the domain itself holds (same kind, same
  // content) writes nothing; one that is equal to a registered default only is written. Null removes the
  // key; a value that no property list can hold is logged and ignored.
  void setObject(Value value, std::string_view forKey);
  void setBool(bool value, std::string_view forKey);
  void setInteger(std::int64_t value, std::string_view forKey);
  void removeObjectForKey(std::string_view key);

  // Adds to the values that end every search of every object in this process; a later registration of a
  // key replaces an earlier one. Never saved.
  void registerDefaults(const Dictionary& defaults);

  // Writes what is pending in the object's own domain; false when that failed.
  bool synchronize();

  Value valueForKey(std::string_view key) const override;

  class Implementation;
  // The factories make objects.
  explicit NSUserDefaults(std::shared_ptr<Implementation> implementation);

 private:
  const std::shared_ptr<Implementation> implementation_;
};

// The defaults as an interface binds to them. Observed under "values.<key>"; a change of the defaults in
// this process is announced, and so is an edit that waits to be saved.
class NSUserDefaultsController : public NSObservable {
 public:
  // Over standardUserDefaults(). One object.
  static std::shared_ptr<NSUserDefaultsController> sharedUserDefaultsController();
  // The initial values are what a key has that the defaults have no value for; they are not registered.
  // REQUIRES: defaults is not null.
  static std::shared_ptr<NSUserDefaultsController> initWithDefaults(std::shared_ptr<NSUserDefaults> defaults,
                                                                    const Dictionary& initialValues);

  ~NSUserDefaultsController() override;

  const std::shared_ptr<NSUserDefaults>& defaults() const;

  // True at first. While it is false, edits wait until save().
  bool appliesImmediately() const;
  void setAppliesImmediately(bool applies);
  bool hasUnappliedChanges() const;
  void save();    // writes the waiting edits into the defaults
  void revert();  // drops them

  // The key path is "values." and the key, whatever the key holds. A path of another form has no value and
  // takes none. A null value removes the key from the defaults.
  std::optional<Value> valueForKeyPath(std::string_view keyPath) const;
  void setValue(Value value, std::string_view forKeyPath);

  Value valueForKey(std::string_view keyPath) const override;

  class Implementation;
  // The factories make objects.
  explicit NSUserDefaultsController(std::shared_ptr<Implementation> implementation);

 private:
  void setEdit(std::string_view key, std::optional<Value> edit);

  const std::shared_ptr<Implementation> implementation_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_USERDEFAULTS_H
