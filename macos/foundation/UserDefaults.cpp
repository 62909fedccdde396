// SPDX-License-Identifier: MIT
#include "macos/foundation/UserDefaults.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <utility>

#include "macos/foundation/Log.h"
#include "macos/foundation/PreferenceDomain.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// The values that end every search.
class RegisteredDefaults {
 public:
  void add(const Dictionary& defaults) {
    const std::lock_guard lock(mutex_);
    for (const auto& entry : defaults) values_.set(entry.key(), entry.value());
  }

  std::optional<Value> value(std::string_view key) {
    const std::lock_guard lock(mutex_);
    const Value* found = values_.find(key);
    return found == nullptr ? std::nullopt : std::optional(*found);
  }

 private:
  std::mutex mutex_;
  Dictionary values_;
};

// Cut towards 0; beyond the range the nearest.
std::int64_t integerFromReal(double real) {
  if (std::isnan(real)) return 0;
  constexpr double kLimit = 9223372036854775808.0;
  if (real >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (real < -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(real);
}

}  // namespace

class NSUserDefaults::Implementation : public PreferenceDomainObserver {
 public:
  explicit Implementation(std::string_view name)
      : suiteName(name),
        own(PreferenceDomains::current().domain(name)),
        global(PreferenceDomains::current().globalDomain()) {}

  static std::shared_ptr<NSUserDefaults> make(std::string_view name) {
    const auto implementation = std::make_shared<Implementation>(name);
    auto object = std::make_shared<NSUserDefaults>(implementation);
    implementation->owner_ = object;
    implementation->observe(implementation);
    return object;
  }

  void observe(const std::shared_ptr<PreferenceDomainObserver>& observer) const {
    own->addObserver(observer);
    global->addObserver(observer);
  }

  std::optional<Value> search(std::string_view key) const {
    if (auto value = own->copyValue(key)) return value;
    if (auto value = global->copyValue(key)) return value;
    return hostLocal<RegisteredDefaults>().value(key);
  }

  void set(std::string_view key, std::optional<Value> value) const {
    if (own->set(key, std::move(value))) PreferenceDomains::current().writeWhenIdle(*own);
  }

  void domainWillChange(std::string_view key) override {
    if (const auto object = owner_.lock()) object->willChangeValueForKey(key);
  }
  void domainDidChange(std::string_view key) override {
    if (const auto object = owner_.lock()) object->didChangeValueForKey(key);
  }

  const std::string suiteName;
  const std::shared_ptr<PreferenceDomain> own;
  const std::shared_ptr<PreferenceDomain> global;

 private:
  std::weak_ptr<NSUserDefaults> owner_;
};

namespace {

struct StandardUserDefaults {
  const std::shared_ptr<NSUserDefaults> object = NSUserDefaults::Implementation::make(mainDomainName());
};

}  // namespace

NSUserDefaults::NSUserDefaults(std::shared_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

NSUserDefaults::~NSUserDefaults() = default;

std::shared_ptr<NSUserDefaults> NSUserDefaults::standardUserDefaults() {
  return hostLocal<StandardUserDefaults>().object;
}

std::shared_ptr<NSUserDefaults> NSUserDefaults::initWithSuiteName(std::string_view suiteName) {
  if (isGlobalDomainName(suiteName) || preferencesFilePath(suiteName).empty()) {
    NSLog("Not a suite name for user defaults: " + std::string(suiteName));
    return nullptr;
  }
  if (suiteName == mainDomainName()) {
    NSLog("The main bundle's own identifier is given as a suite name: " + std::string(suiteName));
  }
  return Implementation::make(suiteName);
}

const std::string& NSUserDefaults::suiteName() const { return implementation_->suiteName; }

std::optional<Value> NSUserDefaults::objectForKey(std::string_view key) const {
  return implementation_->search(key);
}

bool NSUserDefaults::boolForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value) return false;
  if (const auto boolean = value->ifBoolean()) return *boolean;
  if (const auto integer = value->ifInteger()) return *integer != Integer(0);
  if (const auto real = value->ifReal()) return *real != 0;
  if (const auto text = value->ifString()) return boolValue(*text);
  return false;
}

std::int64_t NSUserDefaults::integerForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value) return 0;
  if (const auto boolean = value->ifBoolean()) return *boolean ? 1 : 0;
  if (const auto integer = value->ifInteger()) return integer->low64();
  if (const auto real = value->ifReal()) return integerFromReal(*real);
  if (const auto text = value->ifString()) return integerValue(*text);
  return 0;
}

std::optional<std::string> NSUserDefaults::stringForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value) return std::nullopt;
  switch (value->kind()) {
    case Value::Kind::String:
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
    case Value::Kind::Real:
      return description(*value);
    default:
      return std::nullopt;
  }
}

std::optional<Array> NSUserDefaults::arrayForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  const Array* array = value ? value->ifArray() : nullptr;
  return array == nullptr ? std::nullopt : std::optional(*array);
}

std::optional<Dictionary> NSUserDefaults::dictionaryForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  const Dictionary* dictionary = value ? value->ifDictionary() : nullptr;
  return dictionary == nullptr ? std::nullopt : std::optional(*dictionary);
}

std::optional<Value> NSUserDefaults::persistentObjectForKey(std::string_view key) const {
  return implementation_->own->copyValue(key);
}

void NSUserDefaults::setObject(Value value, std::string_view forKey) {
  if (value.isNull()) {
    removeObjectForKey(forKey);
  } else {
    implementation_->set(forKey, std::move(value));
  }
}

void NSUserDefaults::setBool(bool value, std::string_view forKey) { setObject(Value(value), forKey); }
void NSUserDefaults::setInteger(std::int64_t value, std::string_view forKey) {
  setObject(Value(value), forKey);
}
void NSUserDefaults::removeObjectForKey(std::string_view key) { implementation_->set(key, std::nullopt); }

void NSUserDefaults::registerDefaults(const Dictionary& defaults) {
  hostLocal<RegisteredDefaults>().add(defaults);
}

bool NSUserDefaults::synchronize() {
  implementation_->global->forgetReading();
  return implementation_->own->synchronize();
}

Value NSUserDefaults::valueForKey(std::string_view key) const { return objectForKey(key).value_or(Value()); }

}  // namespace macos
