// SPDX-License-Identifier: MIT
//
// VKSettings: the one store of the version 5 settings. Keys live in the user defaults; the item
// collections and per-application records live in property-list files under the user's Application
// Support folder, some global, the others once per folder set, of which one is current. The store loads
// itself when it is created, saves on save() and, when something changed, every five minutes.
//
// Operations answer with a boolean or with nothing; what goes wrong underneath is logged. The item lists
// and table entries that it hands out are live: a change made on them is a change of the store. Main
// thread only; owned by whoever created it, and the newest one is the shared instance.
#ifndef SETTINGS_VKSETTINGS_H
#define SETTINGS_VKSETTINGS_H

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/VKItemArray.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/KeyValueObserving.h"
#include "macos/foundation/RunLoop.h"
#include "macos/foundation/UserDefaults.h"
#include "macos/foundation/Value.h"
#include "macos/frameworks/ReactiveObjC.h"
#include "settings/Collections.h"
#include "settings/EntryTable.h"
#include "settings/Geometry.h"
#include "settings/SettingsKeys.h"
#include "settings/StoreFiles.h"

namespace vennick {

class VKSettings : public macos::NSObservable, public std::enable_shared_from_this<VKSettings> {
  struct Private {};

 public:
  // Null before the first store is created.
  static std::shared_ptr<VKSettings> sharedSettings();
  static std::shared_ptr<macos::NSUserDefaults> sharedDefaults();

  // Creates the store over the bundle's identifier and resources, loads it and makes it the shared one. A
  // null bundle is the main bundle. The defaults are the standard ones for the main bundle, else the suite
  // named by the bundle's identifier, "-setapp" left out; they end in the bundle's built-in defaults.
  static std::shared_ptr<VKSettings> initWithBundle(std::shared_ptr<macos::NSBundle> bundle);
  explicit VKSettings(Private);

  // --- Properties. Every setter announces a plain change of the property.

  const std::optional<std::string>& currentSet() const { return currentSet_; }
  // Saves the current set, then, when the name is listed, makes it current and loads it. The name that is
  // already current changes nothing.
  void setCurrentSet(const std::optional<std::string>& name);
  bool dirty() const { return dirty_; }
  void setDirty(bool dirty);
  const std::shared_ptr<macos::NSBundle>& bundle() const { return bundle_; }
  // When the periodic save last ticked; at first, when the store was created.
  macos::NSDate lastPrefsSaveDate() const { return lastPrefsSaveDate_; }
  void setLastPrefsSaveDate(macos::NSDate date);
  const std::shared_ptr<macos::NSUserDefaultsController>& defaultsController() const {
    return defaultsController_;
  }
  const std::shared_ptr<macos::NSUserDefaults>& defaults() const { return defaultsController_->defaults(); }
  // Kept for the user interface; the store does not use these two.
  const macos::Value& currentRecentFolder() const { return currentRecentFolder_; }
  void setCurrentRecentFolder(macos::Value folder);
  const macos::Value& currentFinderTab() const { return currentFinderTab_; }
  void setCurrentFinderTab(macos::Value tab);

  const macos::Dictionary& framesForApps() const { return framesForApps_; }
  void setFramesForApps(macos::Dictionary frames);
  const macos::Dictionary& sidebarWidthsForApps() const { return sidebarWidthsForApps_; }
  void setSidebarWidthsForApps(macos::Dictionary widths);
  const SharedEntries& hotkeys() const { return hotkeys_; }
  void setHotkeys(SharedEntries hotkeys);
  const std::optional<macos::Dictionary>& rebound() const { return rebound_; }
  void setRebound(std::optional<macos::Dictionary> rebound);
  const std::optional<macos::Dictionary>& lastFolders() const { return lastFolders_; }
  void setLastFolders(std::optional<macos::Dictionary> lastFolders);
  const macos::Dictionary& usageStatistics() const { return usageStatistics_; }
  void setUsageStatistics(macos::Dictionary statistics);
  const EntryTable& saveActions() const { return saveActions_; }
  void setSaveActions(EntryTable actions);

