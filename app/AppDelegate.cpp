// SPDX-License-Identifier: MIT
#include "app/AppDelegate.h"

#include "app/CollectionsConversion.h"
#include "app/RunLock.h"
#include "app/SettingsMapping.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/UserDefaults.h"
#include "macos/host/DiskMemory.h"

namespace vennick {

void AppDelegate::applicationDidFinishLaunching() {
  const auto lock = lockHomeForRun();
  quitVNK5();
  macos::RememberedDisk disk;
  loadLegacyPreferences();
  settings_ = VKSettings::initWithBundle(macos::NSBundle::bundleWithURL(mainApplicationURL()));
  mapSettings(*preferences_, *settings_->defaults());
  convertCollections();
  disk.forget();
  carryOverUpdateChecks();
  settings_->save();
  restartVNK5();
  macos::NSApplication::sharedApplication().terminate(this);
}

// Opened for reading only: what the model stores in the domains stays in memory. Whether there was a file
// at all makes no difference to the run, so the results of loading are not looked at.
void AppDelegate::loadLegacyPreferences() {
  for (const std::string_view domain : {kLegacyDomain, kLegacySettingsDomain, kLegacyFavoritesDomain}) {
    macos::openPreferencesDomainReadOnly(domain);
  }
  preferences_ = std::make_unique<LegacyPreferences>();
  macos::CFPreferencesAppSynchronize(kLegacyDomain);
  preferences_->load();
}

// The name is copied first: the conversion goes through all sets and leaves the last one active. With no
// sets at all it is the default set's.
void AppDelegate::convertCollections() {
  const std::string activeSetName = preferences_->activeSetName();
  CollectionsConversion(*preferences_, *settings_).convertFolderSets();
  settings_->setCurrentSet(activeSetName);
}

// A registered default of the store would show in this suite too, as in every other; only what is stored
// counts.
void AppDelegate::carryOverUpdateChecks() {
  if (!macos::CFPreferencesCopyAppValue(kAutomaticChecks, kPreferencePaneDomain)) return;
  if (macos::NSUserDefaults::initWithSuiteName(kPreferencePaneDomain)->boolForKey(kAutomaticChecks)) {
    settings_->defaults()->setBool(true, kAutomaticChecks);
  }
}

bool AppDelegate::boolFromMiscPrefs(LegacyPreferences& preferences, std::int64_t flag) {
  return (preferences.readSetting(LegacySettings::MiscellaneousFlags) & flag) != 0;
}

bool AppDelegate::boolFromFinderClickPrefs(LegacyPreferences& preferences, std::int64_t flag) {
  return (preferences.finderClickOptions() & flag) != 0;
}

}  // namespace vennick
