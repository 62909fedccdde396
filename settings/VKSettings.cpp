// SPDX-License-Identifier: MIT
//
// The store's creation, its properties, loading and saving.
#include "settings/VKSettings.h"

#include <algorithm>
#include <utility>

#include "macos/foundation/Preferences.h"
#include "macos/host/Host.h"
#include "settings/SetNames.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;

namespace {

constexpr double kPeriodicSaveSeconds = 300;
constexpr double kPeriodicSaveLeeway = 10;
// A tick that comes later than this after the one before, after sleep or a stall, does not save; the next
// one does. Deliberate.
constexpr double kLateTickSeconds = 350;

constexpr std::string_view kDialogSizesFile = "DialogSizes.plist";
constexpr std::string_view kSidebarSizesFile = "SidebarSizes.plist";
constexpr std::string_view kStatisticsFile = "Statistics.plist";
constexpr std::string_view kSaveActionsFile = "SaveActions.plist";
constexpr std::string_view kLastFoldersFile = "LastFolders.plist";
constexpr std::string_view kReboundFile = "Rebound.plist";

struct SharedSettings {
  std::shared_ptr<VKSettings> settings;
};

SharedItemList itemListFromArray(const Array& array, std::string_view source) {
  auto list = std::make_shared<ItemList>();
  const SharedEntries entries = entriesFromArray(array, source);
  list->entries.assign(entries.begin(), entries.end());
  return list;
}

NSURL fileInFolder(const NSURL& folder, std::string_view filename) {
  return folder.URLByAppendingPathComponentIsDirectory(filename, false);
}

Value optionalDictionary(const std::optional<Dictionary>& dictionary) {
  return dictionary ? Value(*dictionary) : Value();
}

}  // namespace

VKSettings::VKSettings(Private) {}

std::shared_ptr<VKSettings> VKSettings::sharedSettings() {
  return macos::hostLocal<SharedSettings>().settings;
}

std::shared_ptr<macos::NSUserDefaults> VKSettings::sharedDefaults() {
  const auto settings = sharedSettings();
  return settings ? settings->defaults() : nullptr;
}

std::shared_ptr<VKSettings> VKSettings::initWithBundle(std::shared_ptr<macos::NSBundle> bundle) {
  auto settings = std::make_shared<VKSettings>(Private());
  macos::hostLocal<SharedSettings>().settings = settings;
  settings->bundle_ = bundle ? std::move(bundle) : macos::NSBundle::mainBundle();
  settings->lastPrefsSaveDate_ = NSDate::date();
  const Dictionary initialDefaults = settings->initialDefaults();
  settings->chooseDefaults(initialDefaults);
  settings->updateUserDefaultsWithBuiltInDefaults(initialDefaults);
  settings->defaultsController_->setAppliesImmediately(true);
  settings->makeItemArrays();
  settings->load();
  settings->startPeriodicSave();
  return settings;
}

void VKSettings::makeItemArrays() {
  // In the order in which the properties were always made, which observers can tell.
  for (const Collection collection :
       {Collection::Favorites, Collection::RecentFiles, Collection::RecentFolders,
        Collection::RecentFinderFolders, Collection::RecentApplications, Collection::DefaultFolders,
        Collection::DroppedItems}) {
    const CollectionNames& names = kCollections[indexOf(collection)];
    const auto content = macos::RACObserve<SharedItemList>(
        *this, names.listKey, [this, collection] { return itemList(collection); });
    collections_[indexOf(collection)].itemArray =
        VKItemArray::initWithContentSignal(content, weak_from_this(), std::string(names.itemArrayKey));
  }
}

void VKSettings::startPeriodicSave() {
  periodicSave_ = macos::RACSignal<NSDate>::interval(
                      kPeriodicSaveSeconds, macos::RACScheduler::mainThreadScheduler(), kPeriodicSaveLeeway)
                      .subscribeNext([weakSelf = weak_from_this()](const NSDate&) {
                        if (const auto self = weakSelf.lock()) {
                          self->periodicSaveTick();
                        }
                      });
}

void VKSettings::periodicSaveTick() {
  if (dirty_ && lastPrefsSaveDate_.timeIntervalSinceNow() > -kLateTickSeconds) {
    save();
  }
  setLastPrefsSaveDate(NSDate::date());
}

// --- Properties

const std::shared_ptr<VKItemArray>& VKSettings::itemArray(Collection collection) const {
  return collections_[indexOf(collection)].itemArray;
}

const SharedItemList& VKSettings::itemList(Collection collection) const {
  return collections_[indexOf(collection)].list;
}

void VKSettings::setItemList(Collection collection, SharedItemList list) {
  announceChange(kCollections[indexOf(collection)].listKey,
                 [&] { collections_[indexOf(collection)].list = std::move(list); });
}