  const std::shared_ptr<VKItemArray>& favorites() const { return itemArray(Collection::Favorites); }
  const std::shared_ptr<VKItemArray>& recentFiles() const { return itemArray(Collection::RecentFiles); }
  const std::shared_ptr<VKItemArray>& recentFolders() const { return itemArray(Collection::RecentFolders); }
  const std::shared_ptr<VKItemArray>& defaultFolders() const { return itemArray(Collection::DefaultFolders); }
  const std::shared_ptr<VKItemArray>& recentFinderFolders() const {
    return itemArray(Collection::RecentFinderFolders);
  }
  const std::shared_ptr<VKItemArray>& recentApplications() const {
    return itemArray(Collection::RecentApplications);
  }
  const std::shared_ptr<VKItemArray>& droppedItems() const { return itemArray(Collection::DroppedItems); }
  const std::shared_ptr<VKItemArray>& itemArray(Collection collection) const;
  // The list behind a collection ("favoritesArray" and so on), which its item array shows. Setting it
  // announces a change of that property and re-points the item array, which announces its own.
  const SharedItemList& itemList(Collection collection) const;
  void setItemList(Collection collection, SharedItemList list);

  // --- Lifecycle

  bool load();  // always true
  // False, and dirty, when a file of the current set or the defaults could not be written. Everything else
  // is written all the same.
  bool save();
  // False for nullopt, which changes nothing.
  bool loadSet(const std::optional<std::string>& name);
  bool saveSet(const std::optional<std::string>& name);

  // A file of a set's folder; of the settings folder for nullopt.
  macos::Array readArrayFromFilename(std::string_view filename, const std::optional<std::string>& forSet);
  bool writeArray(const macos::Array& array, std::string_view toFilename,
                  const std::optional<std::string>& forSet);
  macos::Dictionary readDictionaryFromFilename(std::string_view filename,
                                               const std::optional<std::string>& forSet);
  bool writeDictionary(const macos::Dictionary& dictionary, std::string_view toFilename,
                       const std::optional<std::string>& forSet);
  // The folder in Application Support named by the bundle's identifier, "-setapp" left out; links and an
  // alias file in its place are resolved. No folder at all for the mask ends the process.
  macos::NSURL urlForSettingsFolderInDomain(unsigned domainMask, bool create);
  // The folder of a set, the settings folder for nullopt. The default set's folder keeps its English name
  // under every language. The settings folder itself is made in any case.
  macos::NSURL urlForFolderSet(const std::optional<std::string>& name, bool create);

  // --- Folder sets

  bool createSet(std::string_view name, const std::optional<std::string>& withSet);
  bool renameSet(std::string_view name, std::string_view toName);
  bool deleteSet(std::string_view name);

  // --- Item collections

  bool addRecent(const macos::NSURL& url, const std::optional<macos::NSDate>& date);
  std::optional<VKItem> recentForURL(const macos::NSURL& url);
  bool deleteRecent(const macos::NSURL& url);
  bool addFinderRecent(const macos::NSURL& url, const std::optional<macos::NSDate>& date);
  std::optional<VKItem> finderRecentForURL(const macos::NSURL& url);
  bool deleteFinderRecent(const macos::NSURL& url);
  // A location that does not exist is taken too; nullopt adds a separator.
  bool addFavorite(const std::optional<macos::NSURL>& url, const std::optional<macos::NSDate>& date,
                   const std::optional<macos::Dictionary>& hotkey);
  std::optional<VKItem> favoriteForURL(const macos::NSURL& url);
  bool deleteFavorite(const macos::NSURL& url);
  bool addDroppedItem(const macos::NSURL& url);
  std::optional<VKItem> droppedItemForURL(const macos::NSURL& url);
  bool deleteDroppedItem(const macos::NSURL& url);
  bool addDefaultFolder(const macos::NSURL& url, const std::optional<std::string>& forApp,
                        const std::optional<std::string>& fileType);
  // An empty application or file type counts as none; "*" entries are the fallback.
  std::optional<VKItem> defaultFolderForApp(const std::optional<std::string>& application,
                                            const std::optional<std::string>& fileType);
  // Without that courtesy: an empty string is a string, and "*" no fallback.
  bool deleteDefaultFolderForApp(const std::optional<std::string>& application,
                                 const std::optional<std::string>& fileType);

  // --- Records per application

  // Always false, deliberately: it is no failure.
  bool addRebound(const std::optional<std::string>& name, const std::optional<macos::NSURL>& forURL,
                  const std::optional<std::string>& forApp);
  std::optional<std::string> reboundForURL(const macos::NSURL& url, const std::optional<std::string>& forApp);
  // The name is not consulted.
  bool deleteRebound(const std::optional<std::string>& name, const macos::NSURL& forURL,
                     const std::optional<std::string>& forApp);
  bool addLastFolder(const macos::NSURL& url, std::string_view forApp, std::int64_t dialogType);
  std::optional<macos::NSURL> lastFolderForApp(std::string_view application, std::int64_t dialogType);
  bool deleteLastFolderForApp(std::string_view application, std::int64_t dialogType);

