// SPDX-License-Identifier: MIT
//
// The list of folder sets, and making, renaming, deleting and switching them.
#include <algorithm>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"
#include "platform/FileQueries.h"
#include "settings/SetNames.h"
#include "settings/SettingsKeys.h"
#include "settings/VKSettings.h"

namespace vennick {

using macos::Array;
using macos::NSError;
using macos::NSFileManager;
using macos::NSURL;
using macos::Value;

namespace {

void logFailure(std::string_view verb, const NSURL& from, const NSURL& to, const NSError& error) {
  macos::NSLog("Unable to " + std::string(verb) + " " + from.absoluteString() + " to " + to.absoluteString() +
               ": " + error.description());
}

bool refuseBadName(std::string_view name) {
  if (isUsableSetName(name)) {
    return false;
  }
  macos::NSLog("\"" + std::string(name) + "\" cannot be the name of a folder set");
  return true;
}

bool isBefore(const std::string& a, const std::string& b) { return macos::compareNonliteral(a, b) < 0; }

void sortNames(std::vector<std::string>& names) { std::stable_sort(names.begin(), names.end(), isBefore); }

// A name with "/" is a folder inside a folder, which may not be there yet. Those that are made for it go
// again when nothing came into them.
class ParentFolders {
 public:
  explicit ParentFolders(const NSURL& folder) {
    const NSURL parent = folder.URLByDeletingLastPathComponent();
    for (NSURL place = parent; place.path() != "/" && !pathExists(place);
         place = place.URLByDeletingLastPathComponent()) {
      made_.push_back(place);
    }
    if (!made_.empty()) {
      (void)NSFileManager::defaultManager().createDirectoryAtURL(parent, true);
    }
  }

  void takeBack() {
    for (const NSURL& folder : made_) {
      (void)macos::Host::current().files().removeFolder(folder.fileSystemRepresentation());
    }
  }

 private:
  std::vector<NSURL> made_;  // the innermost first
};

bool contains(const std::vector<std::string>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<std::string> VKSettings::folderSets() const {
  std::vector<std::string> names;
  for (const Value& entry : defaults()->arrayForKey(SettingsKeys::FolderSets).value_or(Array())) {
    if (const auto name = entry.ifString()) {
      names.emplace_back(*name);
    }
  }
  return names;
}

void VKSettings::storeFolderSets(const std::vector<std::string>& names) {
  Array array;
  array.reserve(names.size());
  for (const std::string& name : names) {
    array.append(Value(name));
  }
  defaults()->setObject(Value(std::move(array)), SettingsKeys::FolderSets);
}

void VKSettings::setCurrentSet(const std::optional<std::string>& name) {
  if (name == currentSet_) {
    return;
  }
  // The old set is saved before the new name is looked at, so that an unknown name saves too. Deliberate.
  if (currentSet_) {
    saveSet(currentSet_);
  }
  if (!name || !contains(folderSets(), *name) || !isUsableSetName(*name)) {
    return;
  }
  defaults()->setObject(Value(*name), SettingsKeys::CurrentSet);
  announceChange(SettingsProperties::CurrentSet, [&] { currentSet_ = name; });
  loadSet(name);
  setDirty(true);
}

bool VKSettings::createSet(std::string_view name, const std::optional<std::string>& withSet) {
  std::vector<std::string> names = folderSets();
  if (contains(names, name) || name == kReservedSetName || refuseBadName(name) ||
      (withSet && refuseBadName(*withSet))) {
    return false;
  }
  if (withSet && !copyTemplate(*withSet, name)) {
    // A set can only be made after a template that has a folder on disk; the attempt alone makes the store
    // dirty. Deliberate.
    setDirty(true);
    return false;
  }
  storeFolderSetsWith(std::move(names), name);
  setDirty(true);
  return true;
}

// As if the name were added at the end and all were sorted. Mostly they are: a name is put where it belongs
// with far fewer comparisons than sorting takes. That they are is known of the list that was last stored
// here; to compare each name with the next takes long for thousands of sets, made one after the other.
void VKSettings::storeFolderSetsWith(std::vector<std::string> names, std::string_view name) {
  const bool wereSorted = names == sortedSets_ || std::is_sorted(names.begin(), names.end(), isBefore);
  const auto place =
      wereSorted ? std::upper_bound(names.begin(), names.end(), std::string(name), isBefore) : names.end();
  names.emplace(place, name);
  if (!wereSorted) {
    sortNames(names);
  }
  storeFolderSets(names);
  sortedSets_ = std::move(names);
}

bool VKSettings::copyTemplate(const std::string& templateName, std::string_view name) {
  const NSURL from = urlForFolderSet(templateName, false);
  const NSURL to = urlForFolderSet(std::string(name), false);
  if (!pathExists(from)) {
    return false;
  }
  ParentFolders parents(to);
  if (const auto error = NSFileManager::defaultManager().copyItemIntoPlace(from, to)) {
    logFailure("copy", from, to, *error);
    parents.takeBack();
    return false;
  }
  return true;
}

bool VKSettings::renameSet(std::string_view name, std::string_view toName) {
  std::vector<std::string> names = folderSets();
  const auto old = std::find(names.begin(), names.end(), name);
  if (old == names.end() || contains(names, toName) || toName == kReservedSetName || refuseBadName(name) ||
      refuseBadName(toName)) {
    return false;
  }
  const NSURL from = urlForFolderSet(std::string(name), false);
  if (!pathExists(from)) {
    return false;
  }
  const NSURL to = urlForFolderSet(std::string(toName), false);
  ParentFolders parents(to);
  if (const auto error = NSFileManager::defaultManager().moveItemAtURL(from, to)) {
    logFailure("move", from, to, *error);
    parents.takeBack();
    return false;
  }
  *old = toName;
  sortNames(names);
  storeFolderSets(names);
  if (currentSet_ == name) {
    // Past the setter, since the files that it would save into have just moved.
    currentSet_ = std::nullopt;
    setCurrentSet(std::string(toName));
  }
  setDirty(true);
  return true;
}

bool VKSettings::deleteSet(std::string_view name) {
  std::vector<std::string> names = folderSets();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end() || names.size() < 2 || !removeSetFolder(name)) {
    return false;
  }
  const std::size_t index = static_cast<std::size_t>(found - names.begin());
  names.erase(found);
  storeFolderSets(names);
  if (currentSet_ == name) {
    // Past the setter, since the folder that it would save into has just gone.
    currentSet_ = std::nullopt;
    setCurrentSet(names[std::min(index, names.size() - 1)]);
  }
  return true;
}

// A name that leads to no folder of its own only leaves the list.
bool VKSettings::removeSetFolder(std::string_view name) {
  if (!isUsableSetName(name)) {
    return true;
  }
  const NSURL folder = urlForFolderSet(std::string(name), false);
  if (!pathExists(folder)) {
    return true;
  }
  if (const auto error = NSFileManager::defaultManager().removeItemAtURL(folder)) {
    macos::NSLog("Unable to remove " + folder.absoluteString() + ": " + error->description());
    return false;
  }
  return true;
}

}  // namespace vennick
