// SPDX-License-Identifier: MIT
#include "legacy/LegacyPreferences.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "legacy/CFItemList.h"
#include "macos/carbon/Files.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {
namespace {

constexpr std::int64_t kFinderClickRepaired = 16;
constexpr std::int64_t kOptionKey = 0x800;
constexpr std::int64_t kSpotlightOnOpen = 4;
constexpr std::int64_t kCurrentPrefsVersion = 2;

// The user's Preferences folder is made when it is missing; a folder that cannot be made holds no file.
bool domainHasFile(std::string_view domain) {
  macos::FileSystem& files = macos::Host::current().files();
  const std::string library = macos::pathByAppendingComponent(macos::Host::current().home(), "Library");
  const std::string preferences = macos::pathByAppendingComponent(library, "Preferences");
  const std::string file = macos::pathByAppendingComponent(preferences, std::string(domain) + ".plist");
  const auto info = macos::itemInfo(file, macos::FollowLinks::Yes);
  if (info) return info->kind == macos::FileKind::File;
  if (!info.status().isNotFound()) {
    // Something is there and out of reach. Reading it says so in the log, once.
    (void)macos::CFPreferencesCopyMultiple(domain);
  } else if (!macos::itemInfo(preferences, macos::FollowLinks::Yes)) {
    (void)files.makeFolder(library, 0700);
    (void)files.makeFolder(preferences, 0700);
  }
  return false;
}

// Writes one key of a domain whose other keys may have changed on the disk meanwhile.
void storeAlone(std::string_view domain, std::string_view key, macos::Value value) {
  macos::CFPreferencesAppSynchronize(domain);
  macos::CFPreferencesSetAppValue(key, std::move(value), domain);
  macos::CFPreferencesAppSynchronize(domain);
}

std::optional<macos::Value> readAfresh(std::string_view domain, std::string_view key) {
  macos::CFPreferencesAppSynchronize(domain);
  return macos::CFPreferencesCopyAppValue(key, domain);
}

}  // namespace

LegacyPreferences::LegacyPreferences(std::string_view domain) : PreferencesDomain(domain) { load(); }

macos::OSErr LegacyPreferences::load() {
  preferencesFileExists_ = domainHasFile(domain());
  if (preferencesFileExists_) macos::CFPreferencesAppSynchronize(domain());

  folderSets_ = copyDictionary(LegacyKeys::FolderSets).value;
  settings_ = copyDictionary(LegacyKeys::Settings).value;
  readActiveSet();
  readListsOfCurrentSet();

  repairFinderClickOptions();
  reboundOptions_ = static_cast<std::int32_t>(readSetting(LegacySettings::ReboundOptions));
  if (readSetting(LegacySettings::PrefsVersion) < kCurrentPrefsVersion) {
    setSpotlightOptions(spotlightOptions() | kSpotlightOnOpen);
  }

  overrideFavorites();
  overrideSettings();
  return preferencesFileExists_ ? macos::noErr : macos::fnfErr;
}

// An active set that the settings name is created when it is not there. The default name, which stands
// in when they name none, adds nothing to the folder sets: a user without version 4 preferences has none.
void LegacyPreferences::readActiveSet() {
  const auto named = settings_.string(LegacyKeys::ActiveSet);
  const bool isNamed = named && !named->empty();
  activeSetName_ = isNamed
                       ? std::string(*named)
                       : readString(settings_, LegacyKeys::ActiveSet, macos::NSLocalizedString(kUnnamedSet));
  if (isNamed || folderSets_.contains(activeSetName_)) {
    currentSet_ = readDictionary(folderSets_, activeSetName_).value;
  } else {
    currentSet_.removeAll();
  }
}

