// SPDX-License-Identifier: MIT
//
// The getters and setters of the version 4 settings.
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "legacy/LegacyPreferences.h"
#include "macos/carbon/Gestalt.h"
#include "macos/foundation/Preferences.h"

namespace vennick {
namespace {

constexpr std::int64_t kHiddenFinderWindows = 64;
constexpr std::int64_t kNeverCheckedForUpdates = 0x400;
constexpr std::int64_t kOldestSupportedOS = 4182;
constexpr std::int32_t kFastProcessorMegahertz = 600;
constexpr std::array<std::string_view, 2> kAlwaysExcludedApplications = {"OD4Contact", "VajA"};

std::optional<std::int32_t> clockSpeed() {
  std::int32_t megahertz = 0;
  return macos::Gestalt(macos::gestaltProcClkSpeedMHz, &megahertz) == macos::noErr ? std::optional(megahertz)
                                                                                   : std::nullopt;
}

std::int64_t runningSystemVersion() {
  std::int32_t version = 0;
  return macos::Gestalt(macos::gestaltSystemVersion, &version) == macos::noErr ? version : kOldestSupportedOS;
}

}  // namespace

std::int64_t defaultSpotlightOptions(std::optional<std::int32_t> processorMegahertz) {
  return processorMegahertz.value_or(kFastProcessorMegahertz) >= kFastProcessorMegahertz ? 5 : 0;
}

std::int64_t LegacyPreferences::readSetting(const LegacySetting<std::int64_t>& setting) {
  return readInteger(settings_, setting.key, setting.defaultValue);
}

// Only the low 8 bits count, so that 256 is false. Deliberate.
bool LegacyPreferences::readSetting(const LegacySetting<bool>& setting) {
  return static_cast<std::uint8_t>(readInteger(settings_, setting.key, setting.defaultValue ? 1 : 0)) != 0;
}

void LegacyPreferences::writeSetting(const LegacySetting<std::int64_t>& setting, std::int64_t value) {
  writeInteger(settings_, setting.key, value);
}

void LegacyPreferences::writeSetting(const LegacySetting<bool>& setting, bool value) {
  writeInteger(settings_, setting.key, value ? 1 : 0);
}

std::int64_t LegacyPreferences::finderClickOptions() {
  const std::int64_t others = readSetting(LegacySettings::FinderClickOptions) & ~kHiddenFinderWindows;
  return readSetting(LegacySettings::ShowHiddenFinderWindows) != 0 ? others | kHiddenFinderWindows : others;
}

std::int64_t LegacyPreferences::spotlightOptions() {
  return readInteger(settings_, LegacyKeys::SpotlightOptions, defaultSpotlightOptions(clockSpeed()));
}

void LegacyPreferences::setSpotlightOptions(std::int64_t options) {
  writeInteger(settings_, LegacyKeys::SpotlightOptions, options);
}

// A getter that writes. Deliberate.
std::int64_t LegacyPreferences::maxReboundFolders() {
  const std::int64_t recents = readSetting(LegacySettings::MaxRecentFolders);
  const std::int64_t rebounds = readSetting(LegacySettings::MaxReboundFolders);
  if (recents <= rebounds) return rebounds;
  writeSetting(LegacySettings::MaxReboundFolders, recents);
  return recents;
}

bool LegacyPreferences::doFolderSynchronization() {
  return readSetting(LegacySettings::DoFolderSynchronization) == 0;
}

void LegacyPreferences::setDoFolderSynchronization(bool value) {
  writeSetting(LegacySettings::DoFolderSynchronization, value ? 0 : 1);
}

void LegacyPreferences::displayInDock(bool shown) { writeSetting(LegacySettings::ShowIconInDock, shown); }

std::int64_t LegacyPreferences::lastUpdateCheck() {
  const bool isStored = settings_.integer(LegacySettings::LastUpdateCheck.key).has_value();
  const std::int64_t date = readSetting(LegacySettings::LastUpdateCheck);
  if (!isStored) {
    writeSetting(LegacySettings::MiscellaneousFlags,
                 readSetting(LegacySettings::MiscellaneousFlags) | kNeverCheckedForUpdates);
  }
  return date;
}

std::int64_t LegacyPreferences::latestSupportedOS() {
  return std::max(readSetting(LegacySettings::LatestSupportedOS) & ~std::int64_t{1}, kOldestSupportedOS);
}

std::int64_t LegacyPreferences::latestUsedOS() {
  return readInteger(settings_, LegacyKeys::LatestUsedOS, runningSystemVersion());
}

// An emptied list counts as one that had to be made and gets its two entries back. Deliberate.
macos::Array LegacyPreferences::excludedApplications() {
  auto applications = readArray(settings_, LegacyKeys::ExcludedApplications);
  if (applications.created) {
    for (const std::string_view application : kAlwaysExcludedApplications) {
      applications.value.append(macos::Value(application));
    }
    setExcludedApplications(applications.value);
  }
  return std::move(applications.value);
}

void LegacyPreferences::setExcludedApplications(const macos::Array& applications) {
  settings_.set(LegacyKeys::ExcludedApplications, macos::Value(applications));
}

macos::Array LegacyPreferences::excludedApplicationFolders() {
  return readArray(settings_, LegacyKeys::ExcludedApplicationFolders).value;
}

void LegacyPreferences::setExcludedApplicationFolders(const macos::Array& folders) {
  settings_.set(LegacyKeys::ExcludedApplicationFolders, macos::Value(folders));
}

bool LegacyPreferences::finderShowsDesktop() {
  bool exists = false;
  const bool shows = macos::CFPreferencesGetAppBooleanValue("CreateDesktop", "com.apple.finder", &exists);
  return shows || !exists;
}

}  // namespace vennick