void VKSettings::setDirty(bool dirty) {
  announceChange(SettingsProperties::Dirty, [&] { dirty_ = dirty; });
}

void VKSettings::setLastPrefsSaveDate(NSDate date) {
  announceChange(SettingsProperties::LastPrefsSaveDate, [&] { lastPrefsSaveDate_ = date; });
}

void VKSettings::setCurrentRecentFolder(Value folder) {
  announceChange(SettingsProperties::CurrentRecentFolder, [&] { currentRecentFolder_ = std::move(folder); });
}

void VKSettings::setCurrentFinderTab(Value tab) {
  announceChange(SettingsProperties::CurrentFinderTab, [&] { currentFinderTab_ = std::move(tab); });
}

void VKSettings::setFramesForApps(Dictionary frames) {
  announceChange(SettingsProperties::FramesForApps, [&] { framesForApps_ = std::move(frames); });
}

void VKSettings::setSidebarWidthsForApps(Dictionary widths) {
  announceChange(SettingsProperties::SidebarWidthsForApps,
                 [&] { sidebarWidthsForApps_ = std::move(widths); });
}

void VKSettings::setHotkeys(SharedEntries hotkeys) {
  announceChange(SettingsProperties::Hotkeys, [&] { hotkeys_ = std::move(hotkeys); });
}

void VKSettings::setRebound(std::optional<Dictionary> rebound) {
  announceChange(SettingsProperties::Rebound, [&] { rebound_ = std::move(rebound); });
}

void VKSettings::setLastFolders(std::optional<Dictionary> lastFolders) {
  announceChange(SettingsProperties::LastFolders, [&] { lastFolders_ = std::move(lastFolders); });
}

void VKSettings::setUsageStatistics(Dictionary statistics) {
  announceChange(SettingsProperties::UsageStatistics, [&] { usageStatistics_ = std::move(statistics); });
}

void VKSettings::setSaveActions(EntryTable actions) {
  announceChange(SettingsProperties::SaveActions, [&] { saveActions_ = std::move(actions); });
}

// --- Loading and saving

bool VKSettings::load() {
  setHotkeys(entriesFromArray(defaults()->arrayForKey(SettingsKeys::KeyBindings).value_or(Array()),
                              SettingsKeys::KeyBindings));
  loadCurrentSet();
  setFramesForApps(dictionaryWithFallback(kDialogSizesFile, SettingsKeys::DialogFrames));
  setSidebarWidthsForApps(readDictionaryFromFilename(kSidebarSizesFile, std::nullopt));
  setUsageStatistics(dictionaryWithFallback(kStatisticsFile, SettingsKeys::UsageStatistics));
  setSaveActions(EntryTable(readDictionaryFromFilename(kSaveActionsFile, std::nullopt), kSaveActionsFile));
  return true;
}

void VKSettings::loadCurrentSet() {
  setCurrentSet(defaults()->stringForKey(SettingsKeys::CurrentSet));
  if (!currentSet_) {
    const std::string name = localizedDefaultSetName();
    createSet(name, std::nullopt);
    setCurrentSet(name);
  }
}

Dictionary VKSettings::dictionaryWithFallback(std::string_view filename, std::string_view defaultsKey) {
  Dictionary content = readDictionaryFromFilename(filename, std::nullopt);
  if (content.empty()) {
    return defaults()->dictionaryForKey(defaultsKey).value_or(Dictionary());
  }
  defaults()->removeObjectForKey(defaultsKey);
  return content;
}

bool VKSettings::save() {
  defaults()->setObject(Value(arrayFromEntries(hotkeys_)), SettingsKeys::KeyBindings);
  if (currentSet_) {
    defaults()->setObject(Value(*currentSet_), SettingsKeys::CurrentSet);
  } else {
    defaults()->removeObjectForKey(SettingsKeys::CurrentSet);
  }
  // What becomes of the four global files does not count. Deliberate. Where their folder is takes several
  // looks at the disk: once for all.
  const NSURL folder = urlForFolderSet(std::nullopt, true);
  files_.writeAll({{fileInFolder(folder, kDialogSizesFile), Value(framesForApps_)},
                   {fileInFolder(folder, kSidebarSizesFile), Value(sidebarWidthsForApps_)},
                   {fileInFolder(folder, kStatisticsFile), Value(usageStatistics_)},
                   {fileInFolder(folder, kSaveActionsFile), Value(saveActions_.dictionary())}});
  const bool applicationFlushed = macos::CFPreferencesAppSynchronize(macos::kCFPreferencesCurrentApplication);
  const bool defaultsFlushed = defaults()->synchronize();
  const bool setSaved = saveSet(currentSet_);
  const bool isSaved = applicationFlushed && defaultsFlushed && setSaved;
  setDirty(!isSaved);
  return isSaved;
}