void LegacyPreferences::readListsOfCurrentSet() {
  favorites_ = itemArrayFromArray(readArray(currentSet_, LegacyKeys::Favorite).value);
  recents_ = itemArrayFromArray(readArray(currentSet_, LegacyKeys::Recent).value);
  reboundFolders_ = readDictionary(currentSet_, LegacyKeys::Rebound).value;
  defaultFolders_ = readDictionary(currentSet_, LegacyKeys::Default).value;
  lastOpenFolders_ = readDictionary(currentSet_, LegacyKeys::LastOpen).value;
  lastSaveFolders_ = readDictionary(currentSet_, LegacyKeys::LastSave).value;
  spotlightHistory_ = readArray(currentSet_, LegacyKeys::SpotlightHistory).value;
  spotlightTerms_ = readArray(currentSet_, LegacyKeys::SpotlightTerms).value;
}

// The effective options are what is stored, with bit 64 in them. Looks like a slip, and is how version 4
// always wrote them.
void LegacyPreferences::repairFinderClickOptions() {
  const std::int64_t options = finderClickOptions();
  if ((options & kFinderClickRepaired) == 0) {
    writeSetting(LegacySettings::FinderClickOptions, options | kFinderClickRepaired);
    writeSetting(LegacySettings::FinderClickKey, 0);
  }
  const std::int64_t modifiers = readSetting(LegacySettings::FinderClickKey);
  if ((modifiers & kOptionKey) != 0) writeSetting(LegacySettings::FinderClickKey, modifiers & ~kOptionKey);
}

// An empty array is one too, and empties the active set.
void LegacyPreferences::overrideFavorites() {
  if (!domainHasFile(kLegacyFavoritesDomain)) return;
  const auto stored = readAfresh(kLegacyFavoritesDomain, LegacyKeys::Favorite);
  const macos::Array* favorites = stored ? stored->ifArray() : nullptr;
  if (!favorites) return;
  favorites_ = itemArrayFromArray(*favorites);
  currentSet_.set(LegacyKeys::Favorite, *stored);
}

// Comes last on purpose: settings from the domain of their own are taken as they are, past the repairs,
// and the active set stays the one that the main domain names.
void LegacyPreferences::overrideSettings() {
  if (!domainHasFile(kLegacySettingsDomain)) return;
  const auto stored = readAfresh(kLegacySettingsDomain, LegacyKeys::Settings);
  if (const macos::Dictionary* settings = stored ? stored->ifDictionary() : nullptr) settings_ = *settings;
}

// What is stored then holds no cached locations. The lists repair nothing and say nothing.
void LegacyPreferences::bringItemsUpToDate() {
  for (const LegacyItemArray& items : {favorites_, recents_}) {
    CFItemList list(ResolveMode::AnyTarget);
    list.setRepairOnSet(false);
    list.setArray(items);
    list.clearLocations();
  }
}

void LegacyPreferences::writeListsToCurrentSet() {
  currentSet_.set(LegacyKeys::Favorite, macos::Value(arrayFromItemArray(favorites_)));
  currentSet_.set(LegacyKeys::Recent, macos::Value(arrayFromItemArray(recents_)));
  currentSet_.set(LegacyKeys::Rebound, macos::Value(reboundFolders_));
  currentSet_.set(LegacyKeys::Default, macos::Value(defaultFolders_));
  currentSet_.set(LegacyKeys::LastOpen, macos::Value(lastOpenFolders_));
  currentSet_.set(LegacyKeys::LastSave, macos::Value(lastSaveFolders_));
  currentSet_.set(LegacyKeys::SpotlightHistory, macos::Value(spotlightHistory_));
  currentSet_.set(LegacyKeys::SpotlightTerms, macos::Value(spotlightTerms_));
}

void LegacyPreferences::writeCurrentSetToFolderSets() {
  folderSets_.set(activeSetName_, macos::Value(currentSet_));
}

void LegacyPreferences::switchToSet(std::string_view name) {
  bringItemsUpToDate();
  writeListsToCurrentSet();
  writeCurrentSetToFolderSets();
  settings_.set(LegacyKeys::ActiveSet, macos::Value(name));
  readActiveSet();
  readListsOfCurrentSet();
}

