// SPDX-License-Identifier: MIT
#include "app/CollectionsConversion.h"

#include "app/AppDelegate.h"
#include "app/LegacyDescriptions.h"
#include "app/SettingsMapping.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/ObjectEquality.h"
#include "macos/frameworks/ShortcutRecorder.h"
#include "platform/FileQueries.h"

namespace vennick {

using macos::Dictionary;
using macos::NSLog;
using macos::NSURL;
using macos::Value;

namespace {

// The bit of MiscellaneousFlags that decides the flags of default folders.
constexpr std::int64_t kDefaultFolderFlag = 32;
constexpr std::uint32_t kFlagsWithTheBit = 2;
constexpr std::uint32_t kFlagsWithoutTheBit = 1;

// A key whose text no property list can hold keeps its hotkey without the text.
Dictionary hotkeyRecord(const CommandKey& commandKey) {
  const auto flags = static_cast<std::uint32_t>(modifierFlagsFromLegacyMask(commandKey.modifiers));
  Dictionary record{{macos::SRShortcutKeyCode, Value(commandKey.keyCode)},
                    {macos::SRShortcutModifierFlagsKey, Value(flags)}};
  auto& transformer = macos::SRKeyCodeTransformer::sharedASCIITransformer();
  if (const auto text = transformer.transformedValue(commandKey.keyCode, 0, flags)) {
    record.set(macos::SRShortcutCharactersIgnoringModifiers, Value(*text));
  }
  return record;
}

}  // namespace

void CollectionsConversion::convertFolderSets() {
  NSLog("Converting " + std::to_string(preferences_.countOfFolderSets()) + " folder set(s)");
  for (const std::string& name : preferences_.sortedSetNames()) {
    convertSet(name);
  }
}

// A name that the store refuses ("Scripts") leaves the current set where it is: the entries go into that
// one. Deliberate.
void CollectionsConversion::convertSet(const std::string& name) {
  disk_.forget();
  NSLog("Creating set: " + name);
  settings_.createSet(name, std::nullopt);
  preferences_.switchToSet(name);
  settings_.setCurrentSet(name);
  convertFavorites();
  convertDefaultFolders();
}

void CollectionsConversion::convertFavorites() {
  if (!preferences_.favorites()) {
    return;
  }
  CFItemList favorites(ResolveMode::AnyTarget);
  favorites.setArray(preferences_.favorites());
  NSLog("Converting favorite folders: " + descriptionOfItems(preferences_.favorites()));
  for (std::int64_t index = 0; index < favorites.count(); ++index) {
    convertFavorite(favorites, index);
  }
}

void CollectionsConversion::convertFavorite(CFItemList& favorites, std::int64_t index) {
  disk_.forget();
  const auto known = favorites.urlAt(index);
  std::string name = favorites.nameAt(index);
  if (!known && name.empty()) {
    return;
  }
  const NSURL location = known ? *known : NSURL::fileURLWithPath(kEmptyPath);
  if (name.empty()) {
    name = displayName(location);
  }
  NSLog("Adding favorite " + name + " : " + location.absoluteString());
  settings_.addFavorite(location, std::nullopt, std::nullopt);
  // Name and hotkey go to whatever is last now: with favorites that stay sorted that may be another entry.
  // Deliberate.
  if (auto added = settings_.favorites()->lastItem()) {
    added->setName(name);
  }
  convertHotkey(favorites, index);
}

void CollectionsConversion::convertHotkey(const CFItemList& favorites, std::int64_t index) {
  CommandKey commandKey;
  if (!favorites.getCommandKeyAt(index, &commandKey)) {
    return;
  }
  const Dictionary record = hotkeyRecord(commandKey);
  NSLog("Adding favorite shortcut " + macos::description(Value(record)));
  if (auto added = settings_.favorites()->lastItem()) {
    added->setHotkey(record);
  }
}

void CollectionsConversion::convertDefaultFolders() {
  const Dictionary& defaultFolders = preferences_.defaultFolders();
  NSLog("Converting default folders: " + descriptionOfItems(defaultFolders));
  const std::uint32_t flags = AppDelegate::boolFromMiscPrefs(preferences_, kDefaultFolderFlag)
                                  ? kFlagsWithTheBit
                                  : kFlagsWithoutTheBit;
  for (const auto& entry : defaultFolders) {
    convertDefaultFolder(entry.key(), entry.value(), flags);
  }
}

void CollectionsConversion::convertDefaultFolder(std::string_view key, const Value& record,
                                                 std::uint32_t flags) {
  disk_.forget();
  const auto application = AppDelegate::appIDForKey(key);
  const Dictionary* stored = record.ifDictionary();
  CFItem item(stored != nullptr ? std::make_shared<Dictionary>(*stored) : nullptr, ResolveMode::AnyTarget);
  // Looked for also when no application is known: what is wrong with the record is said in any case.
  const auto location = item.url();
  if (!application || !location) {
    return;
  }
  removeSameDefaultFolder(*application, *location);
  settings_.addDefaultFolder(*location, *application, std::string(kAnyType));
  if (auto added = settings_.defaultFolders()->lastItem()) {
    added->setFlags(flags);
  }
}

// A default folder of the application at another place stays, and hides the new one. So does one that was
// made of a link to a file: it was stored as that file, and is compared with the link itself, so that every
// run adds it again. Deliberate.
void CollectionsConversion::removeSameDefaultFolder(const std::string& application, const NSURL& location) {
  auto present = settings_.defaultFolderForApp(application, std::nullopt);
  if (!present) {
    return;
  }
  NSLog("Checking " + present->description());
  const macos::Array* applications = present->applications();
  if (applications != nullptr && macos::containsObject(*applications, Value(application)) &&
      present->url() == location) {
    settings_.defaultFolders()->removeItem(*present);
  }
}

}  // namespace vennick
