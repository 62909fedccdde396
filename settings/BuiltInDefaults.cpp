// SPDX-License-Identifier: MIT
//
// What a new store does with the built-in defaults: which defaults object it works on, what is merged
// into it and repaired in it, and how the Setapp edition's own domain is kept in step.
#include <string>
#include <utility>

#include "macos/foundation/ObjectEquality.h"
#include "macos/foundation/PropertyList.h"
#include "settings/SetNames.h"
#include "settings/VKSettings.h"

namespace vennick {
namespace {

// What stands before a key in the key paths of a user-defaults controller.
constexpr std::string_view kValuesPrefix = "values.";

// Null when the bundle has no such property list; start-up goes on without it.
macos::Value builtInPropertyList(const macos::NSBundle& bundle, std::string_view name) {
  const auto content = bundle.contentsOfResource(name, "plist");
  if (!content) return macos::Value();
  auto read = macos::NSPropertyListSerialization::propertyListWithData(*content);
  return read ? std::move(read->value) : macos::Value();
}

void addBuiltInArray(macos::Dictionary& defaults, std::string_view key, const macos::NSBundle& bundle,
                     std::string_view resource) {
  macos::Value content = builtInPropertyList(bundle, resource);
  if (content.ifArray()) defaults.set(key, std::move(content));
}

// By where the bundles lie, whatever links they were reached through.
bool isMainBundle(const macos::NSBundle& bundle) {
  const auto mainBundle = macos::NSBundle::mainBundle();
  return bundle.isOutsideRoot() == mainBundle->isOutsideRoot() &&
         bundle.bundleURL().URLByResolvingSymlinksInPath().path() ==
             mainBundle->bundleURL().URLByResolvingSymlinksInPath().path();
}

std::string withoutSetappSuffix(std::string identifier) {
  if (!identifier.ends_with(kSetappSuffix)) return identifier;
  for (auto at = identifier.find(kSetappSuffix); at != std::string::npos;
       at = identifier.find(kSetappSuffix, at)) {
    identifier.erase(at, kSetappSuffix.size());
  }
  return identifier;
}

// A bundle from an unusual place may have no identifier, or one that can name no domain or no folder of its
// own; then the store is that of the main application.
std::shared_ptr<macos::NSUserDefaults> suiteForIdentifier(const std::string& identifier) {
  const std::string name = withoutSetappSuffix(identifier);
  const bool isName = !name.empty() && name != "." && name != "..";
  auto suite = !isName ? nullptr : macos::NSUserDefaults::initWithSuiteName(name);
  return suite ? suite : macos::NSUserDefaults::initWithSuiteName(kMainApplicationIdentifier);
}

}  // namespace

bool VKSettings::isSetappEdition() const { return bundle_->bundleIdentifier().ends_with(kSetappSuffix); }

macos::Dictionary VKSettings::initialDefaults() const {
  macos::Value content = builtInPropertyList(*bundle_, "Defaults");
  macos::Dictionary defaults;
  if (const macos::Dictionary* read = std::as_const(content).ifDictionary()) defaults = *read;
  addBuiltInArray(defaults, SettingsKeys::KeyBindings, *bundle_, "DefaultKeyBindings");
  addBuiltInArray(defaults, SettingsKeys::MenuConfiguration, *bundle_, "DefaultMenuConfiguration");
  return defaults;
}

void VKSettings::chooseDefaults(const macos::Dictionary& initialDefaults) {
  if (isMainBundle(*bundle_) && !isSetappEdition() && !bundle_->bundleIdentifier().empty()) {
    macos::NSUserDefaults::standardUserDefaults()->registerDefaults(initialDefaults);
    defaultsController_ = macos::NSUserDefaultsController::sharedUserDefaultsController();
    return;
  }
  auto suite = suiteForIdentifier(bundle_->bundleIdentifier());
  suite->registerDefaults(initialDefaults);
  defaultsController_ = macos::NSUserDefaultsController::initWithDefaults(std::move(suite), initialDefaults);
  if (isSetappEdition()) synchronizeSetappSettings(initialDefaults);
}

void VKSettings::updateUserDefaultsWithBuiltInDefaults(const macos::Dictionary& initialDefaults) {
  // The preferences window's toolbar starts in its built-in layout every time.
  defaults()->removeObjectForKey(SettingsKeys::PreferencesToolbar);
  renameReservedSets();
  mergeExcludedApplications(initialDefaults);
}

// Of two sets of the reserved name only the first is renamed, since the new name is taken then, and a
// current set of that name keeps its old name under "currentSet", so that the default set becomes the
// current one. Deliberate.
void VKSettings::renameReservedSets() {
  for (const std::string& name : folderSets()) {
    if (name == kReservedSetName) renameSet(name, std::string(kReservedSetName) + "*");
  }
}

// Built-in entries that the user removed come back at every start. Deliberate.
void VKSettings::mergeExcludedApplications(const macos::Dictionary& initialDefaults) {
  const macos::Array* builtIn = initialDefaults.array(SettingsKeys::AppsToExclude);
  if (!builtIn) return;
  macos::Array merged = defaults()->arrayForKey(SettingsKeys::AppsToExclude).value_or(macos::Array());
  const std::size_t present = merged.size();
  for (const macos::Value& application : *builtIn) {
    if (!macos::containsObject(merged, application)) merged.append(application);
  }
  if (merged.size() > present) {
    defaults()->setObject(macos::Value(std::move(merged)), SettingsKeys::AppsToExclude);
  }
}

// The edition's interface binds to the shared controller, so that controller starts from the values of
// the shared suite, and what is changed through it goes back into the suite. Only keys with a built-in
// default are mirrored. The observations end with the store.
void VKSettings::synchronizeSetappSettings(const macos::Dictionary& initialDefaults) {
  const auto shared = macos::NSUserDefaultsController::sharedUserDefaultsController();
  for (const auto& entry : initialDefaults) {
    const std::string key(entry.key());
    if (auto value = defaults()->objectForKey(key)) shared->defaults()->setObject(*std::move(value), key);
  }
  for (const auto& entry : initialDefaults) {
    setappObservations_.push_back(shared->addObserver(
        std::string(kValuesPrefix).append(entry.key()), macos::NSKeyValueObservingOptionNew,
        [this](std::string_view keyPath, const macos::NSKeyValueChangeDictionary& /*change*/) {
          observeValueForKeyPath(keyPath);
        }));
  }
}

void VKSettings::observeValueForKeyPath(std::string_view keyPath) {
  const std::string_view key = keyPath.substr(kValuesPrefix.size());
  auto value = macos::NSUserDefaultsController::sharedUserDefaultsController()->valueForKeyPath(keyPath);
  if (value) {
    defaults()->setObject(*std::move(value), key);
  } else {
    defaults()->removeObjectForKey(key);
  }
}

}  // namespace vennick
