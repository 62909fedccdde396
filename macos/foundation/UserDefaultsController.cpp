// SPDX-License-Identifier: MIT
//
// NSUserDefaultsController (declared in UserDefaults.h).
#include <map>
#include <mutex>
#include <utility>

#include "macos/foundation/PreferenceDomain.h"
#include "macos/foundation/UserDefaults.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kProxyPrefix = "values.";

std::optional<std::string_view> keyInPath(std::string_view keyPath) {
  if (!keyPath.starts_with(kProxyPrefix)) return std::nullopt;
  return keyPath.substr(kProxyPrefix.size());
}

std::string pathOfKey(std::string_view key) { return std::string(kProxyPrefix) + std::string(key); }

}  // namespace

class NSUserDefaultsController::Implementation : public PreferenceDomainObserver {
 public:
  Implementation(std::shared_ptr<NSUserDefaults> theDefaults, Dictionary initialValues)
      : defaults(std::move(theDefaults)), initialValues_(std::move(initialValues)) {}

  static std::shared_ptr<NSUserDefaultsController> make(std::shared_ptr<NSUserDefaults> defaults,
                                                        const Dictionary& initialValues) {
    const auto implementation = std::make_shared<Implementation>(std::move(defaults), initialValues);
    auto controller = std::make_shared<NSUserDefaultsController>(implementation);
    implementation->owner_ = controller;
    PreferenceDomains& domains = PreferenceDomains::current();
    domains.domain(implementation->defaults->suiteName())->addObserver(implementation);
    domains.globalDomain()->addObserver(implementation);
    return controller;
  }

  std::optional<Value> value(std::string_view key) {
    bool isRemoved = false;
    {
      const std::lock_guard lock(mutex);
      if (const auto edit = edits.find(key); edit != edits.end()) {
        isRemoved = edit->second.isNull();
        if (!isRemoved) return edit->second;
      }
    }
    auto value = isRemoved ? std::nullopt : defaults->objectForKey(key);
    if (value) return value;
    const Value* initial = initialValues_.find(key);
    return initial == nullptr ? std::nullopt : std::optional(*initial);
  }

  bool isEdited(std::string_view key) {
    const std::lock_guard lock(mutex);
    return edits.contains(key);
  }

  // An edit that waits hides what the defaults hold, and their changes with it.
  void domainWillChange(std::string_view key) override {
    const auto controller = owner_.lock();
    if (controller && !isEdited(key)) controller->willChangeValueForKey(pathOfKey(key));
  }
  void domainDidChange(std::string_view key) override {
    const auto controller = owner_.lock();
    if (controller && !isEdited(key)) controller->didChangeValueForKey(pathOfKey(key));
  }

  const std::shared_ptr<NSUserDefaults> defaults;
  std::mutex mutex;
  bool appliesImmediately = true;
  // Null: the key is to be removed.
  std::map<std::string, Value, std::less<>> edits;

 private:
  const Dictionary initialValues_;
  std::weak_ptr<NSUserDefaultsController> owner_;
};

namespace {

struct SharedController {
  const std::shared_ptr<NSUserDefaultsController> object =
      NSUserDefaultsController::Implementation::make(NSUserDefaults::standardUserDefaults(), {});
};

}  // namespace

NSUserDefaultsController::NSUserDefaultsController(std::shared_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

NSUserDefaultsController::~NSUserDefaultsController() = default;

std::shared_ptr<NSUserDefaultsController> NSUserDefaultsController::sharedUserDefaultsController() {
  return hostLocal<SharedController>().object;
}

std::shared_ptr<NSUserDefaultsController> NSUserDefaultsController::initWithDefaults(
    std::shared_ptr<NSUserDefaults> defaults, const Dictionary& initialValues) {
  return Implementation::make(std::move(defaults), initialValues);
}

const std::shared_ptr<NSUserDefaults>& NSUserDefaultsController::defaults() const {
  return implementation_->defaults;
}

bool NSUserDefaultsController::appliesImmediately() const {
  const std::lock_guard lock(implementation_->mutex);
  return implementation_->appliesImmediately;
}

void NSUserDefaultsController::setAppliesImmediately(bool applies) {
  const std::lock_guard lock(implementation_->mutex);
  implementation_->appliesImmediately = applies;
}

bool NSUserDefaultsController::hasUnappliedChanges() const {
  const std::lock_guard lock(implementation_->mutex);
  return !implementation_->edits.empty();
}

void NSUserDefaultsController::save() {
  decltype(implementation_->edits) edits;
  {
    const std::lock_guard lock(implementation_->mutex);
    edits.swap(implementation_->edits);
  }
  for (auto& [key, value] : edits) implementation_->defaults->setObject(std::move(value), key);
}

void NSUserDefaultsController::revert() {
  std::map<std::string, Value, std::less<>> edits;
  {
    const std::lock_guard lock(implementation_->mutex);
    edits = implementation_->edits;
  }
  for (const auto& [key, value] : edits) setEdit(key, std::nullopt);
}

// Puts an edit in the place of what waits under the key, or takes that away.
void NSUserDefaultsController::setEdit(std::string_view key, std::optional<Value> edit) {
  const std::string keyPath = pathOfKey(key);
  willChangeValueForKey(keyPath);
  {
    const std::lock_guard lock(implementation_->mutex);
    if (edit) {
      implementation_->edits.insert_or_assign(std::string(key), std::move(*edit));
    } else if (const auto found = implementation_->edits.find(key); found != implementation_->edits.end()) {
      implementation_->edits.erase(found);
    }
  }
  didChangeValueForKey(keyPath);
}

std::optional<Value> NSUserDefaultsController::valueForKeyPath(std::string_view keyPath) const {
  const auto key = keyInPath(keyPath);
  return key ? implementation_->value(*key) : std::nullopt;
}

void NSUserDefaultsController::setValue(Value value, std::string_view forKeyPath) {
  const auto key = keyInPath(forKeyPath);
  if (!key) return;
  if (!appliesImmediately()) {
    setEdit(*key, std::move(value));
    return;
  }
  if (implementation_->isEdited(*key)) setEdit(*key, std::nullopt);
  implementation_->defaults->setObject(std::move(value), *key);
}

Value NSUserDefaultsController::valueForKey(std::string_view keyPath) const {
  return valueForKeyPath(keyPath).value_or(Value());
}

}  // namespace macos