void LegacyPreferences::renameSet(std::string_view oldName, std::string_view newName) {
  if (oldName == newName) return;
  if (oldName == activeSetName_) {
    folderSets_.remove(oldName);
    activeSetName_ = newName;
    switchToSet(newName);
    return;
  }
  const macos::Value* stored = folderSets_.find(oldName);
  if (!stored) return;
  const macos::Value set = *stored;
  folderSets_.remove(oldName);
  folderSets_.set(newName, set);
}

std::int64_t LegacyPreferences::countOfFolderSets() const {
  return static_cast<std::int64_t>(folderSets_.size());
}

std::vector<std::string> LegacyPreferences::sortedSetNames() const {
  std::vector<std::string> names;
  names.reserve(folderSets_.size());
  for (const auto& entry : folderSets_) names.emplace_back(entry.key());
  std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return macos::compareCaseInsensitiveLiteral(a, b) < 0;
  });
  return names;
}

macos::OSErr LegacyPreferences::save() {
  bringItemsUpToDate();
  if (readSetting(LegacySettings::PrefsVersion) < kCurrentPrefsVersion) {
    writeSetting(LegacySettings::PrefsVersion, kCurrentPrefsVersion);
  }
  writeSetting(LegacySettings::ReboundOptions, reboundOptions_);
  storeAlone(kLegacyFavoritesDomain, LegacyKeys::Favorite, macos::Value(arrayFromItemArray(favorites_)));
  storeAlone(kLegacySettingsDomain, LegacyKeys::Settings, macos::Value(settings_));

  if (preferencesFileExists_ && !domainHasFile(domain())) return startOverWithoutFile();

  writeListsToCurrentSet();
  writeCurrentSetToFolderSets();
  setValue(LegacyKeys::FolderSets, macos::Value(folderSets_));
  setValue(LegacyKeys::Settings, macos::Value(settings_));
  macos::CFPreferencesAppSynchronize(domain());
  load();
  return macos::noErr;
}

// The other two domains have been written by now, so the load brings their favorites and settings back.
// LastOpen and LastSave are left in the set. Both deliberate.
macos::OSErr LegacyPreferences::startOverWithoutFile() {
  macos::syslogMessage(macos::LOG_PRIORITY_ALERT,
                       "Have data in memory, but prefs file has been deleted.  Loading default prefs.");
  for (const std::string_view key :
       {LegacyKeys::Favorite, LegacyKeys::Recent, LegacyKeys::Rebound, LegacyKeys::Default,
        LegacyKeys::SpotlightHistory, LegacyKeys::SpotlightTerms}) {
    currentSet_.remove(key);
  }
  folderSets_.remove(activeSetName_);
  setValue(LegacyKeys::FolderSets, std::nullopt);
  setValue(LegacyKeys::Settings, std::nullopt);
  macos::CFPreferencesAppSynchronize(domain());
  load();
  return macos::fnfErr;
}

void LegacyPreferences::dump(std::string_view title) const {
  macos::LogSink& log = macos::Host::current().log();
  const auto show = [&log](std::string_view heading, const macos::Value& value) {
    log.writeLine(heading);
    log.writeLine(macos::description(value));
  };
  constexpr std::string_view kRule = "-------------------------------------------";
  log.writeLine("-------------- Preferences ----------------");
  log.writeLine(title);
  log.writeLine(kRule);
  show("** SETTINGS **", macos::Value(settings_));
  show("** FAVORITES **", macos::Value(arrayFromItemArray(favorites_)));
  show("** RECENTS **", macos::Value(arrayFromItemArray(recents_)));
  show("** SPOTLIGHT HISTORY **", macos::Value(spotlightHistory_));
  show("** SPOTLIGHT TERMS **", macos::Value(spotlightTerms_));
  show("** SETS **", macos::Value(folderSets_));
  log.writeLine(kRule);
}

}  // namespace vennick