  // The next four do not set dirty: they are written by the next save that something else causes.
  bool addFileAction(std::string_view name, const std::optional<std::string>& withArgument, bool enabled,
                     std::string_view forApp);
  SharedDictionary fileAction(std::string_view name, std::string_view forApp);  // null when there is none
  bool deleteFileAction(std::string_view name, std::string_view forApp);
  bool saveFrame(const NSRect& frame, std::string_view forApp, std::int64_t dialogType);
  NSRect frameForApp(std::string_view application, std::int64_t dialogType);
  bool saveSidebarWidth(float width, std::string_view forApp, std::int64_t dialogType);
  float sidebarWidthForApp(std::string_view application, std::int64_t dialogType);

  // --- Hotkeys

  bool addHotkey(const macos::Dictionary& hotkey, std::uint32_t forContext,
                 const std::optional<std::string>& action, const std::optional<std::string>& name);
  // Removes the first entry that passes both tests; nullopt passes every entry, so that with neither the
  // first entry of the table goes. Deliberate.
  bool deleteHotkey(const std::optional<macos::Dictionary>& hotkey,
                    const std::optional<std::string>& withAction);
  // The stored entries themselves, those with a complete key; each key is re-expressed for the current
  // keyboard inside its entry.
  std::vector<SharedDictionary> hotkeyEntriesForContext(std::uint32_t context);
  SharedDictionary hotkeyEntryForAction(const std::optional<std::string>& action);
  SharedDictionary hotkeyEntryForHotkey(const macos::Dictionary& hotkey);

  // --- Key-value observing

  macos::Value valueForKey(std::string_view key) const override;
  macos::Value valuesAtIndexes(const macos::NSIndexSet& indexes, std::string_view key) const override;

 private:
  // A collection's list and the view of it that is handed out.
  struct CollectionState {
    SharedItemList list;
    std::shared_ptr<VKItemArray> itemArray;
  };

  bool isSetappEdition() const;
  macos::Dictionary initialDefaults() const;
  void chooseDefaults(const macos::Dictionary& initialDefaults);
  void updateUserDefaultsWithBuiltInDefaults(const macos::Dictionary& initialDefaults);
  void renameReservedSets();
  void mergeExcludedApplications(const macos::Dictionary& initialDefaults);
  void synchronizeSetappSettings(const macos::Dictionary& initialDefaults);
  void observeValueForKeyPath(std::string_view keyPath);
  void makeItemArrays();
  void startPeriodicSave();
  void periodicSaveTick();

  void loadCurrentSet();
  // The file's content; while the file is empty, the value that older versions kept in the defaults.
  macos::Dictionary dictionaryWithFallback(std::string_view filename, std::string_view defaultsKey);

  // The names in "folderSets"; what is no string is left out, and so dropped at the next write.
  std::vector<std::string> folderSets() const;
  void storeFolderSets(const std::vector<std::string>& names);
  // Adds the name to those of the list, and stores them sorted.
  void storeFolderSetsWith(std::vector<std::string> names, std::string_view name);
  bool copyTemplate(const std::string& templateName, std::string_view name);
  bool removeSetFolder(std::string_view name);

  // A list's limit as the defaults have it now.
  std::int64_t limit(std::string_view defaultsKey, std::int64_t factor = 1) const;
  void trimRebound(macos::Array& entries) const;

  template <typename Change>
  void announceChange(std::string_view key, Change change) {
    willChangeValueForKey(key);
    change();
    didChangeValueForKey(key);
  }

  std::shared_ptr<macos::NSBundle> bundle_;
  std::shared_ptr<macos::NSUserDefaultsController> defaultsController_;
  std::vector<macos::ObservationToken> setappObservations_;
  macos::RACDisposable periodicSave_;
  StoreFiles files_;
  bool dirty_ = false;
  macos::NSDate lastPrefsSaveDate_;
  macos::Value currentRecentFolder_;
  macos::Value currentFinderTab_;

  std::optional<std::string> currentSet_;
  std::vector<std::string> sortedSets_;  // as they were last stored with a new one
  std::array<CollectionState, kCollectionCount> collections_;
  std::optional<macos::Dictionary> rebound_;
  std::optional<macos::Dictionary> lastFolders_;

  SharedEntries hotkeys_;
  macos::Dictionary framesForApps_;
  macos::Dictionary sidebarWidthsForApps_;
  macos::Dictionary usageStatistics_;
  EntryTable saveActions_;
};

}  // namespace vennick

#endif  // SETTINGS_VKSETTINGS_H
