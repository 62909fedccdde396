// SPDX-License-Identifier: MIT
//
// The version 4 preferences in memory: the settings, all folder sets, and the lists of the active set.
//
// Every list is a copy of its container: what is changed in it reaches the set at the next switch or
// save, and the folder sets at that switch's second step. Only containers that had to be made are stored
// into their parent at once. Readers never fail: what is missing or of another kind is an empty
// container or a default, and is stored where it was missing. Whether any of it reaches the disk is the
// domains' business: a caller who opened them for reading only keeps it all in memory, and only save()
// asks for it to be written.
//
// Main thread.
#ifndef LEGACY_LEGACYPREFERENCES_H
#define LEGACY_LEGACYPREFERENCES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "legacy/ItemArray.h"
#include "legacy/PreferenceKeys.h"
#include "legacy/PreferencesDomain.h"
#include "macos/carbon/FourCharCode.h"
#include "macos/foundation/Value.h"

namespace vennick {

class LegacyPreferences : public PreferencesDomain {
 public:
  // Loads; ask preferencesFileExists() for what load() would have answered.
  explicit LegacyPreferences(std::string_view domain = kLegacyDomain);
  LegacyPreferences(const LegacyPreferences&) = delete;
  LegacyPreferences& operator=(const LegacyPreferences&) = delete;

  // Reads everything afresh and repairs it in memory. 0, or -43 (fnfErr) when the domain has no file.
  macos::OSErr load();
  // Writes all three domains and loads again. 0, or -43 when the domain's file was there at the last
  // load and is gone: then the defaults are loaded instead.
  macos::OSErr save();

  // Stores the active set away and makes another one active, creating it when it is not there.
  void switchToSet(std::string_view name);
  // An existing set of the new name is replaced. Nothing happens when the names are equal or there is
  // no set of the old one.
  void renameSet(std::string_view oldName, std::string_view newName);
  std::int64_t countOfFolderSets() const;
  // Ascending without regard to case.
  std::vector<std::string> sortedSetNames() const;
  // Shows everything on standard error, under a title.
  void dump(std::string_view title) const;

  bool preferencesFileExists() const { return preferencesFileExists_; }
  const macos::Dictionary& folderSets() const { return folderSets_; }
  const macos::Dictionary& settings() const { return settings_; }
  const std::string& activeSetName() const { return activeSetName_; }

  // The active set's lists. The two item lists are the model's own arrays, shared with the caller.
  const LegacyItemArray& favorites() const { return favorites_; }
  const LegacyItemArray& recents() const { return recents_; }
  const macos::Dictionary& reboundFolders() const { return reboundFolders_; }
  // Application key to item dictionary.
  const macos::Dictionary& defaultFolders() const { return defaultFolders_; }
  const macos::Dictionary& lastOpenFolders() const { return lastOpenFolders_; }
  const macos::Dictionary& lastSaveFolders() const { return lastSaveFolders_; }
  const macos::Array& spotlightHistory() const { return spotlightHistory_; }
  const macos::Array& spotlightTerms() const { return spotlightTerms_; }

  // The settings that are plain numbers. Reading one that is missing, or no integer, stores its default.
  std::int64_t readSetting(const LegacySetting<std::int64_t>& setting);
  bool readSetting(const LegacySetting<bool>& setting);
  void writeSetting(const LegacySetting<std::int64_t>& setting, std::int64_t value);
  void writeSetting(const LegacySetting<bool>& setting, bool value);

  // The settings with a rule of their own.

  // FinderClickOptions with bit 64 taken from ShowHiddenFinderWindows.
  std::int64_t finderClickOptions();
  // Default by defaultSpotlightOptions().
  std::int64_t spotlightOptions();
  void setSpotlightOptions(std::int64_t options);
  // Never below MaxRecentFolders, which is stored into it when it is larger.
  std::int64_t maxReboundFolders();
  // The opposite of what is stored; the setter stores the opposite of what it is given. Deliberate.
  bool doFolderSynchronization();
  void setDoFolderSynchronization(bool value);
  // Stores ShowIconInDock.
  void displayInDock(bool shown);
  // Sets bit 0x400 of MiscellaneousFlags when there was no date.
  std::int64_t lastUpdateCheck();
  // Bit 1 cleared, and at least 4182 (0x1056, 10.5.6).
  std::int64_t latestSupportedOS();
  // Default the running system's version as Gestalt's 'sysv' gives it.
  std::int64_t latestUsedOS();
  // A list that had to be made holds two applications that never work with the toolbar.
  macos::Array excludedApplications();
  void setExcludedApplications(const macos::Array& applications);
  macos::Array excludedApplicationFolders();
  void setExcludedApplicationFolders(const macos::Array& folders);
  // ReboundOptions as it was at the last load, or was set since; written back by save().
  std::int32_t reboundOptions() const { return reboundOptions_; }
  void setReboundOptions(std::int32_t options) { reboundOptions_ = options; }

  // Whether the Finder shows icons on the desktop.
  static bool finderShowsDesktop();

 private:
  void readActiveSet();
  void readListsOfCurrentSet();
  void repairFinderClickOptions();
  void overrideFavorites();
  void overrideSettings();
  void bringItemsUpToDate();
  void writeListsToCurrentSet();
  void writeCurrentSetToFolderSets();
  macos::OSErr startOverWithoutFile();

  macos::Dictionary folderSets_;
  macos::Dictionary settings_;
  std::string activeSetName_;
  macos::Dictionary currentSet_;
  LegacyItemArray favorites_;
  LegacyItemArray recents_;
  macos::Dictionary reboundFolders_;
  macos::Dictionary defaultFolders_;
  macos::Dictionary lastOpenFolders_;
  macos::Dictionary lastSaveFolders_;
  macos::Array spotlightHistory_;
  macos::Array spotlightTerms_;
  bool preferencesFileExists_ = false;
  std::int32_t reboundOptions_ = 0;
};

// 5 on a machine whose processor runs at 600 MHz or more, or does not tell; else 0.
std::int64_t defaultSpotlightOptions(std::optional<std::int32_t> processorMegahertz);

}  // namespace vennick

#endif  // LEGACY_LEGACYPREFERENCES_H