bool VKSettings::loadSet(const std::optional<std::string>& name) {
  if (!name) {
    return false;
  }
  setRebound(std::nullopt);
  for (const CollectionNames& names : kCollections) {
    setItemList(names.collection, nullptr);
  }
  // Where the folder is takes several looks at the disk: once for all of its files.
  const NSURL folder = urlForFolderSet(name, false);
  setRebound(files_.readDictionary(fileInFolder(folder, kReboundFile)));
  setLastFolders(files_.readDictionary(fileInFolder(folder, kLastFoldersFile)));
  for (const CollectionNames& names : kCollections) {
    setItemList(names.collection, itemListFromArray(files_.readArray(fileInFolder(folder, names.filename)),
                                                    *name + "/" + std::string(names.filename)));
  }
  return true;
}

bool VKSettings::saveSet(const std::optional<std::string>& name) {
  if (!name) {
    return false;
  }
  const NSURL folder = urlForFolderSet(name, true);
  std::vector<StoreFiles::FileContent> contents;
  for (const CollectionNames& names : kCollections) {
    if (const SharedItemList& list = itemList(names.collection)) {
      contents.push_back({fileInFolder(folder, names.filename), Value(arrayFromEntries(list->entries))});
    }
  }
  if (lastFolders_) {
    contents.push_back({fileInFolder(folder, kLastFoldersFile), Value(*lastFolders_)});
  }
  if (rebound_) {
    contents.push_back({fileInFolder(folder, kReboundFile), Value(*rebound_)});
  }
  constexpr std::size_t kFilesOfSet = kCollectionCount + 2;
  return files_.writeAll(contents) && contents.size() == kFilesOfSet;
}

Array VKSettings::readArrayFromFilename(std::string_view filename, const std::optional<std::string>& forSet) {
  return files_.readArray(fileInFolder(urlForFolderSet(forSet, false), filename));
}

bool VKSettings::writeArray(const Array& array, std::string_view toFilename,
                            const std::optional<std::string>& forSet) {
  return files_.write(array, fileInFolder(urlForFolderSet(forSet, true), toFilename));
}

Dictionary VKSettings::readDictionaryFromFilename(std::string_view filename,
                                                  const std::optional<std::string>& forSet) {
  return files_.readDictionary(fileInFolder(urlForFolderSet(forSet, false), filename));
}

bool VKSettings::writeDictionary(const Dictionary& dictionary, std::string_view toFilename,
                                 const std::optional<std::string>& forSet) {
  return files_.write(dictionary, fileInFolder(urlForFolderSet(forSet, true), toFilename));
}

// --- Key-value observing

Value VKSettings::valueForKey(std::string_view key) const {
  for (const CollectionNames& names : kCollections) {
    if (key == names.itemArrayKey || key == names.listKey) {
      const SharedItemList& list = itemList(names.collection);
      return list ? Value(arrayFromEntries(list->entries)) : Value();
    }
  }
  if (key == SettingsProperties::CurrentSet) return currentSet_ ? Value(*currentSet_) : Value();
  if (key == SettingsProperties::Dirty) return Value(dirty_);
  if (key == SettingsProperties::LastPrefsSaveDate) return Value(lastPrefsSaveDate_);
  if (key == SettingsProperties::CurrentRecentFolder) return currentRecentFolder_;
  if (key == SettingsProperties::CurrentFinderTab) return currentFinderTab_;
  if (key == SettingsProperties::Hotkeys) return Value(arrayFromEntries(hotkeys_));
  if (key == SettingsProperties::Rebound) return optionalDictionary(rebound_);
  if (key == SettingsProperties::LastFolders) return optionalDictionary(lastFolders_);
  if (key == SettingsProperties::FramesForApps) return Value(framesForApps_);
  if (key == SettingsProperties::SidebarWidthsForApps) return Value(sidebarWidthsForApps_);
  if (key == SettingsProperties::UsageStatistics) return Value(usageStatistics_);
  if (key == SettingsProperties::SaveActions) return Value(saveActions_.dictionary());
  return Value();
}

Value VKSettings::valuesAtIndexes(const macos::NSIndexSet& indexes, std::string_view key) const {
  Array values;
  const auto appendFrom = [&](const auto& entries) {
    for (const std::size_t index : indexes) {
      if (index < entries.size()) {
        values.append(Value(*entries[index]));
      }
    }
  };
  if (key == SettingsProperties::Hotkeys) appendFrom(hotkeys_);
  for (const CollectionNames& names : kCollections) {
    if (key == names.itemArrayKey && itemList(names.collection)) {
      appendFrom(itemList(names.collection)->entries);
    }
  }
  return Value(std::move(values));
}

}  // namespace vennick
