// SPDX-License-Identifier: MIT
#include "app/StoredSets.h"

#include "macos/foundation/FileManager.h"
#include "macos/foundation/Preferences.h"
#include "platform/FileQueries.h"
#include "settings/Collections.h"
#include "settings/SetNames.h"
#include "settings/SettingsKeys.h"
#include "settings/StoreFiles.h"

namespace vennick {

using macos::Array;
using macos::NSURL;
using macos::Value;

namespace {

NSURL settingsFolder() {
  const auto folders = macos::NSFileManager::defaultManager().URLsForDirectory(
      macos::NSSearchPathDirectory::ApplicationSupport, macos::NSUserDomainMask);
  return URLByResolvingLinksAndAliasFile(
      folders.front().URLByAppendingPathComponentIsDirectory(kMainApplicationIdentifier, true));
}

std::vector<std::string> storedNames() {
  std::vector<std::string> names;
  const auto stored = macos::CFPreferencesCopyAppValue(SettingsKeys::FolderSets, kMainApplicationIdentifier);
  const Array* list = stored ? stored->ifArray() : nullptr;
  for (const Value& name : list != nullptr ? *list : Array()) {
    if (const auto text = name.ifString(); text && isUsableSetName(*text)) {
      names.emplace_back(*text);
    }
  }
  return names;
}

// Where the store looks for a set: without a folder of its name, the default set, whose name is localized,
// has one of the English name.
NSURL folderOf(const std::string& name, const NSURL& settings) {
  NSURL folder = settings.URLByAppendingPathComponentIsDirectory(name, true);
  if (!pathExists(folder) && name == localizedDefaultSetName()) {
    folder = settings.URLByAppendingPathComponentIsDirectory(kDefaultSetName, true);
  }
  return URLByResolvingLinksAndAliasFile(folder);
}

Array readCollection(StoreFiles& files, const NSURL& folder, Collection collection) {
  return files.readArray(
      folder.URLByAppendingPathComponentIsDirectory(kCollections[indexOf(collection)].filename, false));
}

}  // namespace

std::optional<std::string> refusalOfSetName(std::string_view name) {
  if (name == kReservedSetName) return "version 5 keeps this name for itself";
  return isUsableSetName(name) ? std::nullopt : std::optional("this cannot be the name of a folder");
}

std::vector<StoredSet> readStoredSets() {
  const auto current = macos::CFPreferencesCopyAppValue(SettingsKeys::CurrentSet, kMainApplicationIdentifier);
  const NSURL settings = settingsFolder();
  StoreFiles files;
  std::vector<StoredSet> sets;
  for (const std::string& name : storedNames()) {
    const NSURL folder = folderOf(name, settings);
    sets.push_back({name, current && current->ifString() == name,
                    readCollection(files, folder, Collection::Favorites),
                    readCollection(files, folder, Collection::DefaultFolders)});
  }
  return sets;
}

}  // namespace vennick
